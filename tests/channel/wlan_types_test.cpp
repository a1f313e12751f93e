#include "qel/channel/wlan_types.h"

#include <limits>

#include "qel/channel/type_with_ratio.h"
#include "tests/support/enum_texts.h"

namespace qel {
namespace {

/// Its texts, and that the values below the sentinel are valid, also without a name.
template <class E>
void check(unsigned int sentinel, const std::string& table, const std::string& unknown) {
  test::check_enum_texts<E>(table, unknown);
  for (unsigned int value = 0; value < 256; ++value) {
    EXPECT_EQ(is_valid(static_cast<E>(value)), value < sentinel) << value;
  }
}

TEST(WLANTypes, HaveTheirTextsAndAreValidBelowTheSentinel) {
  check<FrequencyBand>(3, "0 2.4~GHz 1 5~GHz 2 6~GHz 3 INVALID~BAND~MAX", "INVALID BAND");
  check<ChannelWidth>(5, "0 20~MHz 1 40~MHz 2 80~MHz 3 160~MHz 4 80+80~MHz 5 INVALID", "INVALID CHANNEL WIDTH #");
  check<WLANPhymode>(6, "0 a 1 b 2 g 3 n 4 ac 5 ax 6 INVALID~MAX", "INVALID WLAN PHYMODE #");
  check<PHYType>(
      15, "2 DSSS 4 OFDM 5 HRDSSS 6 ERP 7 HT 8 DMG 9 VHT 10 TVHT 11 S1G 12 CDMG 13 CMMG 14 HE 15 INVALID_PHYTYPE_MAX",
      "INVALID_PHYTYPE");
  check<WLANOpmode>(12,
                    "0 AP 1 AP_GUEST 2 ATACLIENT 3 WDS_REPEATER 5 REPEATER 6 HS_2.0 7 AP_OWE 8 AP_GUEST_OWE "
                    "9 HS_2.0_OWE 10 STATION 11 AP_UNSPECIFIED 12 INVALID",
                    "INVALID WLAN OPMODE #");
  check<WLANSecurity>(12,
                      "0 UNDEFINED 1 NONE 2 WEP_OPEN 3 WEP_SHARED 4 WPAPSK 5 WPA2PSK 6 WPA_WPA2_MIXED 7 WPAENT "
                      "8 WPA2ENT 9 WPA3PSK 10 WPA2_WPA3_MIXED 11 OWE 12 INVALID",
                      "INVALID WLAN SECURITY MODE");
  check<WLANIfaceState>(14,
                        "0 UNCONFIGURED 1 CONFIGURING 2 INACTIVE 3 INITIATING 4 SCANNING 5 DFS_WAIT 6 ACS_ACTIVE "
                        "7 WAIT_FOR_UPLINK 8 UPLINK_ESTABLISHED 9 WPS_ACTIVE 10 ON_AIR 11 DEACTIVATED 12 SUPPRESSED "
                        "13 CONFIGURED_FINAL 14 INVALID",
                        "INVALID WLAN INTERFACE STATE");
}

TEST(WLANTypes, HaveTheTextsOfTheirBits) {
  test::check_enum_texts<WLANCapability>(
      "0 WPA_PSK 1 WPA_ENT 2 WPA2_PSK 3 WPA2_ENT 4 WPS 5 WME 6 ATH 7 PRIVACY 8 STBC 9 LDPC 10 WME_PS 11 TXBF 12 PMF "
      "13 AMSDU 14 AMPDU 15 UAPSD 16 MU-MIMO 17 BAND_2GHz 18 BAND_5GHz 19 RRM 20 FBT 21 BTM 22 N_2G_256QAM 23 WPA3_PSK "
      "24 OWE 25 OWE_TRANSITION 26 NAC_1024QAM 27 BAND_6GHz 29 MINI 30 QEL_WDS 31 QEL",
      "INVALID");
  test::check_enum_texts<ChannelStateBit>(
      "0 DFS_CLEAR 1 RADAR_FOUND 2 CAC_RUNNING 3 PRECAC_TODO 4 INTERFERENCE_FOUND 5 INVALID_MAX",
      "INVALID CHANNEL STATE");
  test::check_enum_texts<ChannelCapabilityBit>(
      "0 HT20 1 HT40 2 HT80 3 HT160 4 DFS 5 DFS_WEATHER 6 HT8080 7 PRIMARY_LOWER_BEHAVIOR 8 PRIMARY_UPPER_BEHAVIOR "
      "9 INVALID_MAX",
      "INVALID CHANNEL CAPABILITY");
  test::check_enum_texts<ChannelConfigBit>("0 REMOTE_DISTURBER 1 PERFORMANCE_OPTIMIZATION 2 INVALID_MAX",
                                           "INVALID CHANNEL PROPERTY");
}

TEST(Units, ConvertOnRequestAndStopAtTheirBorders) {
  constexpr long MOST = std::numeric_limits<long>::max();
  constexpr long LEAST = std::numeric_limits<long>::min();
  EXPECT_EQ(unit_cast<kHz>(MHz(-25)), kHz(-25000));
  EXPECT_EQ(unit_cast<MHz>(kHz(5180999)), MHz(5180));
  EXPECT_EQ(unit_cast<MHz>(kHz(-1999)), MHz(-1));
  EXPECT_EQ(unit_cast<kHz>(MHz(MOST / 2)), kHz(MOST));
  EXPECT_EQ(unit_cast<kHz>(MHz(LEAST)), kHz(LEAST));
  EXPECT_EQ(kHz(7) + kHz(-30), kHz(-23));
  EXPECT_EQ(kHz(7) - kHz(-30), kHz(37));
  EXPECT_EQ(kHz(MOST) + kHz(1), kHz(MOST));
  EXPECT_EQ(kHz(LEAST) + kHz(-1), kHz(LEAST));
  EXPECT_EQ(kHz(1) - kHz(LEAST), kHz(MOST));
  EXPECT_EQ(kHz(-2) - kHz(MOST), kHz(LEAST));

  std::ostringstream os;
  os << std::hex << std::showpos << kHz(2412000) << ", " << MHz(-20);
  EXPECT_EQ(os.str(), "2412000 kHz, -20 MHz");
}

}  // namespace
}  // namespace qel
