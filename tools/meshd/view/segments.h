#pragma once

#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/view/topology_view.h"

namespace meshd {

/// An interface of a node. The address is zero if nobody reports it.
struct Port {
  qel::MACAddress al_mac;
  qel::MACAddress interface;

  friend auto operator<=>(const Port&, const Port&) = default;
};

/// Something that joins ports: a cable, a channel, or a switch. It is listed once, even if several of its ends report
/// it.
struct Segment {
  /// The link as each end reported it; null if it reported no metrics.
  std::map<Port, const qel::ieee1905_1::TransmitterLinkMetricInformation*> ports;
  bool is_switch = false;  ///< a plain one, or a bridge between two devices
};

/// Sorted by their ports. The view is borrowed.
std::vector<Segment> find_segments(const TopologyView& view);

}  // namespace meshd
