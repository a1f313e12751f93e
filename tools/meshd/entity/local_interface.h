#pragma once

#include <cstdint>
#include <string>

#include "qel/core/mac_address.h"

namespace meshd {

/// An interface that the entity works on. Each is treated as Ethernet.
struct LocalInterface {
  std::string name;  ///< empty for a free number: an interface keeps its number while others come and go
  qel::MACAddress mac;
  std::string bridge;  ///< the bridge that it is a port of; empty if none

  bool is_there() const { return !name.empty(); }

  friend bool operator==(const LocalInterface&, const LocalInterface&) = default;
};

/// What an interface has counted since it came up; the counters wrap at 32 bits, as those in the messages do.
struct InterfaceState {
  std::uint32_t received_packets = 0;
  std::uint32_t receive_errors = 0;
  std::uint32_t sent_packets = 0;
  std::uint32_t send_errors = 0;
  std::uint16_t speed = 0;           ///< Mb/s; 0 if the driver reports none
  bool up = true;                    ///< whether there is a carrier
  std::uint16_t availability = 100;  ///< percent of the speed that was recently left unused by sending
  std::uint64_t dropped = 0;         ///< frames that could not be sent, since the start
};

}  // namespace meshd
