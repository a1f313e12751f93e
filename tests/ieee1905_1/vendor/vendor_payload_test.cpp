#include "qel/ieee802_11/security_mapping.h"
#include "tests/fake_platform/fake_platform.h"
#include "tests/ieee1905_1/tlv_test.h"

namespace qel::ieee1905_1 {
namespace {

using G = test::Golden<VendorSpecific>;

TEST(VendorPayloads, Neighbors) {
  const auto psq19 = decoded<QELPSQ19NonIEEE1905NeighborDeviceListTLV>("10 000F 021A2B3C4D5E 03 776C31 0A91827364");
  EXPECT_EQ(psq19.get_rest(), octets("0A91827364"));
  check_rows({
      G(fields(QELIEEE1905NeighborDeviceTLV(A, "wlan0"), FIELD(local_MAC), A, FIELD(local_interface_name), "wlan0",
               LIST_FIELD(AL_MAC_neighbor),
               std::vector<ALMAC19051Neighbor>{{B, IEEE802_1_Bridge::IEEE802_1_BRIDGE}, {C, IEEE802_1_Bridge(0)}}),
        "02 001A 021A2B3C4D5E 05 776C616E30 06F1E2D3C4B5 80 0A0918273645 00",
        "type: QEL_IEEE1905_NEIGHBOR_DEVICE_TLV local mac: 02:1A:2B:3C:4D:5E (wlan0) {"
        "\n\t\tAL_MAC: 06:F1:E2:D3:C4:B5 IEEE802_1_bridge: IEEE802_1_BRIDGE"
        "\n\t\tAL_MAC: 0A:09:18:27:36:45 IEEE802_1_bridge: NO_IEEE802_1_BRIDGE}",
        {0}),
      G(fields(QELNonIEEE1905NeighborDeviceListTLV(A, "eth1"), FIELD(local_MAC), A, FIELD(local_interface_name), "eth1",
               FIELD_OF(add_mac_address, get_MAC_address_vector), std::vector{B, C}),
        "03 0017 021A2B3C4D5E 04 65746831 06F1E2D3C4B5 0A0918273645",
        "type: QEL_NON_IEEE1905_NEIGHBOR_DEVICE_LIST_TLV local mac: 02:1A:2B:3C:4D:5E (eth1)"
        "\n\t\t{06:F1:E2:D3:C4:B5,0A:09:18:27:36:45,}",
        {0}),
      G(fields(psq19, FIELD(local_MAC), A, FIELD(local_interface_name), "wl1",
               FIELD_OF(add_mac_address, get_MAC_address_vector), std::vector{B}),
        "10 0015 021A2B3C4D5E 03 776C31 06F1E2D3C4B5 0A91827364",
        "type: QEL_PSQ19_NON_IEEE1905_NEIGHBOR_DEVICE_LIST_TLV local mac: 02:1A:2B:3C:4D:5E (wl1)"
        "\n\t\t{06:F1:E2:D3:C4:B5,}\n\t\trest: 5 Bytes",
        {0}),
  });
}

TEST(VendorPayloads, BlockedInterfaces) {
  using T = QELBlockedInterface;
  QELBlockedInterfaceListTLV tlv;
  const T wlan = fields(T(InterfaceType::WLAN, B, "wlan0", std::bitset<16>().set(9)), FIELD(type), InterfaceType::WLAN,
                        FIELD(mac_address), B, FIELD(name), "wlan0", FIELD(filter_actions), 0x200U);
  tlv.add_blocked_interface(wlan);
  tlv.add_blocked_interface(T(InterfaceType::UNKNOWN, C, "", 0x1234));
  EXPECT_TRUE(tlv.get_blocked_interfaces().at(0) == wlan);
  check_rows(
      {G(tlv, "0E 001A 02  01 06F1E2D3C4B5 05 776C616E30 0002  FF 0A0918273645 00 3412",
         "type: QEL_BLOCKED_INTERFACE_LIST_TLV"
         "\n\t\tQELBlockedInterface: mac: 06:F1:E2:D3:C4:B5 (wlan0) type: WLAN filter_actions: 0000001000000000"
         "\n\t\tQELBlockedInterface: mac: 0A:09:18:27:36:45 () type: UNKNOWN filter_actions: 0001001000110100")});
}

template <class Metric, class Information>
Metric link_metric(const MACAddress& receiving, const std::string& receiving_name, const MACAddress& neighbor,
                   const std::string& neighbor_name, const Information& information) {
  return fields(Metric(), FIELD(receiving_interface_MAC), receiving, FIELD(receiving_interface_name), receiving_name,
                FIELD(neighbor_interface_MAC), neighbor, FIELD(neighbor_interface_name), neighbor_name,
                FIELD(link_metric_information), information);
}

TEST(VendorPayloads, LinkMetrics) {
  // The records of the standard's TLVs, which have tests of their own.
  const auto received = decoded<ReceiverLinkMetricInformation>("01 05 00010203 04050607 C8");
  const auto transmitted = decoded<TransmitterLinkMetricInformation>("00 01 01 00010203 04050607 0809 0060 0B0C");
  using RX = QELReceiverLinkMetricTLV;
  using TX = QELTransmitterLinkMetricTLV;
  check_rows({
      G(fields(RX(A, D), FIELD(local_AL_MAC), A, FIELD(neighbor_AL_MAC), D, LIST_FIELD(receiver_link_metric),
               std::vector{link_metric<QELReceiverLinkMetric>(B, "eth1", C, "wlan0", received)}),
        R"(04 0030 021A2B3C4D5E 0E7D6C5B4A39 0001
           06F1E2D3C4B5 04 65746831 0A0918273645 05 776C616E30 01 05 00010203 04050607 C8)",
        "type: QEL_RECEIVER_LINK_METRIC_TLV local AL_MAC: 02:1A:2B:3C:4D:5E neighbor AL_MAC: 0E:7D:6C:5B:4A:39"
        "\n\t\tQEL-specific ReceiverLinkMetric receiving_al_mac: 06:F1:E2:D3:C4:B5 (eth1)"
        " neighbor_al_mac: 0A:09:18:27:36:45 (wlan0)\n\t\t\t{RX LinkMetricInformation intfType: WLAN AC_5_GHZ"
        " packetErrors: 66051 packetsReceived: 67438087 rcpi: 200}"),
      G(fields(TX(A, D), LIST_FIELD(transmitter_link_metric),
               std::vector{link_metric<QELTransmitterLinkMetric>(B, "eth1", C, "wlan0", transmitted)}),
        R"(05 0036 021A2B3C4D5E 0E7D6C5B4A39 0001
           06F1E2D3C4B5 04 65746831 0A0918273645 05 776C616E30 00 01 01 00010203 04050607 0809 0060 0B0C)",
        "type: QEL_TRANSMITTER_LINK_METRIC_TLV local AL_MAC: 02:1A:2B:3C:4D:5E neighbor AL_MAC: 0E:7D:6C:5B:4A:39"
        "\n\t\tQEL-specific TransmitterLinkMetric receiving_al_mac: 06:F1:E2:D3:C4:B5 (eth1)"
        " neighbor_al_mac: 0A:09:18:27:36:45 (wlan0)\n\t\t\t{TX LinkMetricInformation intfType: ETHERNET"
        " GIGABIT_ETHERNET IEEE802.1BridgeFlag: INCLUDED_IEEE802_1_BRIDGE packetErrors: 66051"
        " transmittedPackets: 67438087 macThroughputCapacity: 2057 linkAvailability: 96 phyRate: 2828}"),
  });
}

