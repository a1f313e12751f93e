#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "qel/channel/channel_info.h"
#include "qel/core/mac_address.h"
#include "tools/meshd/wifi/message.h"
#include "tools/meshd/wifi/radio.h"

namespace meshd::wifi {

/// What an interface does.
enum class Role : std::uint8_t {
  OTHER,
  STATION,
  AP,
  AP_VLAN,  ///< of an access point: some of its stations, such as one that uses 4 addresses
  MONITOR,
  MESH_POINT,
  AD_HOC,
  P2P_CLIENT,
  P2P_GROUP_OWNER,
  P2P_DEVICE,
};

/// "AP", "STATION" and so on.
std::string role_text(Role role);

/// An interface of a radio: an access point's BSS, or a station's side of one.
struct Interface {
  std::uint32_t number = 0;  ///< the kernel's; 0 if it is not a network interface, such as a P2P device
  std::uint64_t device = 0;  ///< the kernel's number for it as a wireless device, never reused
  std::uint32_t wiphy = 0;
  std::string name;
  qel::MACAddress mac;  ///< the BSSID of an access point
  Role role = Role::OTHER;
  std::string ssid;  ///< up to 32 octets of any value; empty if there is none or it is unknown
  bool has_4_addresses = false;
  /// With its transmit power; unset while the interface is on no channel.
  qel::ChannelInfo channel;
};

/// From a message about an interface (NL80211_CMD_NEW_INTERFACE).
Interface interface_of(const Message& message, Timestamp now);

/// The channel that the attributes describe, in the form common to many messages: frequencies, width and transmit
/// power. A width that the model does not have leaves the segment unset, as does a segment without its primary channel.
qel::ChannelInfo channel_info(Octets attributes, Timestamp now);

/// True if the channel contains that frequency. A channel without a segment has its primary frequency only.
bool occupies(const qel::ChannelInfo& channel, const qel::kHz& frequency);

}  // namespace meshd::wifi
