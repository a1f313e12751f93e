#pragma once

#include <array>
#include <bitset>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "qel/channel/type_with_ratio.h"
#include "qel/channel/wlan_types.h"
#include "qel/core/mac_address.h"
#include "tools/meshd/wifi/message.h"

namespace meshd::wifi {

/// What is known about radar on a channel that requires radar detection.
enum class DfsState : std::uint8_t {
  USABLE,       ///< must be checked for radar before use
  UNAVAILABLE,  ///< radar was found
  AVAILABLE,    ///< free of radar
};

/// A 20 MHz channel as the driver and the regulations currently allow it.
struct WiphyChannel {
  qel::kHz frequency;
  bool is_disabled = false;    ///< not to be used at all
  bool no_initiation = false;  ///< may be used only where an access point is heard
  bool is_indoor = false;      ///< not to be used outdoors
  bool no_ht40_minus = false;  ///< not as the upper half of 40 MHz
  bool no_ht40_plus = false;   ///< not as the lower half
  bool no_80_mhz = false;
  bool no_160_mhz = false;
  bool has_radar = false;                 ///< requires radar detection
  std::optional<DfsState> dfs_state{};    ///< of a channel with radar
  std::chrono::milliseconds dfs_time{0};  ///< how long it has been in this state
  std::chrono::milliseconds cac_time{0};  ///< how long to check for radar
  std::optional<float> max_power{};       ///< in dBm, by driver and regulations
};

/// As in the HT Capabilities element (IEEE 802.11-2020, 9.4.2.55).
struct HTCapabilities {
  std::uint16_t information = 0;
  std::array<std::uint8_t, 16> mcs{};
};

/// As in the VHT Capabilities element (IEEE 802.11-2020, 9.4.2.157).
struct VHTCapabilities {
  std::uint32_t information = 0;
  std::array<std::uint8_t, 8> mcs{};
};

/// As in the HE Capabilities element (IEEE 802.11ax-2021, 9.4.2.248).
struct HECapabilities {
  std::bitset<32> interface_types{};  ///< indexed by nl80211_iftype: those that have these capabilities
  std::array<std::uint8_t, 6> mac{};
  std::array<std::uint8_t, 11> phy{};
  /// Maps for receiving and sending up to 80 MHz, at 160 MHz and at 80+80 MHz. A map of all ones means not supported.
  std::array<std::uint8_t, 12> mcs{};
};

struct Band {
  qel::FrequencyBand band = qel::FrequencyBand::INVALID_BAND_MAX;
  std::vector<WiphyChannel> channels{};  ///< in the order of the kernel, each frequency once
  bool has_dsss_rates = false;           ///< 1, 2, 5.5 or 11 Mb/s
  bool has_ofdm_rates = false;
  std::optional<HTCapabilities> ht{};
  std::optional<VHTCapabilities> vht{};
  std::vector<HECapabilities> he{};
};

/// Antennas, a bit for each.
struct Antennas {
  std::uint32_t send = 0;
  std::uint32_t receive = 0;
};

/// A radio as the kernel describes it.
struct Wiphy {
  std::uint32_t number = 0;  ///< may be reused once this radio is gone
  std::string name;
  std::vector<qel::MACAddress> addresses;  ///< empty with many drivers
  std::bitset<32> interface_types;         ///< indexed by nl80211_iftype
  std::optional<Antennas> antennas;        ///< that the radio has
  std::optional<Antennas> used_antennas;
  std::vector<Band> bands;  ///< only bands that the model has
  /// Access points that it can have at once.
  std::uint32_t most_access_points = 1;
};

/// By their numbers.
using Wiphys = std::map<std::uint32_t, Wiphy>;

/// Limits on what is taken from the kernel.
inline constexpr std::size_t MOST_WIPHYS = 64;
inline constexpr std::size_t MOST_CHANNELS = 256;  ///< in a band

/// Adds the contents of one message of a dump (NL80211_CMD_NEW_WIPHY), which describes each radio in many messages.
void add_wiphy(Wiphys& wiphys, const Message& message);

}  // namespace meshd::wifi
