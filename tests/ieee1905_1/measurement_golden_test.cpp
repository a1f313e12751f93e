#include "qel/core/text.h"
#include "qel/ieee1905_1/beacon_metrics_tlvs.h"
#include "qel/ieee1905_1/unassociated_sta_tlvs.h"
#include "tests/ieee1905_1/tlv_test.h"

namespace qel::ieee1905_1 {
namespace {

using G = Row<TLV>;

UnassociatedSTAChannel channel(std::uint8_t number, const std::vector<MACAddress>& stations) {
  return fields(UnassociatedSTAChannel(number), FIELD(channel_number), number, LIST_FIELD(sta_mac), stations);
}

APChannelReportList channels(std::uint8_t operating_class, const test::Octets& numbers) {
  return fields(APChannelReportList(operating_class), FIELD(operating_class), operating_class, LIST_FIELD(channel),
                numbers);
}

BeaconMetricsQueryTLV full_query() {
  const test::Octets ssid = octets("48 61 00 6C 6C");
  const std::vector reports = {channels(81, {1, 6, 11}), channels(115, {36})};
  return fields(BeaconMetricsQueryTLV(A, 83, 255, D, 1, FixedByteBuffer<32>(ssid), reports, {0, 48, 221}),
                FIELD(sta_mac_address), A, FIELD(operating_class), 83, FIELD(channel_number), 255, FIELD(bssid), D,
                FIELD(reporting_detail), 1, FIELD(ssid), test::characters_of(ssid),
                FIELD_OF(add_ap_channel_reports, get_ap_channel_reports), reports, FIELD(reporting_element_ids),
                octets("0030DD"));
}
BeaconMetricsQueryTLV plain_query() {
  using T = BeaconMetricsQueryTLV;
  return filled(T(), FIELD(sta_mac_address), B, FIELD(operating_class), 81, FIELD(channel_number), 6, FIELD(bssid), C,
                FIELD(reporting_detail), 2);
}

using Report = BeaconMetricsResponseTLV::Report;
const Report LCI(7, {}, ieee802_11::MeasurementType::LCI, octets("AABB"));
const Report REFUSED(9, 4, ieee802_11::MeasurementType::BEACON, octets(""));

TEST(MeasurementTLVs, Golden) {
  using Answer = UnassociatedSTALinkMetricsResponseTLV;
  using Response = BeaconMetricsResponseTLV;
  check_rows({
      G(fields(UnassociatedSTALinkMetricsQueryTLV(81), FIELD(operating_class), 81, LIST_FIELD(channel),
               std::vector{channel(1, {A, B}), channel(6, {C})}),
        "97 0018 51 02 # class, channels\n 01 02 021A2B3C4D5E 06F1E2D3C4B5\n 06 01 0A0918273645",
        "type: UNASSOCIATED_STA_LINK_METRICS Operating Class: 81 Channel List: [ "
        "\n\tChannel Number: 1 STA MACs: [\n\t\t02:1A:2B:3C:4D:5E\n\t\t06:F1:E2:D3:C4:B5]"
        "\n\tChannel Number: 6 STA MACs: [\n\t\t0A:09:18:27:36:45]]"),
      G(fields(Answer(115), FIELD(operating_class), 115, LIST_FIELD(report),
               std::vector{fields(UnassociatedSTAReport(D, 36, 16909060, 200), FIELD(sta_mac_address), D,
                                  FIELD(channel_number), 36, FIELD(time_delta), 16909060, FIELD(uplink_rcpi), 200),
                           UnassociatedSTAReport(B, 40, 168496141, 90)}),
        "98 001A 73 02 # class, reports\n 0E7D6C5B4A39 24 01020304 C8\n 06F1E2D3C4B5 28 0A0B0C0D 5A",
        "type: UNASSOCIATED_STA_LINK_METRICS_RESPONSE Operating Class: 115 STA Reports: ["
        "\n\tMAC: 0E:7D:6C:5B:4A:39 Channel: 36 TimeDelta: 16909060 RCPI: 200"
        "\n\tMAC: 06:F1:E2:D3:C4:B5 Channel: 40 TimeDelta: 168496141 RCPI: 90]"),
      G(full_query(),
        "99 0022 021A2B3C4D5E 53 FF 0E7D6C5B4A39 01 # station, class, channel, BSSID, detail\n 05 486100 6C6C # SSID\n"
        "02 04 51 01060B  02 73 24 # channel reports: length, class, channels\n 03 0030DD # elements",
        string("type: BEACON_METRICS_QUERY STA MAC: 02:1A:2B:3C:4D:5E Operating Class: 83 Channel Number. 255 "
               "BSSID: 0E:7D:6C:5B:4A:39 Reporting Detail: 1\n\tSSID: Ha") +
            '\0' +
            "ll\n\tReports: [\n\t\tOperating Class: 81 Channels: [ 1 6 11 ]"
            "\n\t\tOperating Class: 115 Channels: [ 36 ] ]\n\tElements: \n\t\t[ 0 48 221 ]"),
      G(plain_query(), "99 0012 06F1E2D3C4B5 51 06 0A0918273645 02 00 00 00",
        "type: BEACON_METRICS_QUERY STA MAC: 06:F1:E2:D3:C4:B5 Operating Class: 81 Channel Number. 6 "
        "BSSID: 0A:09:18:27:36:45 Reporting Detail: 2\n\tSSID: \n\tReports: [ ]\n\tElements: \n\t\t[ ]"),
      G(fields(Response(A, {LCI, REFUSED}), FIELD(sta_mac_address), A, FIELD_OF(add_report, get_reports),
               std::vector{LCI, REFUSED}),
        "9A 0014 021A2B3C4D5E 00 02 # station, reserved, reports\n 27 05 07 00 08 AABB  27 03 09 04 05",
        "type: BEACON_METRICS_RESOPNSE STA MAC: 02:1A:2B:3C:4D:5E Reports: [\n\t" + to_string(LCI) + "\n\t" +
            to_string(REFUSED) + " ]",
        {0, 1, 2, 9}),
  });
}

TEST(MeasurementTLVs, ABeaconQueryRefusesWhatWouldMeanNothing) {
  const char* const REPORTS = "Invalid number of reports";
  const char* const ELEMENTS = "Invalid number of elements";
  const char* const SSID = "Invalid length of SSID";
  const struct {
    int channel, detail;
    std::size_t reports, elements, ssid;
    const char* refused;
  } rows[] = {
      {255, 0, 1, 0, 0, ""},      {255, 0, 255, 0, 0, ""}, {255, 0, 256, 0, 0, REPORTS}, {6, 0, 1, 0, 0, REPORTS},
      {254, 1, 1, 0, 0, REPORTS}, {0, 1, 0, 1, 0, ""},     {0, 1, 0, 255, 0, ""},        {0, 1, 0, 256, 0, ELEMENTS},
      {0, 0, 0, 1, 0, ELEMENTS},  {0, 0, 0, 0, 32, ""},    {0, 0, 0, 1, 33, ELEMENTS},   {0, 0, 1, 1, 33, REPORTS},
  };
  for (const auto& row : rows) {
    using T = BeaconMetricsQueryTLV;
    const T query =
        filled(plain_query(), FIELD(channel_number), row.channel, FIELD(reporting_detail), row.detail, FIELD(ssid),
               string(row.ssid, 's'), FIELD(reporting_element_ids), test::Octets(row.elements, 48));
    check_limit(list(&T::add_ap_channel_reports, row.reports, channels(81, {1, 6}), query), row.refused);
  }
  check_decodes_only("99 0015 06F1E2D3C4B5 51 06 0A0918273645 02 00 01 02 73 24 00", REPORTS);
  check_decodes_only("99 0013 06F1E2D3C4B5 51 FF 0A0918273645 02 00 00 01 30", ELEMENTS);
  check_decodes_only("99 0033 06F1E2D3C4B5 51 FF 0A0918273645 02 21" + test::hex(test::Octets(33, 's')) + "00 00",
                     SSID);
  BeaconMetricsQueryTLV tlv = full_query();
  tlv.add_ap_channel_reports(APChannelReportList(81));
  check_limit(tlv, "Invalid size");
  tlv.set_ssid(string(33, 's'));
  check_limit(tlv, SSID);
}

TEST(MeasurementTLVs, AChannelReportHasAClass) {
  for (const char* const wire : {"00 51 0106", "01 51 0106"}) {
    EXPECT_EQ(test::decode<APChannelReportList>(octets(wire)).outcome,
              (test::ReadOutcome{"Invalid length, has to fit at least an opclass", std::ios_base::goodbit, 2}));
  }
}

}  // namespace
}  // namespace qel::ieee1905_1
