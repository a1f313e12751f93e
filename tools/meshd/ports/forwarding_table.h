#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/ports/netlink.h"

namespace meshd {

/// The addresses that bridges have learned behind their ports (bridge(8), fdb).
class ForwardingTable {
 public:
  /// Limit for all bridges together, so that a flood of new addresses costs little memory and time.
  static constexpr std::size_t MOST_ADDRESSES = 4096;

  /// The addresses behind the port with this interface index: those that were learned and have not aged, and those set
  /// by the administrator. Sorted, up to a second old, and empty if the interface is in no bridge. Throws
  /// std::system_error.
  const std::vector<qel::MACAddress>& hosts(unsigned int port);

 private:
  void read();

  std::optional<std::chrono::steady_clock::time_point> read_at_;
  std::map<unsigned int, std::vector<qel::MACAddress>> hosts_;
};

/// Tells the bridge with this interface index that frames to the address are for this machine, so that it does not
/// flood them. Needs CAP_NET_ADMIN. Throws std::system_error.
void add_bridge_address(unsigned int bridge, const qel::MACAddress& address);
/// Reverts that. Throws std::system_error, also if there is no such entry or bridge.
void remove_bridge_address(unsigned int bridge, const qel::MACAddress& address);

}  // namespace meshd