TEST(VendorPayloads, BTMQuery) {
  using Element = QELNeighborReportElement;
  const auto first = fields(Element(), FIELD(preference), 231, FIELD(bssid), B, FIELD(info_bits), 0x04030201U,
                            FIELD(op_class), 115, FIELD(channel), 36, FIELD(phy_type), PHYType::VHT);
  const auto second = filled(first, FIELD(preference), 5, FIELD(info_bits), 0x40000000U);
  check_rows({G(fields(QELBTMQueryTLV(), FIELD(client_mac), A, FIELD(dialog_token), 42, FIELD(reason_code), 16,
                       FIELD_OF(add_candidate, get_candidate_list), std::vector{first, second}),
                R"(08 0025 021A2B3C4D5E 2A 10 02
              E7 06F1E2D3C4B5 01020304 73 24 09  05 06F1E2D3C4B5 00000040 73 24 09)",
                "type: QEL_BTM_QUERY_TLV Client: 02:1A:2B:3C:4D:5E Token: 42 Reason: 16 Candidates: 2")});
  test::check_golden_of(second, "05 06F1E2D3C4B5 00000040 73 24 09",
                        "preference: 5 BSSID: 06:F1:E2:D3:C4:B5 info: 01000000000000000000000000000000 op class: 115"
                        " channel: 36 PHY type: VHT");
}

