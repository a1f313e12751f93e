#include "qel/core/text.h"
#include "tests/ieee1905_1/tlv_test.h"

namespace qel::ieee1905_1 {
namespace {

using G = test::Golden<TLV>;
using HT = APHTCapabilitiesTLV;
using VHT = APVHTCapabilitiesTLV;
using HE = APHECapabilitiesTLV;

OperatingClassInformation operating_class(std::uint8_t number, int power,
                                          std::initializer_list<std::uint8_t> channels) {
  OperatingClassInformation information(number, static_cast<std::uint8_t>(power));
  std::ranges::for_each(channels, [&](std::uint8_t channel) { information.add_non_operable_channel(channel); });
  return information;
}

const auto AP_VHT =
    filled(VHT(A), FIELD(vht_tx_mcs), 0xFFC6U, FIELD(vht_rx_mcs), 0x0A5BU, FIELD(number_tx_spatial_streams), 3,
           FIELD(number_rx_spatial_streams), 2, FIELD(short_gi_80_mhz_supported), true, FIELD(vht_80_80_supported),
           true, FIELD(su_beamformer_capable), true);

const auto AP_HE =
    filled(HE(A), FIELD(he_tx_mcs_80), 0xFFF2U, FIELD(he_rx_mcs_80), 0x0ABCU, FIELD(he_tx_mcs_160), 0x3C4DU,
           FIELD(he_rx_mcs_160), 0x1A2BU, FIELD(he_tx_mcs_8080), 0x7081U, FIELD(he_rx_mcs_8080), 0x5E6FU,
           FIELD(number_tx_spatial_streams), 5, FIELD(number_rx_spatial_streams), 2, FIELD(he_160_mhz_support), true,
           FIELD(he_80_80_mhz_support), true, FIELD(su_beamformer_capable), true, FIELD(ul_mumimo_capable), true,
           FIELD(ul_ofdma_capable), true);

TEST(APCapabilityTLVs, Golden) {
  using Class = OperatingClassInformation;
  using Backhaul = BackhaulSTARadioCapabilitiesTLV;
  const Class information = fields(Class(128, 0xFF), FIELD(operating_class), 128, FIELD(transmit_power), -1,
                                   LIST_FIELD(non_operable_channel), octets("2A3A6A"));
  const APRadioBasicCapabilitiesTLV basic =
      fields(APRadioBasicCapabilitiesTLV(A, 8), FIELD(radio_identifier), A, FIELD(max_bss_supported), 8,
             LIST_FIELD(operation_class_information), std::vector{operating_class(115, 20, {}), information});
  // HaveEachFlagInItsBit and KeepStreamCountsLessOne set these flags; here the text shows what was read.
  check_rows({
      G(decoded<APCapabilityTLV>("A1 0001 A0"), "A1 0001 A0",
        "type: AP_CAPABILITY\n\tLinkMetricSupportOperatedChannel:true\n\tLinkMetricSupportUnOperatedChannel:false"
        "\n\tAgendInitiatedRCPIBasedSteering:true"),
      G(basic, "85 0011 021A2B3C4D5E 08 02 # radio, BSSs, operating classes\n 73 14 00\n 80 FF 03 2A3A6A",
        "type: AP_RADIO_BASIC_CAPABILITIES RadioIdentifier: 02:1A:2B:3C:4D:5E Max BSS suported: 8"
        "\n\tOperating Class: 115 Max tranmis power: 20 Non_Operable Channels: [ ]"
        "\n\tOperating Class: 128 Max tranmis power: -1 Non_Operable Channels: [ 42 58 106 ]"),
      G(fields(decoded<HT>("86 0007 021A2B3C4D5E 9A"), FIELD(radio_identifier), A), "86 0007 021A2B3C4D5E 9A",
        "type: AP_HT_CAPABILITIES Radio Unique Identifier: 02:1A:2B:3C:4D:5E TX spatial streams:3 RX spatial streams:2"
        "\n\tShortGI20MhzSupport:true ShortGI40MhzSupport:false HT40MhzSupport:true"),
      G(fields(AP_VHT, FIELD(radio_identifier), A),
        "87 000C 021A2B3C4D5E C6FF 5B0A A046 # radio, TX map, RX map, flags",
        "type: AP_VHT_CAPABILITIES RadioIdentifier:02:1A:2B:3C:4D:5E VHT_TX_MCS:0xffc6 VHT_RX_MCS:0xa5b"
        " TX spatial streams:3 RX spatial streams:2\n\tShortGI80MhzSupport:true ShortGI160&80+80MhzSupport:false"
        " VHT80+80MhzSupport:true VHT160MhzSupport:false SUBeamforming:true MUBeamforming:false"),
      G(fields(AP_HE, FIELD(radio_identifier), A),
        "88 0015 021A2B3C4D5E 0C BC0A F2FF 2B1A 4D3C 6F5E 8170 A487 # radio, length, RX and TX maps, flags",
        "type: AP_HE_CAPABILITIES RadioIdentifier:02:1A:2B:3C:4D:5E HE_TX_MCS_80:0xfff2 HE_RX_MCS_80:0xabc"
        " HE_TX_MCS_160:0x3c4d HE_RX_MCS_160:0x1a2b HE_TX_MCS_8080:0x7081 HE_RX_MCS_8080:0x5e6f"
        " TXSpatialStreams:5 RXSpatialStreams:2\n\tHE80+80:true HE160:true SUBeamforming:true MUBeamforming:false"
        " UL_MU-MIMO:true\n\tUL_MUMIMO_OFDMA:false DL_MUMIMO_OFDMA:false UL_OFDMA:true DL_OFDMA:false"),
      // Reserved bits of the flags are not compared here.
      G(Backhaul(A), "CB 0007 021A2B3C4D5E 00",
        "type: BACKHAUL_STA_RADIO_CAPABILITIES Reported Radio MAC: 02:1A:2B:3C:4D:5E", {0, 1, 2}, {9}),
      G(fields(Backhaul(A, B), FIELD(reported_radio_mac), A, FIELD(backhaul_sta_mac), B),
        "CB 000D 021A2B3C4D5E 80 06F1E2D3C4B5",
        "type: BACKHAUL_STA_RADIO_CAPABILITIES Reported Radio MAC: 02:1A:2B:3C:4D:5E, Backhaul STA MAC: "
        "06:F1:E2:D3:C4:B5",
        {0, 1, 2}, {9}),
  });
}

/// Sets each flag alone, from bit `top` of the last octets downwards; the text lists them in the same order.
template <class T>
void check_flags(int top,
                 const std::vector<std::pair<std::function<void(T&, bool)>, std::function<bool(const T&)>>>& flags) {
  for (std::size_t i = 0; i < flags.size(); ++i) {
    SCOPED_TRACE(top - static_cast<int>(i));
    T tlv;
    flags[i].first(tlv, true);
    const test::Octets wire = octets(test::encode<TLV>(tlv).octets);
    const int word = top < 8 ? wire.back() : wire.back() << 8 | wire[wire.size() - 2];
    EXPECT_EQ(word, 1 << (top - static_cast<int>(i)));
    string text = qel::to_string(tlv);
    for (std::size_t k = 0; k < flags.size(); ++k) {
      EXPECT_EQ(flags[k].second(tlv), k == i);
      text.erase(0, std::min(text.find(":true"), text.find(":false")));
      EXPECT_EQ(text.substr(0, 5) == ":true", k == i);
      text.erase(0, 1);
    }
    flags[i].first(tlv, false);
    EXPECT_TRUE(tlv == T());
  }
}

TEST(APCapabilityTLVs, HaveEachFlagInItsBit) {
  check_flags<APCapabilityTLV>(
      7, {FIELD(link_metrics_support_operated_channel), FIELD(link_metrics_support_unoperated_channel),
          FIELD(agent_initiated_rcpi_based_steering)});
  check_flags<HT>(3, {FIELD(short_GI_20_mhz), FIELD(short_GI_40_mhz), FIELD(HT_40_mhz)});
  check_flags<VHT>(
      9, {FIELD(short_gi_80_mhz_supported), FIELD(short_gi_160_80_80_mhz_supported), FIELD(vht_80_80_supported),
          FIELD(vht_160_supported), FIELD(su_beamformer_capable), FIELD(mu_beamformer_capable)});
  check_flags<HE>(9, {FIELD(he_80_80_mhz_support), FIELD(he_160_mhz_support), FIELD(su_beamformer_capable),
                      FIELD(mu_beamformer_capable), FIELD(ul_mumimo_capable), FIELD(ul_mumimo_ofdma_capable),
                      FIELD(dl_mumimo_ofdma_capable), FIELD(ul_ofdma_capable), FIELD(dl_ofdma_capable)});
}

/// Checks counts from 1 to `max`; 0 and larger counts wrap, and neither count affects the other.
template <class T>
void check_stream_counts(int max) {
  T tlv;
  for (const auto& [set, got] : {std::pair(0, max), {1, 1}, {2, 2}, {max, max}, {max + 1, 1}}) {
    tlv.set_number_tx_spatial_streams(static_cast<std::uint8_t>(set));
    tlv.set_number_rx_spatial_streams(static_cast<std::uint8_t>(set + 1));
    EXPECT_EQ(tlv.get_number_tx_spatial_streams(), got);
    EXPECT_EQ(tlv.get_number_rx_spatial_streams(), got % max + 1);
  }
}

TEST(APCapabilityTLVs, KeepStreamCountsLessOne) {
  check_stream_counts<HT>(4);
  check_stream_counts<VHT>(8);
  check_stream_counts<HE>(8);
}

/// Sets each number of streams of one map alone and checks that only its two bits change.
template <class T, class MCSBit>
void check_map(void (T::*set)(unsigned int, MCSBit), std::uint8_t (T::*get)(unsigned int) const,
               const MCSMap& (T::*whole)() const) {
  for (unsigned int nss = 1; nss <= 8; ++nss) {
    T tlv;
    EXPECT_EQ((tlv.*get)(nss), 3);
    (tlv.*set)(nss, MCSBit(1));
    EXPECT_EQ((tlv.*get)(nss), 1);
    EXPECT_EQ((tlv.*whole)().to_ulong(), 0xFFFFU - (2U << 2 * (nss - 1)));
    (tlv.*set)(nss, MCSBit(3));
    EXPECT_TRUE(tlv == T());
  }
  T tlv;
  for (const unsigned int nss : {0U, 9U}) {
    EXPECT_EQ((tlv.*get)(nss), 4);
    (tlv.*set)(nss, MCSBit(0));
  }
  (tlv.*set)(1, MCSBit(4));
  EXPECT_TRUE(tlv == T());
}

TEST(APCapabilityTLVs, HaveTwoBitsForEachStream) {
  check_map(&VHT::set_vht_tx_mcs_spatial_stream, &VHT::get_vht_tx_mcs_spatial_stream, &VHT::get_vht_tx_mcs);
  check_map(&VHT::set_vht_rx_mcs_spatial_stream, &VHT::get_vht_rx_mcs_spatial_stream, &VHT::get_vht_rx_mcs);
  check_map(&HE::set_he_tx_mcs_spatial_stream_80, &HE::get_he_tx_mcs_spatial_stream_80, &HE::get_he_tx_mcs_80);
  check_map(&HE::set_he_rx_mcs_spatial_stream_80, &HE::get_he_rx_mcs_spatial_stream_80, &HE::get_he_rx_mcs_80);
  check_map(&HE::set_he_tx_mcs_spatial_stream_160, &HE::get_he_tx_mcs_spatial_stream_160, &HE::get_he_tx_mcs_160);
  check_map(&HE::set_he_rx_mcs_spatial_stream_160, &HE::get_he_rx_mcs_spatial_stream_160, &HE::get_he_rx_mcs_160);
  check_map(&HE::set_he_tx_mcs_spatial_stream_8080, &HE::get_he_tx_mcs_spatial_stream_8080, &HE::get_he_tx_mcs_8080);
  check_map(&HE::set_he_rx_mcs_spatial_stream_8080, &HE::get_he_rx_mcs_spatial_stream_8080, &HE::get_he_rx_mcs_8080);
}

TEST(APHECapabilitiesTLV, DecodesAsManyMapsAsTheLengthSaysAndEncodesAsManyAsTheFlagsSay) {
  const string RADIO = "88 0015 021A2B3C4D5E";
  const char* const INCONSISTENT = "HE Capabilities with inconsistent MCS set";
  const char* const INVALID = "Invalid MCS set size";
  for (const auto& [set_and_flags, refused, again] :
       {std::tuple("04 FAFF FCFF FEFC", "", "88000D021A2B3C4D5E04FAFFFCFFFEFC"),
        // A flag without its maps, which stay as in a new object.
        {"04 FAFF FCFF 0003", "", "880015021A2B3C4D5E0CFAFFFCFFFFFFFFFFFFFFFFFF0003"},
        {"08 FAFF FCFF F0FF C0FF 0003", "", "880015021A2B3C4D5E0CFAFFFCFFF0FFC0FFFFFFFFFF0003"},
        {"08 FAFF FCFF F0FF C0FF 0001", "", "880011021A2B3C4D5E08FAFFFCFFF0FFC0FF0001"},
        {"08 FAFF FCFF F0FF C0FF 00FE", INCONSISTENT, ""},
        {"0C FAFF FCFF F0FF C0FF 00FF 00FC 0001", INCONSISTENT, ""},
        {"0C FAFF FCFF F0FF C0FF 00FF 00FC 0002", INCONSISTENT, ""},
        {"00", INVALID, ""},
        {"10", INVALID, ""}}) {
    SCOPED_TRACE(set_and_flags);
    const test::Octets wire = octets(RADIO + set_and_flags);
    const auto [outcome, tlv] = test::decode<HE>(wire);
    EXPECT_EQ(outcome, (test::ReadOutcome{refused, std::ios_base::goodbit, wire.size()}));
    EXPECT_EQ(outcome.refused.empty() ? test::encode<TLV>(*tlv).octets : "", again);
  }
}

TEST(APHECapabilitiesTLV, KeepsAndComparesTheMapsThatAreNotDecoded) {
  HE tlv = AP_HE;
  EXPECT_EQ(decode_into(tlv, "88 000D 021A2B3C4D5E 04 BC0A F2FF A487"), "");
  EXPECT_TRUE(tlv == AP_HE);

  // With 80+80 but without 160 MHz, encoding gives what decoding refuses, as above.
  tlv.set_he_160_mhz_support(false);
  EXPECT_EQ(test::encode<TLV>(tlv).octets, "880011021A2B3C4D5E08BC0AF2FF6F5E8170A486");
  tlv.set_he_80_80_mhz_support(false);
  HE other = tlv;
  other.set_he_tx_mcs_8080(0x7080);
  test::expect_unequal<TLV>(tlv, other);
}

TEST(BackhaulSTARadioCapabilitiesTLV, KeepsReservedBitsButDoesNotCompareThem) {
  const string reserved = "CB0007021A2B3C4D5E7F";
  auto read = decoded<BackhaulSTARadioCapabilitiesTLV>(reserved);
  BackhaulSTARadioCapabilitiesTLV tlv(A);
  EXPECT_TRUE(read == tlv && !tlv.get_is_mac_included());
  EXPECT_EQ(test::encode<TLV>(read).octets, reserved);

  tlv.set_backhaul_sta_mac(read.get_backhaul_sta_mac());
  test::expect_unequal<TLV>(read, tlv);
  read.set_backhaul_sta_mac(B);
  EXPECT_EQ(test::encode<TLV>(read).octets, "CB000D021A2B3C4D5EFF06F1E2D3C4B5");
  EXPECT_TRUE(read == BackhaulSTARadioCapabilitiesTLV(A, B) && read.get_is_mac_included());
}

TEST(OperatingClassInformation, IsOrderedByClassPowerAndChannels) {
  const OperatingClassInformation in[] = {operating_class(81, -2, {9}), operating_class(81, -1, {}),
                                          operating_class(81, 1, {3}),  operating_class(81, 1, {3, 1}),
                                          operating_class(81, 1, {4}),  operating_class(82, -128, {})};
  test::expect_ascending<OperatingClassInformation>({&in[0], &in[1], &in[2], &in[3], &in[4], &in[5]});
}

}  // namespace
}  // namespace qel::ieee1905_1
