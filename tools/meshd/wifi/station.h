#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "qel/channel/wlan_types.h"
#include "qel/core/mac_address.h"
#include "tools/meshd/wifi/message.h"

namespace meshd::wifi {

/// A rate of frames on the air.
struct Rate {
  std::uint64_t kilobits = 0;                             ///< a second
  qel::WLANPhymode mode = qel::WLANPhymode::INVALID_MAX;  ///< N, AC or AX; INVALID_MAX for older and newer ones
  std::uint8_t mcs = 0;                                   ///< of 802.11n as well 0 to 7 for each number of streams
  std::uint8_t streams = 1;
  qel::ChannelWidth width = qel::ChannelWidth::WIDTH_20_MHZ;  ///< INVALID for one that the model does not have
  bool has_short_guard = false;                               ///< of 802.11n and ac
};

/// An access point's station, or a station's access point. Counts start with the association. Values that the driver
/// does not report are unset.
struct Station {
  qel::MACAddress mac;
  std::optional<std::int8_t> signal;          ///< of the last frame, in dBm
  std::optional<std::int8_t> average_signal;  ///< in dBm
  std::optional<Rate> send_rate;              ///< of the last frame, as seen from here
  std::optional<Rate> receive_rate;
  std::optional<std::uint64_t> sent_octets;
  std::optional<std::uint64_t> received_octets;
  std::optional<std::uint32_t> sent_packets;
  std::optional<std::uint32_t> received_packets;
  std::optional<std::uint32_t> retries;        ///< of sending
  std::optional<std::uint32_t> send_failures;  ///< packets given up
  std::optional<std::uint64_t> receive_drops;  ///< received packets that were dropped
  std::optional<std::uint32_t> lost_beacons;   ///< of its access point
  std::optional<std::chrono::seconds> connected;
  std::optional<std::chrono::milliseconds> inactive;
  std::optional<std::uint32_t> expected_throughput;  ///< in kb/s
  bool has_flags = false;                            ///< the driver reports the flags below
  bool is_authorized = false;                        ///< data frames may pass, not only the handshake
  bool is_associated = false;
  bool has_protected_management = false;
  /// The elements of the association request or response; only in the event of joining.
  std::vector<std::uint8_t> elements;
};

/// False for a station that has only authenticated, or whose handshake is under way: anybody can get that far.
inline bool is_peer(const Station& station) { return station.is_authorized || !station.has_flags; }

/// From a message about a station (NL80211_CMD_NEW_STATION).
Station station_of(const Message& message);

/// Received channel power indicator: 0 for -110 dBm or less, 220 for 0 dBm or more (IEEE 802.11-2020, 9.4.2.37).
constexpr std::uint8_t rcpi_of(int dbm) {
  return static_cast<std::uint8_t>(dbm <= -110 ? 0 : dbm >= 0 ? 220 : 2 * (dbm + 110));
}

}  // namespace meshd::wifi