TEST(VendorPayloads, RadioState) {
  using Opmode = WLANOpmodeTLVEntry;
  using Opmodes = QELWLANOpmodeTLV;
  const auto wpa2 = *ieee802_11::create_rsn_element_from_security(WLANSecurity::WPA2PSK);
  const auto idle = fields(WLANLinkIdleState(B, QELSpecificIdleState::IDLE), FIELD(bssid_mac), B, FIELD(idle_state),
                           QELSpecificIdleState::IDLE);
  const auto opmode = fields(Opmode(A, WLANOpmode::HS_2_0), FIELD(mac), A, FIELD(opmode), WLANOpmode::HS_2_0);
  const auto security = fields(WLANSecurityTLVEntry(A, wpa2), FIELD(mac), A, FIELD(rsn_ie), wpa2);
  check_rows({
      G(fields(QELAPAnpiTLV(A, 156), FIELD(bssid_mac), A, FIELD(anpi), 156), "0B 0007 021A2B3C4D5E 9C",
        "type: QEL_AP_ANPI_TLV\n\t\tBSSID:02:1A:2B:3C:4D:5E ANPI: 156"),
      G(fields(QELAssociatedSTAIdleStateTLV(A), FIELD(sta_mac), A, LIST_FIELD(wlan_link_idle_state),
               std::vector{idle, WLANLinkIdleState(C, QELSpecificIdleState(5))}),
        "0A 0015 021A2B3C4D5E 02  06F1E2D3C4B5 01  0A0918273645 05",
        "type: QEL_ASSOCIATED_STA_IDLE_STATE_TLV\n\t\tSTA: 02:1A:2B:3C:4D:5E"
        "\n\t\t\tBSSID: 06:F1:E2:D3:C4:B5 IdleState: IDLE\n\t\t\tBSSID: 0A:09:18:27:36:45 IdleState: 5"),
      G(fields(Opmodes(), FIELD_OF(add_entry, get_entries), std::vector{opmode, Opmode(B, WLANOpmode(13))}),
        "06 000F 02  021A2B3C4D5E 06  06F1E2D3C4B5 0D",
        "type: QEL_AP_WLAN_OPMODE_TLV\n\t\tWLANInterface: 02:1A:2B:3C:4D:5E Opmode: HS_2.0"
        "\n\t\tWLANInterface: 06:F1:E2:D3:C4:B5 Opmode: INVALID WLAN OPMODE 13"),
      // The element's version is not kept.
      G(fields(QELWLANSecurityTLV(), FIELD_OF(add_entry, get_entries),
               std::vector{security, WLANSecurityTLVEntry(B, {})}),
        R"(0F 0025 02  021A2B3C4D5E 30 12 0100 000FAC04 0100 000FAC04 0100 000FAC02
           06F1E2D3C4B5 30 02 0100)",
        "type: QEL_AP_WLAN_SECURITY_TLV\n\t\tWLANSecurityTLVEntry: 02:1A:2B:3C:4D:5E security WPA2PSK"
        "\n\t\tWLANSecurityTLVEntry: 06:F1:E2:D3:C4:B5 security NONE",
        {0, 1, 2, 12, 13, 38, 39}),
  });
}

