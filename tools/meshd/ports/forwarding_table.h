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
  /// For all bridges together, so that a flood of new addresses makes us neither large nor slow.
  static constexpr std::size_t MOST_ADDRESSES = 4096;

  /// The addresses behind the port with this interface index, learned and not yet aged, or set by the administrator;
  /// sorted, and up to a second old. Empty for an interface in no bridge. Throws std::system_error.
  const std::vector<qel::MACAddress>& hosts(unsigned int port);

 private:
  void read();

  std::optional<std::chrono::steady_clock::time_point> read_at_;
  std::map<unsigned int, std::vector<qel::MACAddress>> hosts_;
};

/// Tells the bridge with this interface index that frames to the address are for this machine, so that it does not
/// flood them. Needs CAP_NET_ADMIN. Throws std::system_error.
void add_bridge_address(unsigned int bridge, const qel::MACAddress& address);
/// Undoes that. Throws std::system_error, also if there is no such entry or bridge.
void remove_bridge_address(unsigned int bridge, const qel::MACAddress& address);

}  // namespace meshd
