#include "qel/ieee1905_1/autoconfiguration_tlvs.h"
#include "qel/ieee1905_1/device_identification_tlv.h"
#include "qel/ieee1905_1/device_information_tlv.h"
#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/link_metric_tlvs.h"
#include "qel/ieee1905_1/neighbor_tlvs.h"
#include "tests/ieee1905_1/tlv_test.h"

namespace qel::ieee1905_1 {
namespace {

using G = Row<TLV>;

// Each record as object, octets and text; the TLVs below are composed of them.

const string WLAN_OCTETS = "0A 0E7D6C5B4A39 40 02 9B 2A # length, BSSID, role, band, centre frequencies\n";
const string WLAN_TEXT = "WLAN bssid: 0E:7D:6C:5B:4A:39 role STA band 2 ctrFreqIdx1 155 ctrFreqIdx2 42";

PLCSpecificInformation plc_information() {
  return fields(PLCSpecificInformation(), FIELD(network_id),
                plc::NID(plc::NID::Octets{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD}));
}
const string PLC_OCTETS = "07 0123456789ABCD # length, network identifier\n";
const string PLC_TEXT = "PLC networkID: 01:23:45:67:89:ab:cd";

const string NO_TEXT = "<no media-specific information>";

InterfaceInformation wlan_interface() {
  return fields(InterfaceInformation(C, InterfaceType::WLAN, 5, wlan_information(D)), FIELD(mac), C,
                FIELD(interface_type), InterfaceType::WLAN, FIELD(interface_mode), 5, FIELD(media_specific_information),
                wlan_information(D));
}
const string WLAN_INTERFACE = "0A0918273645 01 05" + WLAN_OCTETS;
const string WLAN_INTERFACE_TEXT =
    "\tInterfaceInformation: mac: 0A:09:18:27:36:45 type: WLAN mode: AC_5_GHZ media-specific: " + WLAN_TEXT;

TransmitterLinkMetricInformation tx_information() {
  return fields(TransmitterLinkMetricInformation(), FIELD(interface_type), InterfaceType::WLAN, FIELD(interface_mode),
                4, FIELD(bridge_flag), TransmitterLinkMetricBridgeFlags::INCLUDED_IEEE802_1_BRIDGE,
                FIELD_OF(set_packet_errors, get_packet_erros), 16909060, FIELD(transmitted_packets), 168496141,
                FIELD(mac_throughput_capacity), 4386, FIELD(link_availability), 13124, FIELD(phy_rate), 21862);
}
const string TX_OCTETS = "01 04 01 # type, mode, bridge\n 01020304 0A0B0C0D 1122 3344 5566";
const string TX_TEXT =
    "TX LinkMetricInformation intfType: WLAN N_5_GHZ IEEE802.1BridgeFlag: INCLUDED_IEEE802_1_BRIDGE packetErrors: "
    "16909060 transmittedPackets: 168496141 macThroughputCapacity: 4386 linkAvailability: 13124 phyRate: 21862";

ReceiverLinkMetricInformation rx_information() {
  return fields(ReceiverLinkMetricInformation(), FIELD(interface_type), InterfaceType::PLC, FIELD(interface_mode), 1,
                FIELD_OF(set_packet_errors, get_packet_erros), 286397204, FIELD(packets_received), 555885348,
                FIELD(RCPI), 200);
}
const string RX_OCTETS = "02 01 # type, mode\n 11121314 21222324 C8";
const string RX_TEXT =
    "RX LinkMetricInformation intfType: PLC FFT packetErrors: 286397204 packetsReceived: 555885348 rcpi: 200";

template <class Metric, class Information>
Metric metric(const MACAddress& receiving, const MACAddress& neighbor, const Information& information) {
  return fields(Metric(), FIELD(receiving_interface_MAC), receiving, FIELD(neighbor_interface_MAC), neighbor,
                FIELD(link_metric_information), information);
}
TransmitterLinkMetric tx_metric() { return metric<TransmitterLinkMetric>(B, D, tx_information()); }
const string TX_METRIC_OCTETS = "06F1E2D3C4B5 0E7D6C5B4A39" + TX_OCTETS;
const string TX_METRIC_TEXT =
    "TransmitterLinkMetric receiving_al_mac: 06:F1:E2:D3:C4:B5 neighbor_al_mac: 0E:7D:6C:5B:4A:39 {" + TX_TEXT + "}";
ReceiverLinkMetric rx_metric() { return metric<ReceiverLinkMetric>(C, B, rx_information()); }
const string RX_METRIC_OCTETS = "0A0918273645 06F1E2D3C4B5" + RX_OCTETS;
const string RX_METRIC_TEXT =
    "ReceiverLinkMetric receiving_al_mac: 0A:09:18:27:36:45 neighbor_al_mac: 06:F1:E2:D3:C4:B5 {" + RX_TEXT + "}";

constexpr auto BRIDGE = IEEE802_1_Bridge::IEEE802_1_BRIDGE;

TEST(Records, Golden) {
  const std::vector<std::size_t> length_of_block = {0};
  test::check_golden_of(NoMediaSpecificInformation(), "00 # length", NO_TEXT, length_of_block);
  test::check_golden_of(wlan_information(D), WLAN_OCTETS, WLAN_TEXT, length_of_block);
  test::check_golden_of(plc_information(), PLC_OCTETS, PLC_TEXT, length_of_block);
  test::check_golden_of(wlan_interface(), WLAN_INTERFACE, WLAN_INTERFACE_TEXT, std::vector<std::size_t>{8});
  test::check_golden_of(tx_information(), TX_OCTETS, TX_TEXT);
  test::check_golden_of(rx_information(), RX_OCTETS, RX_TEXT);
  test::check_golden_of(tx_metric(), TX_METRIC_OCTETS, TX_METRIC_TEXT);
  test::check_golden_of(rx_metric(), RX_METRIC_OCTETS, RX_METRIC_TEXT);
  test::check_golden_of(fields(ALMAC19051Neighbor(A, BRIDGE), FIELD(AL_MAC), A, FIELD(IEEE802_1_bridge), BRIDGE),
                        "021A2B3C4D5E 80", "AL_MAC: 02:1A:2B:3C:4D:5E IEEE802_1_bridge: IEEE802_1_BRIDGE");
}

TEST(Records, MediaSpecificInformationIsOrderedByTypeFirst) {
  const auto wlan = wlan_information(D);
  const PLCSpecificInformation plc;  // zero, so that only the type can order it after the others
  const NoMediaSpecificInformation none;
  test::expect_ascending<MediaSpecificInformation>({&wlan, &plc, &none});
  EXPECT_FALSE(plc == none || none == wlan || wlan == plc);
  EXPECT_EQ(wlan.get_interface_type(), InterfaceType::WLAN);
  EXPECT_EQ(plc.get_interface_type(), InterfaceType::PLC);
  EXPECT_EQ(none.get_interface_type(), InterfaceType::UNKNOWN);
}

DeviceInformationTLV device_information() {
  const std::vector interfaces = {InterfaceInformation(B, InterfaceType::ETHERNET, 0), wlan_interface(),
                                  InterfaceInformation(D, InterfaceType::PLC, 1, plc_information()),
                                  InterfaceInformation(C, InterfaceType(7), 255)};
  return fields(DeviceInformationTLV(A), FIELD(AL_MAC), A,
                FIELD_OF(add_interface_information, get_interface_information_vector), interfaces);
}

DeviceBridgingTuple tuple(const std::vector<MACAddress>& addresses) {
  return fields(DeviceBridgingTuple(), FIELD_OF(add_mac_address, get_mac_address_vector), addresses);
}

LinkMetricQueryTLV query(LinkMetricQueryNeighbors neighbors, LinkMetricQuery metric) {
  return fields(LinkMetricQueryTLV(C), FIELD(AL_MAC_neighbor), C, FIELD(query_neighbor), neighbors, FIELD(link_metric),
                metric);
}

TransmitterLinkMetricTLV transmitter() {
  const auto other = filled(TransmitterLinkMetricInformation(), FIELD(interface_type), InterfaceType(7),
                            FIELD(bridge_flag), TransmitterLinkMetricBridgeFlags::INVALID, FIELD(phy_rate), 1);
  return fields(TransmitterLinkMetricTLV(A, C), FIELD(local_AL_MAC), A, FIELD(neighbor_AL_MAC), C,
                FIELD_OF(add_transmitter_link_metric, get_transmitter_link_metric_vector),
                std::vector{tx_metric(), metric<TransmitterLinkMetric>(C, A, other)});
}

ReceiverLinkMetricTLV receiver() {
  const auto other =
      filled(ReceiverLinkMetricInformation(), FIELD(interface_type), InterfaceType(7), FIELD(interface_mode), 255);
  return fields(ReceiverLinkMetricTLV(A, D), FIELD(local_AL_MAC), A, FIELD(neighbor_AL_MAC), D,
                FIELD_OF(add_receiver_link_metric, get_receiver_link_metric_vector),
                std::vector{metric<ReceiverLinkMetric>(D, A, other), rx_metric()});
}

DeviceIdentificationTypeTLV identification() {
  using T = DeviceIdentificationTypeTLV;
  T::Name full;
  full.fill('m');
  return fields(T(), FIELD(friendly_name), T::Name{'H', 'a', 'l', 'l', '\0', 'x'}, FIELD(manufacturer_name), full,
                FIELD(manufacturer_model), T::Name{'7', 0xB0});
}

string repeated(const char* octet, int count) { return count == 0 ? "" : octet + repeated(octet, count - 1); }

TEST(TLVs, Golden) {
  constexpr auto NONE = LinkMetricResultCode::INVALID_NEIGHBOR;
  constexpr auto AT_60_GHZ = FrequencyBand::IEEE802_11_60_GHZ;
  // The type octet is not checked; nor is the length, unless the TLV's list depends on it.
  check_rows({
      G(EndOfMessageTLV(), "00 0000", "type: END_OF_MESSAGE", {0}),
      G(fields(MACAddressTLVCommon<TLVType::AL_MAC_ADDRESS>(A), FIELD(MAC), A), "01 0006 021A2B3C4D5E",
        "type: AL_MAC_ADDRESS mac: 02:1A:2B:3C:4D:5E"),
      G(MACAddressTLVCommon<TLVType::MAC_ADDRESS>(B), "02 0006 06F1E2D3C4B5",
        "type: MAC_ADDRESS mac: 06:F1:E2:D3:C4:B5"),
      G(MACAddressTLVCommon<TLVType::AP_RADIO_IDENTIFIER>(C), "82 0006 0A0918273645",
        "type: AP_RADIO_IDENTIFIER mac: 0A:09:18:27:36:45"),
      G(MACAddressTLVCommon<TLVType::STA_MAC_ADDRESS>(D), "95 0006 0E7D6C5B4A39",
        "type: STA_MAC_ADDRESS mac: 0E:7D:6C:5B:4A:39"),
      G(device_information(),
        "03 003C 021A2B3C4D5E 04 # type, length, AL MAC, interfaces\n"
        "06F1E2D3C4B5 00 00 00 # MAC, Ethernet, mode, no media-specific information\n" +
            WLAN_INTERFACE + "0E7D6C5B4A39 02 01 " + PLC_OCTETS + "0A0918273645 07 FF 00",
        "type: DEVICE_INFORMATION AL MAC: 02:1A:2B:3C:4D:5E\n"
        "\tInterfaceInformation: mac: 06:F1:E2:D3:C4:B5 type: ETHERNET mode: FAST_ETHERNET media-specific: " +
            NO_TEXT + "\n" + WLAN_INTERFACE_TEXT +
            "\n\tInterfaceInformation: mac: 0E:7D:6C:5B:4A:39 type: PLC mode: FFT media-specific: " + PLC_TEXT +
            "\n\tInterfaceInformation: mac: 0A:09:18:27:36:45 type: 7 mode: dummy (INVALID) media-specific: " + NO_TEXT,
        {0, 1, 2, 18, 27, 46, 62}, {16}),
      G(fields(DeviceBridgingCapabilityTLV(), FIELD_OF(add_bridging_tuple, get_bridging_tuple_vector),
               std::vector{tuple({A, C}), {}, tuple({B})}),
        "04 0016 03 # type, length, tuples\n 02 021A2B3C4D5E 0A0918273645\n 00\n 01 06F1E2D3C4B5",
        "type: DEVICE_BRIDGING_CAPABILITY\n\t{02:1A:2B:3C:4D:5E 0A:09:18:27:36:45}\n\t{}\n\t{06:F1:E2:D3:C4:B5}"),
      G(fields(NonIEEE1905NeighborDeviceListTLV(B), FIELD(local_MAC), B,
               FIELD_OF(add_mac_address, get_MAC_address_vector), std::vector{D, C}),
        "06 0012 06F1E2D3C4B5 0E7D6C5B4A39 0A0918273645",
        "type: NON_IEEE1905_NEIGHBOR_DEVICE_LIST LOCAL MAC: "
        "06:F1:E2:D3:C4:B5\t{0E:7D:6C:5B:4A:39}\t{0A:09:18:27:36:45}",
        {0}),
      G(NonIEEE1905NeighborDeviceListTLV(A), "06 0006 021A2B3C4D5E",
        "type: NON_IEEE1905_NEIGHBOR_DEVICE_LIST LOCAL MAC: 02:1A:2B:3C:4D:5E", {0}),
      G(fields(
            IEEE1905NeighborDeviceTLV(B), FIELD(local_MAC), B,
            FIELD_OF(add_AL_MAC_neighbor, get_AL_MAC_neighbor_vector),
            std::vector<ALMAC19051Neighbor>{{A, BRIDGE}, {D, IEEE802_1_Bridge(0x81)}, {C, IEEE802_1_Bridge::INVALID}}),
        "07 001B 06F1E2D3C4B5 021A2B3C4D5E 80 0E7D6C5B4A39 81 0A0918273645 FF",
        "type: IEEE1905_NEIGHBOR_DEVICE LOCAL MAC: 06:F1:E2:D3:C4:B5"
        "\tAL_MAC: 02:1A:2B:3C:4D:5E IEEE802_1_bridge: IEEE802_1_BRIDGE"
        "\tAL_MAC: 0E:7D:6C:5B:4A:39 IEEE802_1_bridge: NO_IEEE802_1_BRIDGE"
        "\tAL_MAC: 0A:09:18:27:36:45 IEEE802_1_bridge: INVALID",
        {0}),
      G(query(LinkMetricQueryNeighbors::SPECIFIC_NEIGHBOR, LinkMetricQuery::TX_RX_LINK_METRY),
        "08 0008 01 0A0918273645 02",
        "type: LINK_METRIC_QUERY neighbors: SPECIFIC_NEIGHBOR MAC address: 0A:09:18:27:36:45 metric requested: "
        "TX_RX_LINK_METRY"),
      G(query(LinkMetricQueryNeighbors::ALL_NEIGHBORS, LinkMetricQuery(7)), "08 0008 00 0A0918273645 07",
        "type: LINK_METRIC_QUERY neighbors: ALL_NEIGHBORS metric requested: 7"),
      G(LinkMetricQueryTLV(), "08 0008 FF 000000000000 FF",
        "type: LINK_METRIC_QUERY neighbors: INVALID metric requested: INVALID"),
      G(transmitter(),
        "09 0046 021A2B3C4D5E 0A0918273645" + TX_METRIC_OCTETS +
            "0A0918273645 021A2B3C4D5E 07 00 FF 00000000 00000000 0000 0000 0001",
        "type: TRANSMITTER_LINK_METRIC local AL_MAC: 02:1A:2B:3C:4D:5E neighbor AL_MAC: 0A:09:18:27:36:45\n\t" +
            TX_METRIC_TEXT +
            "\n\tTransmitterLinkMetric receiving_al_mac: 0A:09:18:27:36:45 neighbor_al_mac: 02:1A:2B:3C:4D:5E {TX "
            "LinkMetricInformation intfType: 7 0 IEEE802.1BridgeFlag: INVALID packetErrors: 0 transmittedPackets: 0 "
            "macThroughputCapacity: 0 linkAvailability: 0 phyRate: 1}",
        {0}),
      G(TransmitterLinkMetricTLV(B), "09 000C 06F1E2D3C4B5 000000000000",
        "type: TRANSMITTER_LINK_METRIC local AL_MAC: 06:F1:E2:D3:C4:B5 neighbor AL_MAC: 00:00:00:00:00:00", {0}),
      G(receiver(),
        "0A 003A 021A2B3C4D5E 0E7D6C5B4A39 0E7D6C5B4A39 021A2B3C4D5E 07 FF 00000000 00000000 00" + RX_METRIC_OCTETS,
        "type: RECEIVER_LINK_METRIC local AL_MAC: 02:1A:2B:3C:4D:5E neighbor AL_MAC: 0E:7D:6C:5B:4A:39"
        "\n\tReceiverLinkMetric receiving_al_mac: 0E:7D:6C:5B:4A:39 neighbor_al_mac: 02:1A:2B:3C:4D:5E {RX "
        "LinkMetricInformation intfType: 7 dummy (INVALID) packetErrors: 0 packetsReceived: 0 rcpi: 0}\n\t" +
            RX_METRIC_TEXT,
        {0}),
      G(ReceiverLinkMetricTLV(B), "0A 000C 06F1E2D3C4B5 000000000000",
        "type: RECEIVER_LINK_METRIC local AL_MAC: 06:F1:E2:D3:C4:B5 neighbor AL_MAC: 00:00:00:00:00:00", {0}),
      G(fields(LinkMetricResultCodeTLV(NONE), FIELD(result_code), NONE), "0C 0001 00",
        "type: LINK_METRIC_RESULT_CODE result_code: INVALID_NEIGHBOR"),
      G(LinkMetricResultCodeTLV(), "0C 0001 FF", "type: LINK_METRIC_RESULT_CODE result_code: INVALID"),
      G(SearchedRoleTLV(RoleType::REGISTRAR), "0D 0001 00", "type: SEARCHED_ROLE role: REGISTRAR"),
      G(fields(AutoconfigFrequencyBandTLV(AT_60_GHZ), FIELD(frequency_band), AT_60_GHZ), "0E 0001 02",
        "type: AUTOCONFIG_FREQUENCY_BAND frequency: IEEE802_11_60_GHZ"),
      G(fields(SupportedRoleTLV(RoleType(9)), FIELD(role), RoleType(9)), "0F 0001 09", "type: SUPPORTED_ROLE role: 9"),
      G(SupportedFrequencyBandTLV(FrequencyBand::IEEE802_11_5_GHZ), "10 0001 01",
        "type: SUPPORTED_FREQUENCY_BAND frequency: IEEE802_11_5_GHZ"),
      G(identification(),
        "15 00C0 48616C6C 00 78" + repeated("00", 58) + repeated("6D", 64) + "37 B0" + repeated("00", 62),
        "type: DEVICE_IDENTIFICATION_TYPE\n\t Friendly Name: Hall\n\t Manufacturer Name: " + string(64, 'm') +
            "\n\t Manufacturer Model: 7\xB0"),
  });
}

TEST(TLVs, OfDifferentTypesAreUnequalEvenWithEqualFields) {
  test::expect_unequal<TLV>(MACAddressTLVCommon<TLVType::AL_MAC_ADDRESS>(A),
                            MACAddressTLVCommon<TLVType::MAC_ADDRESS>(A));
  test::expect_unequal<TLV>(SearchedRoleTLV(RoleType::REGISTRAR), SupportedRoleTLV(RoleType::REGISTRAR));
}

}  // namespace
}  // namespace qel::ieee1905_1
