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

/// Tells which hosts without 1905.1 are our neighbours. A bridge learns all that lives in a direction, however far, and
/// the devices of the mesh too:
///
/// - behind an interface without a link are hosts of ours;
/// - behind one with a link through bridges are hosts of ours, but for those that another device told to have where it
///   has no links;
/// - behind one with a link without bridges are only those of others.
class HostFinder {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// By the numbers of the interfaces.
  std::vector<std::vector<qel::MACAddress>> find(const std::vector<LocalInterface>& interfaces, Ports& ports,
                                                 const NeighborTable& neighbors, const DeviceMap& devices,
                                                 TimePoint now);

 private:
  void learn(const DeviceMap& devices, TimePoint now);

  // As they were at that time, sorted.
  std::optional<TimePoint> learned_at_;
  std::vector<qel::MACAddress> of_devices_;
  std::vector<qel::MACAddress> hosts_of_others_;
};

}  // namespace meshd
