#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/entity/device_map.h"
#include "tools/meshd/entity/local_interface.h"
#include "tools/meshd/entity/neighbor_table.h"
#include "tools/meshd/entity/ports.h"

namespace meshd {

/// Finds the hosts without 1905.1 that are our neighbours. A bridge learns every address behind a port, however far
/// away, including those of mesh devices:
///
/// - all hosts behind an interface without a link are ours;
/// - so are those behind an interface whose link has bridges on it, except hosts that another device reports on an
///   interface without links;
/// - behind an interface whose link has no bridges, all hosts belong to others;
/// - the peers of a radio's interface are ours in any case.
class HostFinder {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// Indexed by the numbers under which the interfaces are reported.
  std::vector<std::vector<qel::MACAddress>> find(const std::vector<LocalInterface>& interfaces, Ports& ports,
                                                 const NeighborTable& neighbors, const DeviceMap& devices,
                                                 TimePoint now);

 private:
  void learn(const DeviceMap& devices, TimePoint now);

  // As of that time, sorted.
  std::optional<TimePoint> learned_at_;
  std::vector<qel::MACAddress> of_devices_;
  std::vector<qel::MACAddress> hosts_of_others_;
};

}  // namespace meshd
