#include "tools/meshd/view/segments.h"

#include <algorithm>
#include <set>

namespace meshd {

namespace {

using qel::MACAddress;
using qel::ieee1905_1::InterfaceType;
using Link = TopologyView::Link;

/// A link between two ports, as reported by one or both of them.
struct Edge {
  bool is_bridged = false;
  std::map<Port, const qel::ieee1905_1::TransmitterLinkMetricInformation*> told;
};
using Edges = std::map<std::pair<Port, Port>, Edge>;

/// The interface that the other end of a link reports, if there is exactly one.
MACAddress far_interface(const Link& link,
                         const std::map<std::pair<MACAddress, MACAddress>, std::set<MACAddress>>& told) {
  if (link.to_interface) {
    return *link.to_interface;
  }
  const auto back = told.find({link.to, link.from});
  return back != told.end() && back->second.size() == 1 ? *back->second.begin() : MACAddress();
}

Edges find_edges(const TopologyView& view) {
  std::map<std::pair<MACAddress, MACAddress>, std::set<MACAddress>> told;  // interfaces of the one towards the other
  for (const Link& link : view.links) {
    told[{link.from, link.to}].insert(link.from_interface);
  }
  Edges edges;
  for (const Link& link : view.links) {
    const Port near{link.from, link.from_interface};
    const Port far{link.to, far_interface(link, told)};
    Edge& edge = edges[std::minmax(near, far)];
    edge.is_bridged = edge.is_bridged || link.is_bridged;
    edge.told[near] = link.transmitter ? &*link.transmitter : nullptr;
    edge.told.try_emplace(far, nullptr);
  }
  return edges;
}

/// Disjoint sets of ports, which can be joined.
class Groups {
 public:
  /// The port that represents the set. Halves the path to it.
  Port find(const Port& port) {
    auto place = parents_.try_emplace(port, port).first;
    while (place->second != place->first) {
      place->second = parents_.at(place->second);
      place = parents_.find(place->second);
    }
    return place->first;
  }
  void join(const Port& left, const Port& right) { parents_[find(left)] = find(right); }

 private:
  std::map<Port, Port> parents_;
};

bool is_known(const Port& port) { return port.interface != MACAddress(); }

/// Ports of radios, which may hear many others without a switch.
std::set<Port> find_radios(const TopologyView& view) {
  std::set<Port> radios;
  for (const TopologyView::Node& node : view.nodes) {
    for (const TopologyView::Interface& interface : node.interfaces) {
      if (interface.type == InterfaceType::WLAN) {
        radios.insert({node.al_mac, interface.mac});
      }
    }
  }
  return radios;
}

}  // namespace

std::vector<Segment> find_segments(const TopologyView& view) {
  const Edges edges = find_edges(view);
  const std::set<Port> radios = find_radios(view);
  std::map<Port, std::set<Port>> heard;  // by each port
  Groups groups;
  for (const auto& [ends, edge] : edges) {
    heard[ends.first].insert(ends.second);
    heard[ends.second].insert(ends.first);
    if (is_known(ends.first) && is_known(ends.second)) {
      groups.join(ends.first, ends.second);
    }
  }
  std::set<Port> switches;  // groups that are one
  const auto group_of = [&](const std::pair<Port, Port>& ends) {
    return groups.find(is_known(ends.first) ? ends.first : ends.second);
  };
  for (const auto& [ends, edge] : edges) {
    const auto shares = [&](const Port& port) {
      return is_known(port) && heard[port].size() > 1 && !radios.contains(port);
    };
    if (edge.is_bridged || shares(ends.first) || shares(ends.second)) {
      switches.insert(group_of(ends));
    }
  }
  std::map<std::pair<Port, Port>, Segment> segments;  // by the group, or by the ends
  for (const auto& [ends, edge] : edges) {
    const Port group = group_of(ends);
    const bool is_switch = switches.contains(group);
    Segment& segment = segments[is_switch ? std::pair(group, group) : ends];
    segment.is_switch = is_switch;
    for (const auto& [port, information] : edge.told) {
      const auto*& best = segment.ports[port];
      best = information != nullptr ? information : best;
    }
  }
  std::vector<Segment> result;
  for (auto& [key, segment] : segments) {
    // An end of which only the device is known is one of those whose interface is known.
    std::erase_if(segment.ports, [&ports = segment.ports](const auto& end) {
      const auto next = ports.upper_bound(end.first);
      return !is_known(end.first) && next != ports.end() && next->first.al_mac == end.first.al_mac;
    });
    result.push_back(std::move(segment));
  }
  return result;
}

}  // namespace meshd
