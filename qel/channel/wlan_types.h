#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <type_traits>

#include "qel/core/export.h"

namespace qel {

/// The bands that this model covers; 60 GHz is not among them.
enum class FrequencyBand : std::uint8_t { BAND_2_4_GHZ = 0, BAND_5_GHZ = 1, BAND_6_GHZ = 2, INVALID_BAND_MAX = 3 };

/// The 5 GHz band is split into the parts that one radio usually covers. The values are in order of frequency.
enum class DetailedFrequencyBand : std::uint8_t {
  BAND_2_4_GHZ = 0,
  BAND_5_GHZ_LOWER = 1,  ///< 5180 to 5320 MHz
  BAND_5_GHZ_UPPER = 2,  ///< 5500 to 5885 MHz
  BAND_5_GHZ = 3,        ///< no frequency maps to it
  BAND_6_GHZ = 4,
  INVALID = 5
};

/// In ascending order of width, except for 80+80 MHz.
enum class ChannelWidth : std::uint8_t {
  WIDTH_20_MHZ = 0,
  WIDTH_40_MHZ = 1,
  WIDTH_80_MHZ = 2,
  WIDTH_160_MHZ = 3,
  WIDTH_80_80_MHZ = 4,
  INVALID = 5
};

/// A generation of IEEE 802.11; also the index of its bit in a set of supported modes, std::bitset<6>.
enum class WLANPhymode : std::uint8_t { A = 0, B = 1, G = 2, N = 3, AC = 4, AX = 5, INVALID_MAX = 6 };

/// dot11PHYType of IEEE 802.11-2020.
enum class PHYType : std::uint8_t {
  DSSS = 2,
  OFDM = 4,
  HRDSSS = 5,
  ERP = 6,
  HT = 7,
  DMG = 8,
  VHT = 9,
  TVHT = 10,
  S1G = 11,
  CDMG = 12,
  CMMG = 13,
  HE = 14,
  INVALID_PHYTYPE_MAX = 15
};

/// The purpose of a WLAN interface. 4 has no name.
enum class WLANOpmode : std::uint8_t {
  AP = 0,
  AP_GUEST = 1,
  ATACLIENT = 2,
  WDS_REPEATER = 3,
  REPEATER = 5,
  HS_2_0 = 6,
  AP_OWE = 7,
  AP_GUEST_OWE = 8,
  HS_2_0_OWE = 9,
  STATION = 10,
  AP_UNSPECIFIED = 11,
  INVALID = 12
};

/// The protection of a BSS as a single setting. ieee802_11/security_mapping.h maps RSN elements to it.
enum class WLANSecurity : std::uint8_t {
  UNDEFINED = 0,
  NONE = 1,
  WEP_OPEN = 2,
  WEP_SHARED = 3,
  WPAPSK = 4,
  WPA2PSK = 5,
  WPA_WPA2_MIXED = 6,
  WPAENT = 7,
  WPA2ENT = 8,
  WPA3PSK = 9,
  WPA2_WPA3_MIXED = 10,
  OWE = 11,
  INVALID = 12
};

/// Index of a bit in a set of capabilities, std::bitset<32>. 28 is unassigned.
enum class WLANCapability : std::uint8_t {
  WPA_PSK = 0,
  WPA_ENT = 1,
  WPA2_PSK = 2,
  WPA2_ENT = 3,
  WPS = 4,
  WME = 5,
  ATH = 6,
  PRIVACY = 7,
  STBC = 8,
  LDPC = 9,
  WME_PS = 10,
  TXBF = 11,
  PMF = 12,
  AMSDU = 13,
  AMPDU = 14,
  UAPSD = 15,
  MU_MIMO = 16,
  BAND_2GHZ = 17,
  BAND_5GHZ = 18,
  RRM = 19,
  FBT = 20,
  BTM = 21,
  N_2G_256QAM = 22,
  WPA3_PSK = 23,
  OWE = 24,
  OWE_TRANSITION = 25,
  NAC_1024QAM = 26,
  BAND_6GHZ = 27,
  MINI = 29,
  QEL_WDS = 30,
  QEL = 31
};

/// The state of a WLAN interface, from unconfigured to operating.
enum class WLANIfaceState : std::uint8_t {
  UNCONFIGURED = 0,
  CONFIGURING = 1,
  INACTIVE = 2,
  INITIATING = 3,
  SCANNING = 4,
  DFS_WAIT = 5,
  ACS_ACTIVE = 6,
  WAIT_FOR_UPLINK = 7,
  UPLINK_ESTABLISHED = 8,
  WPS_ACTIVE = 9,
  ON_AIR = 10,
  DEACTIVATED = 11,
  SUPPRESSED = 12,
  CONFIGURED_FINAL = 13,
  INVALID = 14
};

/// Index of a bit in the state of a channel, std::bitset<5>.
enum class ChannelStateBit : std::uint8_t {
  DFS_CLEAR = 0,
  RADAR_FOUND = 1,
  CAC_RUNNING = 2,
  PRECAC_TODO = 3,
  INTERFERENCE_FOUND = 4,
  INVALID_MAX = 5
};

/// Index of a bit in the capabilities of a channel, std::bitset<9>.
enum class ChannelCapabilityBit : std::uint8_t {
  HT20 = 0,
  HT40 = 1,
  HT80 = 2,
  HT160 = 3,
  DFS = 4,
  DFS_WEATHER = 5,
  HT8080 = 6,
  PRIMARY_LOWER_BEHAVIOR = 7,
  PRIMARY_UPPER_BEHAVIOR = 8,
  INVALID_MAX = 9
};

/// Index of a bit in the configuration of a channel, std::bitset<2>.
enum class ChannelConfigBit : std::uint8_t { REMOTE_DISTURBER = 0, PERFORMANCE_OPTIMIZATION = 1, INVALID_MAX = 2 };

/// Index of a bit in its set.
template <class Bit>
requires std::is_enum_v<Bit>
constexpr std::size_t bit_index(Bit bit) { return static_cast<std::size_t>(bit); }

QEL_EXPORT std::string enum_to_string(FrequencyBand band);
QEL_EXPORT std::string enum_to_string(ChannelWidth width);
QEL_EXPORT std::string enum_to_string(WLANPhymode mode);
QEL_EXPORT std::string enum_to_string(PHYType type);
QEL_EXPORT std::string enum_to_string(WLANOpmode mode);
QEL_EXPORT std::string enum_to_string(WLANSecurity security);
QEL_EXPORT std::string enum_to_string(WLANCapability capability);
QEL_EXPORT std::string enum_to_string(WLANIfaceState state);
QEL_EXPORT std::string enum_to_string(ChannelStateBit bit);
QEL_EXPORT std::string enum_to_string(ChannelCapabilityBit bit);
QEL_EXPORT std::string enum_to_string(ChannelConfigBit bit);

QEL_EXPORT std::ostream& operator<<(std::ostream& os, FrequencyBand band);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, ChannelWidth width);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, WLANPhymode mode);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, PHYType type);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, WLANOpmode mode);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, WLANSecurity security);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, WLANCapability capability);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, WLANIfaceState state);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, ChannelStateBit bit);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, ChannelCapabilityBit bit);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, ChannelConfigBit bit);

///@{
/// True below the sentinel, even for values without a name.
constexpr bool is_valid(FrequencyBand band) { return band < FrequencyBand::INVALID_BAND_MAX; }
constexpr bool is_valid(ChannelWidth width) { return width < ChannelWidth::INVALID; }
constexpr bool is_valid(WLANPhymode mode) { return mode < WLANPhymode::INVALID_MAX; }
constexpr bool is_valid(PHYType type) { return type < PHYType::INVALID_PHYTYPE_MAX; }
constexpr bool is_valid(WLANOpmode mode) { return mode < WLANOpmode::INVALID; }
constexpr bool is_valid(WLANSecurity security) { return security < WLANSecurity::INVALID; }
constexpr bool is_valid(WLANIfaceState state) { return state < WLANIfaceState::INVALID; }
///@}

}  // namespace qel
