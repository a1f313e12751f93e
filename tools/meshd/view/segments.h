#pragma once

#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/view/topology_view.h"

namespace meshd {

/// The interface of a node; of one that nobody tells the address is zero.
struct Port {
  qel::MACAddress al_mac;
  qel::MACAddress interface;

  friend auto operator<=>(const Port&, const Port&) = default;
};

/// What joins ports: a cable, a channel, or a switch. However many of its ends tell of it, and whatever each of them
/// knows of it, it is there once.
struct Segment {
  /// What an end told of its own side; null when it told no metrics.
  std::map<Port, const qel::ieee1905_1::TransmitterLinkMetricInformation*> ports;
  bool is_switch = false;  ///< a plain one, or a bridge between two devices
};

/// In the order of their ports. The view is borrowed.
std::vector<Segment> find_segments(const TopologyView& view);

}  // namespace meshd