/// Every body has a rest from a newer node, which stays after the added elements.
TEST(VendorPayloads, OpenBodies) {
  using Link = QELInterfaceLinkState;
  const auto wlan = fields(QELInterfaceInformation(B, "wlan0", InterfaceType::WLAN, 5, wlan_information(C)), FIELD(mac),
                           B, FIELD(name), "wlan0", FIELD(interface_type), InterfaceType::WLAN, FIELD(interface_mode),
                           5, FIELD(media_specific_information), wlan_information(C));
  const auto home = fields(QELNonOperationalBSS(B, "home"), FIELD(bssid), B, FIELD(ssid), "home");
  const auto report = fields(QELNonOperationalBSSReport(A), FIELD(radio_unique_identifier), A, LIST_FIELD(BSS),
                             std::vector{home, QELNonOperationalBSS(C, "")});
  const auto up = fields(Link(B, "eth1", QELLinkState::UP, 2500), FIELD(mac), B, FIELD(name), "eth1", FIELD(state),
                         QELLinkState::UP, FIELD(speed), 2500);
  fields(QELDeviceInformationTLV(), FIELD(AL_MAC), A, LIST_FIELD(interface_information), std::vector{wlan});
  const string interfaces =  // each has a block that does not belong to its type
      " 06F1E2D3C4B5 04 706C6330 02 01 09 A1A2A3A4A5A6A7B8B9  0A0918273645 00 03 00 02 E7E8"
      " 0E7D6C5B4A39 00 01 05 04 01020304 ";
  const auto device = decoded<QELDeviceInformationTLV>("01 003B 021A2B3C4D5E 03" + interfaces + "F0E1D2");
  const auto bss = decoded<QELAPNonOperationalBSSTLV>("07 000A 01  0E7D6C5B4A39 00  C3D4");
  const auto link = decoded<QELLinkStateTLV>("0D 000F 01  06F1E2D3C4B5 00 07 00000BB8  E5F6");
  check_rows({
      G(filled(device, LIST_FIELD(interface_information),
               std::vector{wlan, QELInterfaceInformation(D, "eth1", InterfaceType::ETHERNET, 1)}),
        "01 0062 021A2B3C4D5E 05" + interfaces +
            R"(06F1E2D3C4B5 05 776C616E30 01 05 0A 0A0918273645 40 02 9B 2A
               0E7D6C5B4A39 04 65746831 00 01 00  F0E1D2)",
        "type: QEL_DEVICE_INFORMATION_TLV AL MAC: 02:1A:2B:3C:4D:5E"
        "\n\t\tQELInterfaceInformation: mac: 06:F1:E2:D3:C4:B5 (plc0) type: PLC mode: FFT media-specific: "
        "PLC networkID: a1:a2:a3:a4:a5:a6:a7 rest: 2 Bytes"
        "\n\t\tQELInterfaceInformation: mac: 0A:09:18:27:36:45 () type: CABLE mode: MoCA_1_1 media-specific: "
        "<no media-specific information> rest: 2 Bytes"
        "\n\t\tQELInterfaceInformation: mac: 0E:7D:6C:5B:4A:39 () type: WLAN mode: AC_5_GHZ media-specific: "
        "<no media-specific information> rest: 4 Bytes"
        "\n\t\tQELInterfaceInformation: mac: 06:F1:E2:D3:C4:B5 (wlan0) type: WLAN mode: AC_5_GHZ media-specific: "
        "WLAN bssid: 0A:09:18:27:36:45 role STA band 2 ctrFreqIdx1 155 ctrFreqIdx2 42"
        "\n\t\tQELInterfaceInformation: mac: 0E:7D:6C:5B:4A:39 (eth1) type: ETHERNET mode: GIGABIT_ETHERNET "
        "media-specific: <no media-specific information>\n\t\trest: 3 Bytes",
        {0}),
      G(filled(bss, LIST_FIELD(report), std::vector{report}),
        R"(07 0023 02  0E7D6C5B4A39 00
           021A2B3C4D5E 02  06F1E2D3C4B5 04 686F6D65  0A0918273645 00  C3D4)",
        "type: QEL_AP_NON_OPERATIONAL_BSS_TLV\n\t\tRadio Unique Identifier: 0E:7D:6C:5B:4A:39"
        "\n\t\tRadio Unique Identifier: 02:1A:2B:3C:4D:5E"
        "\n\t\t\tBSS not operating on Radio: 06:F1:E2:D3:C4:B5 SSID: \"home\""
        "\n\t\t\tBSS not operating on Radio: 0A:09:18:27:36:45 SSID: \"\"\n\t\trest: 2 Bytes",
        {0}),
      G(filled(link, FIELD_OF(add_link_state, get_link_states),
               std::vector{up, Link(C, "wlan0", QELLinkState::DOWN, 0x01020304)}),
        R"(0D 0030 03  06F1E2D3C4B5 00 07 00000BB8  06F1E2D3C4B5 04 65746831 01 000009C4
           0A0918273645 05 776C616E30 00 01020304  E5F6)",
        "type: QEL_LINK_STATE_TLV"
        "\n\t\tQELInterfaceLinkState: mac: 06:F1:E2:D3:C4:B5 () state: 7 speed: 3000 Mb/s"
        "\n\t\tQELInterfaceLinkState: mac: 06:F1:E2:D3:C4:B5 (eth1) state: UP speed: 2500 Mb/s"
        "\n\t\tQELInterfaceLinkState: mac: 0A:09:18:27:36:45 (wlan0) state: DOWN speed: 16909060 Mb/s"
        "\n\t\trest: 2 Bytes",
        {0}),
  });
  EXPECT_EQ(device.get_rest(), octets("F0E1D2"));
  QELInterfaceInformation unknown = device.get_interface_information_vector()[2];
  EXPECT_EQ(unknown.get_media_specific_rest(), octets("01020304"));
  unknown.set_media_specific_information(wlan_information(A));
  EXPECT_EQ(unknown, QELInterfaceInformation(D, "", InterfaceType::WLAN, 5, wlan_information(A)));
  EXPECT_EQ(bss.get_rest(), octets("C3D4"));
  EXPECT_EQ(link.get_rest(), octets("E5F6"));
}

