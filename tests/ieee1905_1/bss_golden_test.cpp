#include "qel/ieee1905_1/bss_tlvs.h"
#include "qel/ieee1905_1/client_tlvs.h"
#include "qel/ieee1905_1/metrics_tlvs.h"
#include "qel/ieee1905_1/service_tlvs.h"
#include "tests/ieee1905_1/tlv_test.h"
#include "tests/support/enum_texts.h"

namespace qel::ieee1905_1 {
namespace {

using G = Row<TLV>;

BSSOperationalRadioReport radio(const MACAddress& radio, const std::vector<BSSOperatingOnRadio>& bsss) {
  return with(BSSOperationalRadioReport(radio), &BSSOperationalRadioReport::add_BSS_operating, bsss);
}
OperatedBSSClients bss(const MACAddress& bssid, const std::vector<AssociatedClient>& clients) {
  return with(OperatedBSSClients(bssid), &OperatedBSSClients::add_associated_client, clients);
}

const string ODD_SSID("H\"\0\xE9", 4);

const auto LINK_METRIC =
    filled(STALinkMetric(), &STALinkMetric::set_bssid, B, &STALinkMetric::set_time_delta, 16909060,
           &STALinkMetric::set_estimated_downlink_data_rate, 168496141, &STALinkMetric::set_estimated_uplink_data_rate,
           286397204, &STALinkMetric::set_uplink_rcpi, 200);
const string LINK_METRIC_OCTETS = "06F1E2D3C4B5 01020304 0A0B0C0D 11121314 C8";
const string LINK_METRIC_TEXT =
    "BSSID: 06:F1:E2:D3:C4:B5 Time Delta of Measurement: 16909060\n\t\t Estimated Downlink: 168496141 Estimated "
    "Uplink: 286397204 Uplink RCPI: 200";

APMetricsTLV metrics(bool bk, bool vo, bool vi) {
  using T = APMetricsTLV;
  using Parameters = T::ServiceParameters;
  return filled(T(A), &T::set_channel_utilization, 200, &T::set_number_associated_sta, 258, &T::set_include_bit_ac_bk,
                bk, &T::set_include_bit_ac_vo, vo, &T::set_include_bit_ac_vi, vi, &T::set_information_ac_be,
                Parameters{0x11, 0x22, 0x33}, &T::set_information_ac_bk, Parameters{0x44, 0x55, 0x66},
                &T::set_information_ac_vo, Parameters{0x77, 0x88, 0x99}, &T::set_information_ac_vi,
                Parameters{0xAA, 0xBB, 0xCC});
}

const string METRICS_TEXT =
    "type: AP_METRICS BSSID: 02:1A:2B:3C:4D:5E Channel Utilization: 200 Number of associated STAs: 258"
    "\n\t Estimated Service Parameters Information Field:\n\t\tAC_BE = true\tAC_BK = ";

AssociatedSTATrafficStatsTLV traffic() {
  using T = AssociatedSTATrafficStatsTLV;
  return filled(T(D), &T::set_bytes_sent, 16909060, &T::set_bytes_received, 168496141, &T::set_packets_sent, 286397204,
                &T::set_packets_received, 555885348, &T::set_tx_packet_errors, 825373492, &T::set_rx_packet_errors,
                1094861636, &T::set_retransmission_count, 1364349780);
}

using ieee802_11::AssocRequestFrame;
using enum ClientCapabilityResultCode;

const string FRAME_OCTETS = "1104 000A # capabilities, listen interval\n 00 04 48616C6C # SSID\n 01 02 8284 # rates\n";

ClientCapabilityReportTLV report(ClientCapabilityResultCode result, const string& frame) {
  const test::Octets wire = octets(frame);
  ClientCapabilityReportTLV tlv(result);
  tlv.set_assoc_req_frame(test::decode(wire, [&] { return std::make_unique<AssocRequestFrame>(wire.size()); }).object);
  return tlv;
}

TEST(BSSRecords, Golden) {
  test::check_golden_of(AssociatedClient(C, 4386), "0A0918273645 1122",
                        "MAC: 0A:09:18:27:36:45 time since last association: 4386");
  test::check_golden_of(LINK_METRIC, LINK_METRIC_OCTETS, LINK_METRIC_TEXT);
}

TEST(BSSOperatingOnRadio, IsOrderedByAddressThenByOctetsOfTheSSID) {
  const BSSOperatingOnRadio in[] = {{A, ""}, {A, "b"}, {A, "ba"}, {A, "c\x7F"}, {A, "c\x80"}, {B, "a"}};
  test::expect_ascending<BSSOperatingOnRadio>({&in[0], &in[1], &in[2], &in[3], &in[4], &in[5]});
}

TEST(BSSTLVs, Golden) {
  check_rows({
      G(with(SupportedServiceTLV(), &SupportedServiceTLV::add_service,
             {ServiceType::MULTI_AP_AGENT, ServiceType::MULTI_AP_CONTROLLER, ServiceType(7)}),
        "80 0004 03 01 00 07",
        "type: SUPPORTED_SERVICE service: MULTI_AP_AGENT service: MULTI_AP_CONTROLLER service: 7"),
      G(with(SearchedServiceTLV(), &SearchedServiceTLV::add_service, {ServiceType::MULTI_AP_CONTROLLER}),
        "81 0002 01 00", "type: SEARCHED_SERVICE service: MULTI_AP_CONTROLLER"),
      G(with(APOperationalBSSTLV(), &APOperationalBSSTLV::add_report,
             {radio(A, {{B, ODD_SSID}, {C, ""}}), radio(D, {})}),
        "83 0021 02 # type, length, radios\n 021A2B3C4D5E 02 # radio, BSSs\n"
        "06F1E2D3C4B5 04 482200E9\n 0A0918273645 00\n 0E7D6C5B4A39 00 # radio, BSSs",
        "type: AP_OPERATIONAL_BSS\n\t\tRadio Unique Identifier: 02:1A:2B:3C:4D:5E"
        "\n\t\tBBS operating on Radio: 06:F1:E2:D3:C4:B5 SSID: \"" +
            ODD_SSID +
            "\"\n\t\tBBS operating on Radio: 0A:09:18:27:36:45 SSID: \"\""
            "\n\t\tRadio Unique Identifier: 0E:7D:6C:5B:4A:39"),
      G(with(AssociatedClientsTLV(), &AssociatedClientsTLV::add_operated_bss,
             {bss(A, {{B, 4386}, {C, 13124}}), bss(D, {})}),
        "84 0021 02 # type, length, BSSs\n 021A2B3C4D5E 0002 06F1E2D3C4B5 1122 0A0918273645 3344\n 0E7D6C5B4A39 0000",
        "type: ASSOCIATED_CLIENTS\n\tAssociated Clients for BSSID 02:1A:2B:3C:4D:5E: ["
        "\n\t\tMAC: 06:F1:E2:D3:C4:B5 time since last association: 4386"
        "\n\t\tMAC: 0A:09:18:27:36:45 time since last association: 13124]"
        "\n\tAssociated Clients for BSSID 0E:7D:6C:5B:4A:39: []"),
      G(ClientInfoTLV(A, B), "90 000C 021A2B3C4D5E 06F1E2D3C4B5",
        "type: CLIENT_INFO BSSID: 02:1A:2B:3C:4D:5E Client: 06:F1:E2:D3:C4:B5"),
      G(report(SUCCESS, FRAME_OCTETS), "91 000F 00" + FRAME_OCTETS,
        "type: CLIENT_CAPABILITY_REPORT ResultCode:SUCCESS\n\tRecent AssocReq: 14 Byte", {0}),
      G(report(FAILURE, FRAME_OCTETS), "91 0001 01", "type: CLIENT_CAPABILITY_REPORT ResultCode:FAILURE", {0}),
      G(ClientAssociationEventTLV(C, A, true), "92 000D 0A0918273645 021A2B3C4D5E 80",
        "type: CLIENT_ASSOCIATION_EVENT Client: 0A:09:18:27:36:45 BSSID: 02:1A:2B:3C:4D:5E Client joined BSS"),
      G(ClientAssociationEventTLV(B, D, false), "92 000D 06F1E2D3C4B5 0E7D6C5B4A39 00",
        "type: CLIENT_ASSOCIATION_EVENT Client: 06:F1:E2:D3:C4:B5 BSSID: 0E:7D:6C:5B:4A:39 Client left BSS"),
      G(with(APMetricQueryTLV(), &APMetricQueryTLV::add_bssid, {B, D}), "93 000D 02 06F1E2D3C4B5 0E7D6C5B4A39",
        "type: AP_METRIC_QUERY BSSIDs: [\n\t06:F1:E2:D3:C4:B5\n\t0E:7D:6C:5B:4A:39]"),
      G(metrics(true, true, true), "94 0016 021A2B3C4D5E C8 0102 F0 112233 445566 778899 AABBCC",
        METRICS_TEXT + "true\n\t\tAC_VO = true\tAC_VI = true"),
      G(metrics(false, false, true), "94 0010 021A2B3C4D5E C8 0102 90 112233 AABBCC",
        METRICS_TEXT + "false\n\t\tAC_VO = false\tAC_VI = true"),
      G(metrics(true, false, false), "94 0010 021A2B3C4D5E C8 0102 C0 112233 445566",
        METRICS_TEXT + "true\n\t\tAC_VO = false\tAC_VI = false"),
      G(APMetricsTLV(B), "94 000D 06F1E2D3C4B5 00 0000 80 000000",
        "type: AP_METRICS BSSID: 06:F1:E2:D3:C4:B5 Channel Utilization: 0 Number of associated STAs: 0"
        "\n\t Estimated Service Parameters Information Field:\n\t\tAC_BE = true\tAC_BK = false"
        "\n\t\tAC_VO = false\tAC_VI = false"),
      G(with(AssociatedSTALinkMetricsTLV(A), &AssociatedSTALinkMetricsTLV::add_sta_link_metric,
             {LINK_METRIC, LINK_METRIC}),
        "96 002D 021A2B3C4D5E 02" + LINK_METRIC_OCTETS + LINK_METRIC_OCTETS,
        "type: ASSOCIATED_STA_LINK_METRICS STA MAC: 02:1A:2B:3C:4D:5E Associated BSSs: [\n\t" + LINK_METRIC_TEXT +
            "\n\t" + LINK_METRIC_TEXT + "]"),
      G(HigherLayerDataTLV(HigherLayerProtocol::TR181_TRANSPORT_PROTOCOL, {0xDE, 0xAD, 0x01}), "A0 0004 01 DEAD01",
        "type: HIGHER_LAYER_DATA Higher Layer Protocol: TR181_TRANSPORT_PROTOCOL Datasize: 3", {0}),
      G(HigherLayerDataTLV(HigherLayerProtocol(9), {}), "A0 0001 09",
        "type: HIGHER_LAYER_DATA Higher Layer Protocol: 9 Datasize: 0", {0}),
      G(traffic(), "A2 0022 0E7D6C5B4A39 01020304 0A0B0C0D 11121314 21222324 31323334 41424344 51525354",
        "type: ASSOCIATED_STA_TRAFFIC_STATS STAMAC: 0E:7D:6C:5B:4A:39 Bytes sent: 16909060 Bytes received: 168496141"
        "\n\tPackets sent: 286397204 Packets received: 555885348 TX Packet Errors: 825373492 RX Packet Errors: "
        "1094861636 Retransmission Count: 1364349780"),
      G(ErrorCodeTLV(ErrorReasonCode(7), A), "A3 0007 07 021A2B3C4D5E",
        "type: ERROR_CODE Reason Code: 7 STA MAC: 02:1A:2B:3C:4D:5E"),
  });
}

TEST(BSSTLVs, EnumerationTexts) {
  test::check_enum_texts<ServiceType>("0 MULTI_AP_CONTROLLER 1 MULTI_AP_AGENT");
  test::check_enum_texts<ClientCapabilityResultCode>("0 SUCCESS 1 FAILURE 255 INVALID");
  test::check_enum_texts<HigherLayerProtocol>("0 RESERVED 1 TR181_TRANSPORT_PROTOCOL 255 INVALID");
  test::check_enum_texts<ErrorReasonCode>(R"(
0 RESERVED 1 STA_ASSOCIATED_WITH_BSS_OPERATED_BY_AGENT 2 STA_NOT_ASSOCIATED_WITH_ANY_BSS_OPERATED_BY_AGENT
3 CLIENT_CAPABILITY_REPORT_UNSPECIFIED_FAILURE 4 BACKHAUL_STEERING_REQUEST_REJECTED_CHANNEL
5 BACKHAUL_STEERING_REQUEST_REJECTED_BSS_SIGNAL 6 BACKHAUL_STEERING_REQUEST_REJECTED_TARGET_BSS 255 INVALID)");
}

TEST(BSSTLVs, ParametersThatAreNotIncludedAreNeitherComparedNorRead) {
  APMetricsTLV other = metrics(false, true, false);
  other.set_information_ac_bk({1, 2, 3});
  other.set_information_ac_vi({4, 5, 6});
  EXPECT_TRUE(other == metrics(false, true, false));
  EXPECT_TRUE(other.get_include_bit_ac_be());

  EXPECT_EQ(decode_into(other, "94 000D 06F1E2D3C4B5 00 0000 00 000000"), "");
  EXPECT_FALSE(other.get_include_bit_ac_be());
  EXPECT_EQ(other.get_information_ac_bk(), (APMetricsTLV::ServiceParameters{1, 2, 3}));
  EXPECT_EQ(other.get_information_ac_vo(), (APMetricsTLV::ServiceParameters{0x77, 0x88, 0x99}));
}

TEST(BSSTLVs, ReservedBitsOutliveTheEvent) {
  const auto decoded = test::decode<ClientAssociationEventTLV>(octets("92 000D 0A0918273645 021A2B3C4D5E D3"));
  decoded.object->set_client_associated_event(false);
  EXPECT_EQ(test::encode(*decoded.object).octets.substr(30), "53");
  EXPECT_FALSE(decoded.object->get_client_associated_event());
}

TEST(ClientCapabilityReport, ASuccessNeedsAFrame) {
  const ClientCapabilityReportTLV without(SUCCESS);
  EXPECT_EQ(test::encode(without), (Written{"", "Invalid values"}));
  EXPECT_EQ((std::ostringstream() << without).str(),
            "type: CLIENT_CAPABILITY_REPORT ResultCode:SUCCESS\n\tRecent AssocReq: 0 Byte");
  test::expect_unequal<TLV>(without, without);
  test::expect_unequal<TLV>(without, report(SUCCESS, FRAME_OCTETS));
  test::expect_unequal<TLV>(report(SUCCESS, "1104 000A"), report(SUCCESS, FRAME_OCTETS));
}

TEST(ClientCapabilityReport, OtherResultsIgnoreTheirFrames) {
  EXPECT_TRUE(report(FAILURE, "1104 000A") == ClientCapabilityReportTLV(FAILURE));
  for (const int result : {2, 254, 255}) {
    const auto tlv = report(ClientCapabilityResultCode(result), FRAME_OCTETS);
    EXPECT_TRUE(tlv == ClientCapabilityReportTLV(tlv.get_result_code()));
    EXPECT_EQ(test::encode(tlv), (Written{"", "Invalid values"}));
  }
}

TEST(BSSLimits, OfStringsAndPayloads) {
  check_limit(BSSOperatingOnRadio(A, string(32, 'x')), "");
  check_decodes_only("83 002F 01 021A2B3C4D5E 01 06F1E2D3C4B5 21" + test::hex(test::Octets(33, 'x')), INVALID_SIZE);
  check_limit(HigherLayerDataTLV(HigherLayerProtocol::RESERVED, test::Octets(65534)), "");
  check_limit(HigherLayerDataTLV(HigherLayerProtocol::RESERVED, test::Octets(65535)), INVALID_SIZE);
}

TEST(BSSFailures, WhenDecoding) {
  const std::pair<const char*, const char*> rows[] = {
      {"91 0001 00", "Invalid values: length: 1 result_code: SUCCESS"},
      {"91 0005 01 1104000A", "Invalid values: length: 5 result_code: FAILURE"},
      {"91 0102 07", "Invalid values: length: 258 result_code: 7"},
      {"91 0001 02", ""},
      {"91 0004 00 1104000A", "Invalid values (sanity)"},  // one octet less than the fixed fields
      {"91 0006 00 1104000A 00", ""},                      // half an element
      {"91 000D 00 1104000A 021A2B3C4D5E 00 00", ""},      // a reassociation request
      {"A0 0000 01 22", "Invalid length, must fit at least protocol byte"},
      {"83 000F 01 021A2B3C4D5E 01 06F1E2D3C4B5 02 41", "Deserialization of type char failed."},
  };
  for (const auto& [wire, refused] : rows) {
    EXPECT_EQ(decode_tlv(octets(wire)).outcome.refused, refused);
  }
}

}  // namespace
}  // namespace qel::ieee1905_1
