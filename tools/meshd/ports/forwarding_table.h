#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/ports/netlink.h"

namespace meshd {

/// What bridges have learned of the addresses behind their ports, and what they are told of ours (bridge(8), fdb).
class ForwardingTable {
 public:
  /// Of all bridges together: who sends from ever new addresses makes us neither large nor slow.
  static constexpr std::size_t MOST_ADDRESSES = 4096;

  /// Which addresses the bridge has learned, or was told by the administrator, behind the interface of this number, and
  /// not forgotten since; sorted, at most a second old. Empty for a port of no bridge. Throws std::system_error.
  const std::vector<qel::MACAddress>& hosts(unsigned int port);

 private:
  void read();

  std::optional<std::chrono::steady_clock::time_point> read_at_;
  std::map<unsigned int, std::vector<qel::MACAddress>> hosts_;
};

/// Tells a bridge, by its number, that frames to the address are for this machine, so that it does not flood them.
/// Needs CAP_NET_ADMIN. Throws std::system_error.
void add_bridge_address(unsigned int bridge, const qel::MACAddress& address);
/// Undoes that. Throws std::system_error, also when there is no such entry or bridge.
void remove_bridge_address(unsigned int bridge, const qel::MACAddress& address);

}  // namespace meshd