const char* const SECURE = "Invalid size! Vector exceeds secure limit!";

constexpr void (QELBlockedInterfaceListTLV::*ADD_BLOCKED)(const QELBlockedInterface&) =
    &QELBlockedInterfaceListTLV::add_blocked_interface;
constexpr auto ADD_RX = &QELReceiverLinkMetricTLV::add_receiver_link_metric;

QELBlockedInterface blocked(std::size_t length) { return {InterfaceType::PLC, A, string(length, 'n'), 0}; }

TEST(VendorLimits, OfNamesWhenEncoding) {
  using Metric = QELReceiverLinkMetric;
  using SSIDs = QELNonOperationalBSSReport;
  for (const auto& [size, refused] : {std::pair(255U, ""), {256U, INVALID_SIZE}}) {
    const string name(size, 'n');
    check_limit(QELIEEE1905NeighborDeviceTLV(A, name), refused);
    check_limit(QELNonIEEE1905NeighborDeviceListTLV(A, name), refused);
    check_limit(QELPSQ19NonIEEE1905NeighborDeviceListTLV(A, name), refused);
    check_limit(filled(Metric(), FIELD(receiving_interface_name), name), refused);
    check_limit(filled(Metric(), FIELD(neighbor_interface_name), name), refused);
    check_limit(QELInterfaceInformation(A, name, InterfaceType::ETHERNET, 0), refused);
    check_limit(QELInterfaceLinkState(A, name, QELLinkState::UP, 0), refused);
  }
  check_limit(blocked(255), "");
  check_limit(blocked(256), "Invalid string length");
  check_limit(list(&SSIDs::add_BSS, 1, QELNonOperationalBSS(A, string(32, 's'))), "");
  check_limit(list(&SSIDs::add_BSS, 1, QELNonOperationalBSS(A, string(33, 's'))), INVALID_SIZE);
}

TEST(VendorLimits, OfCountsWhenEncoding) {
  check_counts(ADD_BLOCKED, 1, 255, INVALID_LENGTH);
  check_counts(&QELWLANOpmodeTLV::add_entry, 1, 255);
  check_counts(&QELWLANSecurityTLV::add_entry, 1, 255);
  check_counts(&QELDeviceInformationTLV::add_interface_information, 1, 255);
  check_counts(&QELLinkStateTLV::add_link_state, 1, 255);
  check_counts(&QELAPNonOperationalBSSTLV::add_report, 1, 255);
  check_counts(&QELNonOperationalBSSReport::add_BSS, 0, 255);
  check_limit(list(ADD_RX, 65535), INVALID_LENGTH);
  check_limit(list(ADD_RX, 65536), INVALID_SIZE);
}

TEST(VendorLimits, OfTheLengthWhenEncoding) {
  for (const auto& [name, refused] : {std::pair("n", ""), {"nn", INVALID_LENGTH}}) {  // 7 + name + 7 * 9361
    check_limit(list(&QELIEEE1905NeighborDeviceTLV::add_AL_MAC_neighbor, 9361, {}, {A, name}), refused);
  }
}

