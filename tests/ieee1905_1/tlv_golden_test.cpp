#include "tests/ieee1905_1/tlv_test.h"

namespace qel::ieee1905_1 {
namespace {

using G = test::Golden<TLV>;

// Media-specific information as object, octets and text; a TLV below is composed of them.

const string WLAN_OCTETS = "0A 0E7D6C5B4A39 40 02 9B 2A # length, BSSID, role, band, centre frequencies\n";
const string WLAN_TEXT = "WLAN bssid: 0E:7D:6C:5B:4A:39 role STA band 2 ctrFreqIdx1 155 ctrFreqIdx2 42";

PLCSpecificInformation plc_information() {
  return fields(PLCSpecificInformation(), FIELD(network_id),
                plc::NID(plc::NID::Octets{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD}));
}
const string PLC_OCTETS = "07 0123456789ABCD # length, network identifier\n";
const string PLC_TEXT = "PLC networkID: 01:23:45:67:89:ab:cd";

const string NO_TEXT = "<no media-specific information>";

template <class Metric, class Information>
Metric metric(const MACAddress& receiving, const MACAddress& neighbor, const Information& information) {
  return fields(Metric(), FIELD(receiving_interface_MAC), receiving, FIELD(neighbor_interface_MAC), neighbor,
                FIELD(link_metric_information), information);
}

constexpr auto BRIDGE = IEEE802_1_Bridge::IEEE802_1_BRIDGE;

TEST(Records, Golden) {
  const std::vector<std::size_t> length_of_block = {0};
  test::check_golden_of(NoMediaSpecificInformation(), "00 # length", NO_TEXT, length_of_block);
  test::check_golden_of(wlan_information(D), WLAN_OCTETS, WLAN_TEXT, length_of_block);
  test::check_golden_of(plc_information(), PLC_OCTETS, PLC_TEXT, length_of_block);
}

TEST(Records, MediaSpecificInformationIsOrderedByTypeFirst) {
  const auto wlan = wlan_information(D);
  const PLCSpecificInformation plc;  // zero, so that only the type can order it after the others
  const NoMediaSpecificInformation none;
  test::expect_ascending<MediaSpecificInformation>({&wlan, &plc, &none});
  EXPECT_FALSE(plc == none || none == wlan || wlan == plc);
}

DeviceBridgingTuple tuple(const std::vector<MACAddress>& addresses) {
  return fields(DeviceBridgingTuple(), LIST_FIELD(mac_address), addresses);
}

LinkMetricQueryTLV query(LinkMetricQueryNeighbors neighbors, LinkMetricQuery metric) {
  return fields(LinkMetricQueryTLV(C), FIELD(AL_MAC_neighbor), C, FIELD(query_neighbor), neighbors, FIELD(link_metric),
                metric);
}

string repeated(const char* octet, int count) { return count == 0 ? "" : octet + repeated(octet, count - 1); }

TEST(TLVs, Golden) {
  constexpr auto NONE = LinkMetricResultCode::INVALID_NEIGHBOR;
  constexpr auto AT_60_GHZ = FrequencyBand::IEEE802_11_60_GHZ;
  const auto wlan =
      fields(InterfaceInformation(C, InterfaceType::WLAN, 5, wlan_information(D)), FIELD(mac), C, FIELD(interface_type),
             InterfaceType::WLAN, FIELD(interface_mode), 5, FIELD(media_specific_information), wlan_information(D));
  const std::vector interfaces = {InterfaceInformation(B, InterfaceType::ETHERNET, 0), wlan,
                                  InterfaceInformation(D, InterfaceType::PLC, 1, plc_information())};
  const auto tx =
      fields(TransmitterLinkMetricInformation(), FIELD(interface_type), InterfaceType::WLAN, FIELD(interface_mode), 4,
             FIELD(bridge_flag), TransmitterLinkMetricBridgeFlags::INCLUDED_IEEE802_1_BRIDGE,
             FIELD_OF(set_packet_errors, get_packet_erros), 16909060, FIELD(transmitted_packets), 168496141,
             FIELD(mac_throughput_capacity), 4386, FIELD(link_availability), 13124, FIELD(phy_rate), 21862);
  const auto rx = fields(ReceiverLinkMetricInformation(), FIELD(interface_type), InterfaceType::PLC,
                         FIELD(interface_mode), 1, FIELD_OF(set_packet_errors, get_packet_erros), 286397204,
                         FIELD(packets_received), 555885348, FIELD(RCPI), 200);
  using Identification = DeviceIdentificationTypeTLV;
  Identification::Name full;
  full.fill('m');
  // The type octet is not checked; nor is the length, unless the TLV's list depends on it.
  check_rows({
      G(EndOfMessageTLV(), "00 0000", "type: END_OF_MESSAGE", {0}),
      G(fields(MACAddressTLVCommon<TLVType::AL_MAC_ADDRESS>(A), FIELD(MAC), A), "01 0006 021A2B3C4D5E",
        "type: AL_MAC_ADDRESS mac: 02:1A:2B:3C:4D:5E"),
      G(fields(DeviceInformationTLV(A), FIELD(AL_MAC), A, LIST_FIELD(interface_information), interfaces),
        "03 0033 021A2B3C4D5E 03 # type, length, AL MAC, interfaces\n"
        "06F1E2D3C4B5 00 00 00 # MAC, Ethernet, mode, no media-specific information\n"
        "0A0918273645 01 05" +
            WLAN_OCTETS + "0E7D6C5B4A39 02 01 " + PLC_OCTETS,
        "type: DEVICE_INFORMATION AL MAC: 02:1A:2B:3C:4D:5E\n"
        "\tInterfaceInformation: mac: 06:F1:E2:D3:C4:B5 type: ETHERNET mode: FAST_ETHERNET media-specific: " +
            NO_TEXT +
            "\n\tInterfaceInformation: mac: 0A:09:18:27:36:45 type: WLAN mode: AC_5_GHZ media-specific: " + WLAN_TEXT +
            "\n\tInterfaceInformation: mac: 0E:7D:6C:5B:4A:39 type: PLC mode: FFT media-specific: " + PLC_TEXT,
        {0, 1, 2, 18, 27, 46}, {16}),
      G(fields(DeviceBridgingCapabilityTLV(), LIST_FIELD(bridging_tuple), std::vector{tuple({A, C}), {}, tuple({B})}),
        "04 0016 03 # type, length, tuples\n 02 021A2B3C4D5E 0A0918273645\n 00\n 01 06F1E2D3C4B5",
        "type: DEVICE_BRIDGING_CAPABILITY\n\t{02:1A:2B:3C:4D:5E 0A:09:18:27:36:45}\n\t{}\n\t{06:F1:E2:D3:C4:B5}"),
      G(fields(NonIEEE1905NeighborDeviceListTLV(B), FIELD(local_MAC), B,
               FIELD_OF(add_mac_address, get_MAC_address_vector), std::vector{D, C}),
        "06 0012 06F1E2D3C4B5 0E7D6C5B4A39 0A0918273645",
        "type: NON_IEEE1905_NEIGHBOR_DEVICE_LIST LOCAL MAC: "
        "06:F1:E2:D3:C4:B5\t{0E:7D:6C:5B:4A:39}\t{0A:09:18:27:36:45}",
        {0}),
      G(fields(IEEE1905NeighborDeviceTLV(B), FIELD(local_MAC), B, LIST_FIELD(AL_MAC_neighbor),
               std::vector<ALMAC19051Neighbor>{
                   fields(ALMAC19051Neighbor(A, BRIDGE), FIELD(AL_MAC), A, FIELD(IEEE802_1_bridge), BRIDGE),
                   {D, IEEE802_1_Bridge(0x81)},
                   {C, IEEE802_1_Bridge::INVALID}}),
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
      G(fields(TransmitterLinkMetricTLV(A, C), FIELD(local_AL_MAC), A, FIELD(neighbor_AL_MAC), C,
               LIST_FIELD(transmitter_link_metric), std::vector{metric<TransmitterLinkMetric>(B, D, tx)}),
        "09 0029 021A2B3C4D5E 0A0918273645 # AL MACs\n 06F1E2D3C4B5 0E7D6C5B4A39 01 04 01 # MACs, type, mode, bridge\n"
        "01020304 0A0B0C0D 1122 3344 5566",
        "type: TRANSMITTER_LINK_METRIC local AL_MAC: 02:1A:2B:3C:4D:5E neighbor AL_MAC: 0A:09:18:27:36:45\n\t"
        "TransmitterLinkMetric receiving_al_mac: 06:F1:E2:D3:C4:B5 neighbor_al_mac: 0E:7D:6C:5B:4A:39 {TX "
        "LinkMetricInformation intfType: WLAN N_5_GHZ IEEE802.1BridgeFlag: INCLUDED_IEEE802_1_BRIDGE packetErrors: "
        "16909060 transmittedPackets: 168496141 macThroughputCapacity: 4386 linkAvailability: 13124 phyRate: 21862}",
        {0}),
      G(fields(ReceiverLinkMetricTLV(A, D), FIELD(local_AL_MAC), A, FIELD(neighbor_AL_MAC), D,
               LIST_FIELD(receiver_link_metric), std::vector{metric<ReceiverLinkMetric>(C, B, rx)}),
        "0A 0023 021A2B3C4D5E 0E7D6C5B4A39 # AL MACs\n 0A0918273645 06F1E2D3C4B5 02 01 # MACs, type, mode\n"
        "11121314 21222324 C8",
        "type: RECEIVER_LINK_METRIC local AL_MAC: 02:1A:2B:3C:4D:5E neighbor AL_MAC: 0E:7D:6C:5B:4A:39\n\t"
        "ReceiverLinkMetric receiving_al_mac: 0A:09:18:27:36:45 neighbor_al_mac: 06:F1:E2:D3:C4:B5 {RX "
        "LinkMetricInformation intfType: PLC FFT packetErrors: 286397204 packetsReceived: 555885348 rcpi: 200}",
        {0}),
      G(fields(LinkMetricResultCodeTLV(NONE), FIELD(result_code), NONE), "0C 0001 00",
        "type: LINK_METRIC_RESULT_CODE result_code: INVALID_NEIGHBOR"),
      G(SearchedRoleTLV(RoleType::REGISTRAR), "0D 0001 00", "type: SEARCHED_ROLE role: REGISTRAR"),
      G(fields(AutoconfigFrequencyBandTLV(AT_60_GHZ), FIELD(frequency_band), AT_60_GHZ), "0E 0001 02",
        "type: AUTOCONFIG_FREQUENCY_BAND frequency: IEEE802_11_60_GHZ"),
      G(fields(SupportedRoleTLV(RoleType(9)), FIELD(role), RoleType(9)), "0F 0001 09", "type: SUPPORTED_ROLE role: 9"),
      G(SupportedFrequencyBandTLV(FrequencyBand::IEEE802_11_5_GHZ), "10 0001 01",
        "type: SUPPORTED_FREQUENCY_BAND frequency: IEEE802_11_5_GHZ"),
      G(fields(Identification(), FIELD(friendly_name), Identification::Name{'H', 'a', 'l', 'l', '\0', 'x'},
               FIELD(manufacturer_name), full, FIELD(manufacturer_model), Identification::Name{'7', 0xB0}),
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
