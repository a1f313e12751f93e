#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qel/channel/channel_info.h"
#include "qel/core/mac_address.h"
#include "tools/meshd/wifi/air.h"

/// The language of the control sockets of hostapd and wpa_supplicant: commands, replies and events. Much of what they
/// report comes from the air; a text that does not make sense counts as another event, or as a value that is missing.
namespace meshd::wifi::control_text {

/// The value in the first line "key=value", or "".
std::string_view value_of(std::string_view reply, std::string_view key);

/// The octets that pairs of hexadecimal digits stand for, up to the first character that is not part of one.
std::vector<std::uint8_t> octets_of(std::string_view digits);

/// What hostapd's reply to STATUS says about a BSS.
struct BssStatus {
  bool has_ht = false;
  bool has_vht = false;
  bool has_he = false;
  std::uint16_t beacon_interval = 100;  ///< in units of 1024 us
};
BssStatus bss_status_of(std::string_view reply);

///@{
/// Commands for hostapd.

/// Announces the channel in some beacons, then moves. A channel without a segment is 20 MHz wide. Throws
/// std::invalid_argument if the channel has no primary frequency, or one that its segment does not contain.
std::string switch_command(const qel::ChannelInfo& channel, const BssStatus& status);
std::string move_command(const MoveRequest& request, const BssStatus& status, std::uint8_t token);
/// `request` is as in Air::ask_for_beacons.
std::string beacon_command(const qel::MACAddress& client, std::span<const std::uint8_t> request);
std::string deny_command(const qel::MACAddress& client, bool is_denied);
std::string disconnect_command(const qel::MACAddress& client);
///@}

///@{
/// Commands for wpa_supplicant.

/// Looks for access points on the primary channels that the channel of the class can have; on all of them if the class
/// does not have it.
std::string scan_command(std::uint8_t opclass, std::uint8_t channel);
std::string roam_command(const qel::MACAddress& bssid);
///@}

/// A client may use an access point from now on, or no longer.
struct ClientEvent {
  qel::MACAddress client;
  bool has_joined = false;
};
std::optional<ClientEvent> client_event_of(std::string_view event);

/// A client has answered a request to move.
struct MoveEvent {
  qel::MACAddress client;
  std::optional<std::uint8_t> token;  ///< that of the request, if reported
  MoveAnswer answer;
};
std::optional<MoveEvent> move_event_of(std::string_view event);

/// A request for beacons was sent, with or without success, or a client has answered one.
struct BeaconEvent {
  qel::MACAddress client;
  std::uint8_t token = 0;              ///< that of the request, which is also hostapd's reply to it
  bool is_lost = false;                ///< the client has not acknowledged the request
  std::vector<std::uint8_t> report{};  ///< measurement report element; empty if this is none
};
std::optional<BeaconEvent> beacon_event_of(std::string_view event);

/// wpa_supplicant has connected its station to this access point.
std::optional<qel::MACAddress> connection_of(std::string_view event);

}  // namespace meshd::wifi::control_text
