#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "qel/channel/channel_info.h"
#include "tools/meshd/wifi/interface.h"
#include "tools/meshd/wifi/station.h"

/// What the kernel tells by itself.
namespace meshd::wifi {

/// A radio was plugged in or out, or renamed, or came into this network namespace or left it.
struct WiphyEvent {
  bool is_there = false;
  std::uint32_t number = 0;
  std::string name;
};

/// An interface was made, removed, or made another kind of.
struct InterfaceEvent {
  bool is_there = false;
  Interface interface;
};

/// A station came to an access point or left it. For a station it is its access point.
struct StationEvent {
  bool is_there = false;
  std::uint32_t interface = 0;
  Station station;
};

/// An access point began or ended.
struct AccessPointEvent {
  bool is_there = false;
  std::uint32_t interface = 0;
};

/// A station was connected, moved to another access point by itself, or was disconnected.
struct LinkEvent {
  enum class What : std::uint8_t { CONNECTED, ROAMED, DISCONNECTED };
  What what = What::DISCONNECTED;
  std::uint32_t interface = 0;
  std::optional<qel::MACAddress> access_point;
};

/// The channel of an interface is about to change, or has changed.
struct ChannelSwitchEvent {
  bool is_done = false;
  std::uint32_t interface = 0;
  qel::ChannelInfo channel;   ///< the new one
  std::uint32_t beacons = 0;  ///< until it changes, of one that begins
};

/// About the channels that must be listened to for radar; see DfsState.
struct RadarEvent {
  enum class What : std::uint8_t {
    DETECTED,
    LISTENED,           ///< there was none
    LISTENING_ENDED,    ///< too early: nothing is known
    USABLE_AGAIN,       ///< long enough after a radar
    AVAILABLE_NO_MORE,  ///< must be listened to again
    LISTENING,
  };
  What what = What::DETECTED;
  std::uint32_t wiphy = 0;
  std::optional<std::uint32_t> interface;
  qel::ChannelInfo channel;
};

/// Other rules are in force.
struct RegulatoryEvent {
  std::optional<std::uint32_t> wiphy;  ///< of a radio that has its own
  std::string country;                 ///< as in Regulatory; empty if told in no such form
};

using Event = std::variant<WiphyEvent, InterfaceEvent, StationEvent, AccessPointEvent, LinkEvent, ChannelSwitchEvent,
                           RadarEvent, RegulatoryEvent>;

/// Nothing for other events, and for one that does not say what it is about.
std::optional<Event> event_of(const Message& message, Timestamp now);

}  // namespace meshd::wifi
