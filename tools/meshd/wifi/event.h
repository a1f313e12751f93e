#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "qel/channel/channel_info.h"
#include "tools/meshd/wifi/interface.h"
#include "tools/meshd/wifi/station.h"

/// Events that the kernel reports unasked.
namespace meshd::wifi {

/// A radio was added, removed or renamed, or it entered or left this network namespace.
struct WiphyEvent {
  bool is_there = false;
  std::uint32_t number = 0;
  std::string name;
};

/// An interface was created or removed, or its kind changed.
struct InterfaceEvent {
  bool is_there = false;
  Interface interface;
};

/// A station joined an access point or left it. On a station interface, the peer is the access point.
struct StationEvent {
  bool is_there = false;
  std::uint32_t interface = 0;
  Station station;
};

/// An access point was started or stopped.
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
  std::uint32_t beacons = 0;  ///< beacons left until a switch that has begun
};

/// An event on a channel that requires radar detection; see DfsState.
struct RadarEvent {
  enum class What : std::uint8_t {
    DETECTED,
    LISTENED,           ///< there was none
    LISTENING_ENDED,    ///< aborted: nothing is known
    USABLE_AGAIN,       ///< enough time has passed since a radar
    AVAILABLE_NO_MORE,  ///< must be listened to again
    LISTENING,
  };
  What what = What::DETECTED;
  std::uint32_t wiphy = 0;
  std::optional<std::uint32_t> interface;
  qel::ChannelInfo channel;
};

/// The regulatory rules have changed.
struct RegulatoryEvent {
  std::optional<std::uint32_t> wiphy;  ///< for a radio with its own rules
  std::string country;                 ///< as in Regulatory; empty if not reported in that form
};

using Event = std::variant<WiphyEvent, InterfaceEvent, StationEvent, AccessPointEvent, LinkEvent, ChannelSwitchEvent,
                           RadarEvent, RegulatoryEvent>;

/// Returns nothing for other events, and for an event that does not say what it concerns.
std::optional<Event> event_of(const Message& message, Timestamp now);

}  // namespace meshd::wifi