TEST(VendorLimits, OfLengthsAndCountsWhenDecoding) {
  const char* const SHORT_2 = "Invalid length: does not fit for MACAddress, length value and string.";
  const char* const SHORT_3 = "Invalid length: must fit a MACAddress, length value and string.";
  // Every payload is followed by enough octets for whatever its length says.
  const struct {
    const char* octets;
    const char* refused;
    std::size_t consumed;
  } rows[] = {
      {"02 000A 021A2B3C4D5E 04", SHORT_2, 10},
      {"02 0105 021A2B3C4D5E FF", SHORT_2, 10},
      {"02 0106 021A2B3C4D5E FF", "", 265},
      {"02 0018 021A2B3C4D5E 04", "Invalid length: must fit an IEEE1905Neighbor element", 14},
      {"03 000A 021A2B3C4D5E 04", SHORT_3, 10},
      {"03 0018 021A2B3C4D5E 04", "Invalid length: must fit at a MACAddress", 14},
      {"10 000A 021A2B3C4D5E 04", SHORT_3, 10},
      {"0E 0001 00", "", 4},
      {"06 0001 00", "", 4},
      {"01 0007 021A2B3C4D5E 00", "", 10},
      {"07 0001 01 021A2B3C4D5E 01 021A2B3C4D5E 21", "", 51},  // an SSID of 33 octets
      {"08 0000 021A2B3C4D5E 2A 10 0B", SECURE, 12},
      {"0A 0000 021A2B3C4D5E 15", SECURE, 10},
  };
  for (const auto& row : rows) {
    test::Octets wire = octets(row.octets);
    const auto type = QELVendorTLVType(wire[0]);
    wire.resize(300, 0x11);
    EXPECT_EQ(test::decode(wire, [&] { return create_vendor_specific(type); }).outcome,
              (test::ReadOutcome{row.refused, std::ios_base::goodbit, row.consumed}))
        << row.octets;
  }
  EXPECT_EQ(test::decode<QELBlockedInterface>(octets("01 021A2B3C4D5E 04 6574")).outcome,
            (test::ReadOutcome{"Deserialization of type char failed.", test::CUT_SHORT, 10}));
}

TEST(VendorFailures, KeepTheFieldsReadAndDoNotChangeTheList) {
  const auto check = [](const auto& used, const std::string& wire, const auto& left) {
    auto object = used;
    EXPECT_NE(decode_into(object, wire), "") << wire;
    EXPECT_TRUE(object == left) << object;
  };
  const auto neighbors = [](const MACAddress& local_mac, const string& name) {
    return list(&QELNonIEEE1905NeighborDeviceListTLV::add_mac_address, 1, D, {local_mac, name});
  };
  check(neighbors(A, "wlan0"), "03 000A 06F1E2D3C4B5 04", neighbors(B, "wlan0"));
  check(neighbors(A, "wlan0"), "03 0017 06F1E2D3C4B5 04 65746831 0A0918273645", neighbors(B, "eth1"));
  const auto query = list(&QELBTMQueryTLV::add_candidate, 1);
  check(query, "08 0000 021A2B3C4D5E 2A 10 0B",
        filled(query, FIELD(client_mac), A, FIELD(dialog_token), 42, FIELD(reason_code), 16));
  const auto idle = list(&QELAssociatedSTAIdleStateTLV::add_wlan_link_idle_state, 1);
  check(idle, "0A 0000 021A2B3C4D5E 15", filled(idle, FIELD(sta_mac), A));
  const auto interfaces = list(ADD_BLOCKED, 1);
  check(interfaces, "0E 0000 02 01 06F1E2D3C4B5 00 0002 01", interfaces);
}

TEST(VendorLimits, OfAddingAreLogged) {
  const auto check = []<class T, class Element>(void (T::*add)(Element), std::size_t most, const string& text) {
    fake_platform::reset();
    T payload = list(add, most);
    EXPECT_THAT(fake_platform::take_calls(), IsEmpty());
    (payload.*add)({});
    EXPECT_THAT(fake_platform::take_calls(), ElementsAre(text));
    check_limit(payload, "");
  };
  check(&QELBTMQueryTLV::add_candidate, 10,
        "errmsg(%s: %s, QELBTMQueryTLV: Number of BSSTransitionCandidate in QELBTMQueryTLV exceeds limit of 10. "
        "Element not added!)");
  check(&QELAssociatedSTAIdleStateTLV::add_wlan_link_idle_state, 20,
        "infomsg(LOG: %s: %s, LOG: QELAssociatedSTAIdleStateTLV: Number of added idle states is greater than \x14. "
        "Abort!)");
}

}  // namespace
}  // namespace qel::ieee1905_1
