#include "qel/core/text.h"
#include "tests/ieee1905_1/tlv_test.h"

namespace qel::ieee1905_1 {
namespace {

using G = test::Golden<TLV>;

ChannelPreference preference(std::uint8_t operating_class, std::initializer_list<std::uint8_t> channels, int score,
                             int reason) {
  ChannelPreference preference = filled(ChannelPreference(), FIELD(operating_class), operating_class,
                                        FIELD(preference_score), score, FIELD(reason_code), reason);
  std::ranges::for_each(channels, [&](std::uint8_t channel) { preference.add_channel(channel); });
  return preference;
}

RestrictedOperatingClass restricted(std::uint8_t operating_class, const std::vector<RestrictedChannel>& channels) {
  return fields(RestrictedOperatingClass(operating_class), FIELD(operating_class), operating_class,
                LIST_FIELD(restricted_channel), channels);
}

TEST(ChannelTLVs, Golden) {
  using Preference = ChannelPreference;
  using Preferences = ChannelPreferenceTLV;
  constexpr auto DECLINE = ChannelSelectionResponseCode::DECLINE_VIOLATES_REPORTED_PREFERED;
  const Preference first =
      fields(Preference(), FIELD(operating_class), 115, LIST_FIELD(channel), octets("24282C"), FIELD(preference_score),
             15, FIELD(reason_code), ChannelPreferenceReasonCode::OPERATION_DISALLOWED_RADAR_DFS_CHANNEL);
  check_rows({
      G(fields(Preferences(A), FIELD(radio_identifier), A, LIST_FIELD(channel_preference),
               std::vector{first, preference(81, {}, 2, 13)}),
        "8B 0010 021A2B3C4D5E 02 # radio, preferences\n 73 03 24282C F7\n 51 00 2D",
        "type: CHANNEL_PREFERENCE Radio Identifier: 02:1A:2B:3C:4D:5E Preferences: ["
        "\n\tChannel Preference Operating Class: 115 Channels: [ 36 40 44 ] Preference: 15 ReasonCode: "
        "OPERATION_DISALLOWED_RADAR_DFS_CHANNEL"
        "\n\tChannel Preference Operating Class: 81 Channels: [ ] Preference: 2 ReasonCode: RESERVED BIT 13]"),
      G(fields(RadioOperationRestrictionTLV(A), FIELD(radio_identifier), A, LIST_FIELD(restricted_operating_class),
               std::vector{restricted(115, {fields(RestrictedChannel(36, 4), FIELD(channel), 36,
                                                   FIELD(frequency_separation), 4),
                                            {44, 6}}),
                           restricted(121, {{100, 8}})}),
        "8C 0011 021A2B3C4D5E 02 # radio, operating classes\n 73 02 2404 2C06\n 79 01 6408",
        "type: RADIO_OPERATION_RESTRICTION Radio Unique Identifier:02:1A:2B:3C:4D:5E Operating Classes with "
        "Restriction: [\n\tResticted Operating Class: 115 [\n\t\tResticted Channel: 36 Freq Separation: 4"
        "\n\t\tResticted Channel: 44 Freq Separation: 6]\n\tResticted Operating Class: 121 ["
        "\n\t\tResticted Channel: 100 Freq Separation: 8]]"),
      G(fields(TransmitPowerLimitTLV(B, 200), FIELD(radio_identifier), B, FIELD(power_limit), 200),
        "8D 0007 06F1E2D3C4B5 C8", "type: TRANSMIT_POWER_LIMIT Radio Identifier: 06:F1:E2:D3:C4:B5 Power Limit: 200"),
      G(fields(ChannelSelectionResponseTLV(B, DECLINE), FIELD(radio_identifier), B, FIELD(selection_response_code),
               DECLINE),
        "8E 0007 06F1E2D3C4B5 02",
        "type: CHANNEL_SELECTION_RESPONSE Radio Identifier: 06:F1:E2:D3:C4:B5 Response Code: "
        "DECLINE_VIOLATES_REPORTED_PREFERED"),
      G(fields(OperatingChannelReportTLV(A), FIELD(radio_identifier), A, FIELD(transmit_power_eirp), -3,
               LIST_FIELD(operating_class_channel),
               std::vector{fields(OperatingClassChannel(128, 155), FIELD(operating_class), 128, FIELD(channel), 155),
                           OperatingClassChannel(115, 36)}),
        "8F 000C 021A2B3C4D5E 02 809B 7324 FD # radio, entries, class and channel of each, power",
        "type: OPERATING_CHANNEL_REPORT Radio Identifier: 02:1A:2B:3C:4D:5E Transmit Power EIRP: -3  ["
        "\n\tOperatingClass: 128 on Channel: 155\n\tOperatingClass: 115 on Channel: 36]"),
  });
}

TEST(ChannelPreference, IsOrderedByClassChannelsScoreAndReason) {
  const ChannelPreference in[] = {preference(81, {7}, 15, 3), preference(81, {8}, 1, 14), preference(81, {8}, 14, 0),
                                  preference(81, {8}, 14, 1), preference(82, {}, 0, 0)};
  test::expect_ascending<ChannelPreference>({&in[0], &in[1], &in[2], &in[3], &in[4]});
}

TEST(ChannelPreference, StaysAsItIsWhenDecodingFails) {
  const ChannelPreference before = preference(81, {7, 8}, 15, 3);
  for (const char* wire : {"", "73", "73 02 24", "73 02 24 28"}) {
    ChannelPreference decoded = before;
    serialization::SerializationContext context;
    test::read_all(octets(wire), [&](std::istream& is) { decoded.deserialize_impl(is, context); });
    EXPECT_EQ(decoded, before) << wire;
  }
}

TEST(ChannelPreference, KeepsFourBitsOfScoreAndOfReason) {
  ChannelPreference preference;
  preference.set_preference_score(0xF6);
  preference.set_reason_code(ChannelPreferenceReasonCode::CONTROLLER_DFS_CHANNEL_CLEAR_INDICATION);
  EXPECT_EQ(preference.get_preference_score(), 6);
  EXPECT_EQ(preference.get_reason_code(), ChannelPreferenceReasonCode(11));
  preference.set_reason_code(ChannelPreferenceReasonCode::INVALID_MAX);
  EXPECT_EQ(preference.get_reason_code(), ChannelPreferenceReasonCode::UNSPECIFIED);
  EXPECT_EQ(preference.get_preference_score(), 6);
}

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

TEST(MeasurementTLVs, ABeaconQueryRefusesMeaninglessFields) {
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
