#include "tests/ieee1905_1/tlv_test.h"

namespace qel::ieee1905_1 {
namespace {

using G = test::Golden<TLV>;

const string ODD_SSID("H\"\0\xE9", 4);

APMetricsTLV metrics(bool bk, bool vo, bool vi) {
  using T = APMetricsTLV;
  using Parameters = T::ServiceParameters;
  const T all = fields(T(A), FIELD(bssid), A, FIELD(channel_utilization), 200, FIELD(number_associated_sta), 258,
                       FIELD(include_bit_ac_bk), true, FIELD(include_bit_ac_vo), true, FIELD(include_bit_ac_vi), true,
                       FIELD(information_ac_be), Parameters{0x11, 0x22, 0x33}, FIELD(information_ac_bk),
                       Parameters{0x44, 0x55, 0x66}, FIELD(information_ac_vo), Parameters{0x77, 0x88, 0x99},
                       FIELD(information_ac_vi), Parameters{0xAA, 0xBB, 0xCC});
  return filled(all, FIELD(include_bit_ac_bk), bk, FIELD(include_bit_ac_vo), vo, FIELD(include_bit_ac_vi), vi);
}

const string METRICS_TEXT =
    "type: AP_METRICS BSSID: 02:1A:2B:3C:4D:5E Channel Utilization: 200 Number of associated STAs: 258"
    "\n\t Estimated Service Parameters Information Field:\n\t\tAC_BE = true\tAC_BK = ";

using ieee802_11::AssocRequestFrame;
using enum ClientCapabilityResultCode;

const string FRAME_OCTETS = "1104 000A # capabilities, listen interval\n 00 04 48616C6C # SSID\n 01 02 8284 # rates\n";

ClientCapabilityReportTLV report(ClientCapabilityResultCode result, const string& frame) {
  const test::Octets wire = octets(frame);
  const std::shared_ptr<const AssocRequestFrame> shared =
      test::decode(wire, [&] { return std::make_unique<AssocRequestFrame>(wire.size()); }).object;
  return fields(ClientCapabilityReportTLV(result), FIELD(assoc_req_frame), shared);
}

TEST(BSSOperatingOnRadio, IsOrderedByAddressThenByOctetsOfTheSSID) {
  const BSSOperatingOnRadio in[] = {{A, "b"}, {A, "ba"}, {A, "c\x7F"}, {A, "c\x80"}, {B, "a"}};
  test::expect_ascending<BSSOperatingOnRadio>({&in[0], &in[1], &in[2], &in[3], &in[4]});
}

TEST(BSSTLVs, Golden) {
  using BSS = BSSOperatingOnRadio;
  using Radio = BSSOperationalRadioReport;
  using Clients = OperatedBSSClients;
  using AllClients = AssociatedClientsTLV;
  constexpr auto TR181 = HigherLayerProtocol::TR181_TRANSPORT_PROTOCOL;
  const BSS odd = fields(BSS(B, ODD_SSID), FIELD(mac_address), B, FIELD(ssid), ODD_SSID);
  const Radio radio_a =
      fields(Radio(A), FIELD(radio_unique_identifier), A, LIST_FIELD(BSS_operating), std::vector{odd, BSS(C, "")});
  const Clients clients_a =
      fields(Clients(A), FIELD(bssid), A, LIST_FIELD(associated_client),
             std::vector{fields(AssociatedClient(B, 4386), FIELD(mac), B, FIELD(last_associated_time), 4386),
                         AssociatedClient(C, 13124)});
  check_rows({
      G(fields(SupportedServiceTLV(), LIST_FIELD(service),
               std::vector{ServiceType::MULTI_AP_AGENT, ServiceType::MULTI_AP_CONTROLLER, ServiceType(7)}),
        "80 0004 03 01 00 07",
        "type: SUPPORTED_SERVICE service: MULTI_AP_AGENT service: MULTI_AP_CONTROLLER service: 7"),
      G(fields(SearchedServiceTLV(), LIST_FIELD(service), std::vector{ServiceType::MULTI_AP_CONTROLLER}),
        "81 0002 01 00", "type: SEARCHED_SERVICE service: MULTI_AP_CONTROLLER"),
      G(fields(APOperationalBSSTLV(), LIST_FIELD(report), std::vector{radio_a, Radio(D)}),
        "83 0021 02 # type, length, radios\n 021A2B3C4D5E 02 # radio, BSSs\n"
        "06F1E2D3C4B5 04 482200E9\n 0A0918273645 00\n 0E7D6C5B4A39 00 # radio, BSSs",
        "type: AP_OPERATIONAL_BSS\n\t\tRadio Unique Identifier: 02:1A:2B:3C:4D:5E"
        "\n\t\tBBS operating on Radio: 06:F1:E2:D3:C4:B5 SSID: \"" +
            ODD_SSID +
            "\"\n\t\tBBS operating on Radio: 0A:09:18:27:36:45 SSID: \"\""
            "\n\t\tRadio Unique Identifier: 0E:7D:6C:5B:4A:39"),
      G(fields(AllClients(), LIST_FIELD(operated_bss), std::vector{clients_a, Clients(D)}),
        "84 0021 02 # type, length, BSSs\n 021A2B3C4D5E 0002 06F1E2D3C4B5 1122 0A0918273645 3344\n 0E7D6C5B4A39 0000",
        "type: ASSOCIATED_CLIENTS\n\tAssociated Clients for BSSID 02:1A:2B:3C:4D:5E: ["
        "\n\t\tMAC: 06:F1:E2:D3:C4:B5 time since last association: 4386"
        "\n\t\tMAC: 0A:09:18:27:36:45 time since last association: 13124]"
        "\n\tAssociated Clients for BSSID 0E:7D:6C:5B:4A:39: []"),
      G(fields(ClientInfoTLV(A, B), FIELD(bssid), A, FIELD(client_mac), B), "90 000C 021A2B3C4D5E 06F1E2D3C4B5",
        "type: CLIENT_INFO BSSID: 02:1A:2B:3C:4D:5E Client: 06:F1:E2:D3:C4:B5"),
      G(report(SUCCESS, FRAME_OCTETS), "91 000F 00" + FRAME_OCTETS,
        "type: CLIENT_CAPABILITY_REPORT ResultCode:SUCCESS\n\tRecent AssocReq: 14 Byte", {0}),
      G(report(FAILURE, FRAME_OCTETS), "91 0001 01", "type: CLIENT_CAPABILITY_REPORT ResultCode:FAILURE", {0}),
      G(fields(ClientAssociationEventTLV(C, A, true), FIELD(client_mac), C, FIELD(bssid), A,
               FIELD(client_associated_event), true),
        "92 000D 0A0918273645 021A2B3C4D5E 80",
        "type: CLIENT_ASSOCIATION_EVENT Client: 0A:09:18:27:36:45 BSSID: 02:1A:2B:3C:4D:5E Client joined BSS"),
      G(ClientAssociationEventTLV(B, D, false), "92 000D 06F1E2D3C4B5 0E7D6C5B4A39 00",
        "type: CLIENT_ASSOCIATION_EVENT Client: 06:F1:E2:D3:C4:B5 BSSID: 0E:7D:6C:5B:4A:39 Client left BSS"),
      G(fields(APMetricQueryTLV(), LIST_FIELD(bssid), std::vector{B, D}), "93 000D 02 06F1E2D3C4B5 0E7D6C5B4A39",
        "type: AP_METRIC_QUERY BSSIDs: [\n\t06:F1:E2:D3:C4:B5\n\t0E:7D:6C:5B:4A:39]"),
      G(metrics(true, true, true), "94 0016 021A2B3C4D5E C8 0102 F0 112233 445566 778899 AABBCC",
        METRICS_TEXT + "true\n\t\tAC_VO = true\tAC_VI = true"),
      G(metrics(false, false, true), "94 0010 021A2B3C4D5E C8 0102 90 112233 AABBCC",
        METRICS_TEXT + "false\n\t\tAC_VO = false\tAC_VI = true"),
      G(metrics(true, false, false), "94 0010 021A2B3C4D5E C8 0102 C0 112233 445566",
        METRICS_TEXT + "true\n\t\tAC_VO = false\tAC_VI = false"),
      G(fields(AssociatedSTALinkMetricsTLV(A), FIELD(sta_mac), A, LIST_FIELD(sta_link_metric),
               std::vector{fields(STALinkMetric(), FIELD(bssid), B, FIELD(time_delta), 16909060,
                                  FIELD(estimated_downlink_data_rate), 168496141, FIELD(estimated_uplink_data_rate),
                                  286397204, FIELD(uplink_rcpi), 200),
                           filled(STALinkMetric(), FIELD(bssid), C)}),
        "96 002D 021A2B3C4D5E 02 # station, links\n 06F1E2D3C4B5 01020304 0A0B0C0D 11121314 C8\n"
        "0A0918273645 00000000 00000000 00000000 00",
        "type: ASSOCIATED_STA_LINK_METRICS STA MAC: 02:1A:2B:3C:4D:5E Associated BSSs: ["
        "\n\tBSSID: 06:F1:E2:D3:C4:B5 Time Delta of Measurement: 16909060"
        "\n\t\t Estimated Downlink: 168496141 Estimated Uplink: 286397204 Uplink RCPI: 200"
        "\n\tBSSID: 0A:09:18:27:36:45 Time Delta of Measurement: 0"
        "\n\t\t Estimated Downlink: 0 Estimated Uplink: 0 Uplink RCPI: 0]"),
      G(fields(HigherLayerDataTLV(TR181, octets("DEAD01")), FIELD(protocol), TR181, FIELD(payload), octets("DEAD01")),
        "A0 0004 01 DEAD01", "type: HIGHER_LAYER_DATA Higher Layer Protocol: TR181_TRANSPORT_PROTOCOL Datasize: 3",
        {0}),
      G(fields(AssociatedSTATrafficStatsTLV(D), FIELD(sta_mac), D, FIELD(bytes_sent), 16909060, FIELD(bytes_received),
               168496141, FIELD(packets_sent), 286397204, FIELD(packets_received), 555885348, FIELD(tx_packet_errors),
               825373492, FIELD(rx_packet_errors), 1094861636, FIELD(retransmission_count), 1364349780),
        "A2 0022 0E7D6C5B4A39 01020304 0A0B0C0D 11121314 21222324 31323334 41424344 51525354",
        "type: ASSOCIATED_STA_TRAFFIC_STATS STAMAC: 0E:7D:6C:5B:4A:39 Bytes sent: 16909060 Bytes received: 168496141"
        "\n\tPackets sent: 286397204 Packets received: 555885348 TX Packet Errors: 825373492 RX Packet Errors: "
        "1094861636 Retransmission Count: 1364349780"),
      G(fields(ErrorCodeTLV(ErrorReasonCode(7), A), FIELD(reason_code), ErrorReasonCode(7), FIELD(sta_mac), A),
        "A3 0007 07 021A2B3C4D5E", "type: ERROR_CODE Reason Code: 7 STA MAC: 02:1A:2B:3C:4D:5E"),
  });
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

TEST(BSSTLVs, ReservedBitsAreKept) {
  auto event = decoded<ClientAssociationEventTLV>("92 000D 0A0918273645 021A2B3C4D5E D3");
  event.set_client_associated_event(false);
  EXPECT_EQ(test::encode(event).octets.substr(30), "53");
  EXPECT_FALSE(event.get_client_associated_event());
}

TEST(ClientCapabilityReport, ASuccessNeedsAFrame) {
  using T = ClientCapabilityReportTLV;
  const T without = fields(T(SUCCESS), FIELD(result_code), SUCCESS);
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
