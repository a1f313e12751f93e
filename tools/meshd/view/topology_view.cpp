#include "tools/meshd/view/topology_view.h"

#include <algorithm>
#include <utility>

#include "tools/meshd/entity/messages.h"

namespace meshd {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::MACAddress;
using Node = TopologyView::Node;
using Link = TopologyView::Link;

Node& node_of(TopologyView& view, const MACAddress& al_mac) {
  const auto place =
      std::find_if(view.nodes.begin(), view.nodes.end(), [&](const Node& node) { return node.al_mac == al_mac; });
  if (place != view.nodes.end()) {
    return *place;
  }
  Node& node = view.nodes.emplace_back();
  node.al_mac = al_mac;
  return node;
}

/// The link that is meant by a metric. A neighbour list names no interface of the neighbour: a link from there is as
/// good, and gets the name.
Link& link_of(TopologyView& view, const MACAddress& from, const MACAddress& from_interface, const MACAddress& to,
              const std::optional<MACAddress>& to_interface) {
  for (Link& link : view.links) {
    if (link.from == from && link.from_interface == from_interface && link.to == to &&
        (!link.to_interface || !to_interface || link.to_interface == to_interface)) {
      if (to_interface) {
        link.to_interface = to_interface;
      }
      return link;
    }
  }
  return view.links.emplace_back(Link{from, from_interface, to, to_interface, {}, {}});
}

void add_metrics(TopologyView& view, const MACAddress& from, const TransmitterLinkMetricTLV& tlv) {
  for (const TransmitterLinkMetric& metric : tlv.get_transmitter_link_metric_vector()) {
    link_of(view, from, metric.get_receiving_interface_MAC(), tlv.get_neighbor_AL_MAC(),
            metric.get_neighbor_interface_MAC())
        .transmitter = metric.get_link_metric_information();
  }
}

void add_metrics(TopologyView& view, const MACAddress& from, const ReceiverLinkMetricTLV& tlv) {
  for (const ReceiverLinkMetric& metric : tlv.get_receiver_link_metric_vector()) {
    link_of(view, from, metric.get_receiving_interface_MAC(), tlv.get_neighbor_AL_MAC(),
            metric.get_neighbor_interface_MAC())
        .receiver = metric.get_link_metric_information();
  }
}

/// Others give their interfaces any name; those of real interfaces hold no white space.
void add_blocked(Node& node, const std::vector<QELBlockedInterface>& blocked) {
  for (QELBlockedInterface interface : blocked) {
    std::string name = interface.get_name();
    std::replace_if(
        name.begin(), name.end(), [](char character) { return character <= ' ' || character > '~'; }, '?');
    interface.set_name(name);
    node.blocked.push_back(std::move(interface));
  }
}

void add_self(TopologyView& view, const Entity& entity) {
  const Entity::Config& config = entity.config();
  const std::vector<InterfaceState> states = entity.read_states();
  Node& self = node_of(view, config.al_mac);
  self.is_self = true;
  self.has_answered = true;
  self.meshd_version = config.version;
  for (std::size_t index = 0; index < config.interfaces.size(); ++index) {
    if (!config.interfaces[index].is_there()) {
      continue;
    }
    const InterfaceInformation information = interface_information(config.interfaces[index], states[index]);
    self.interfaces.push_back({information.get_mac(), config.interfaces[index].name, information.get_interface_type(),
                               information.get_interface_mode()});
  }
  add_blocked(self, entity.blocked_interfaces());
  for (const Neighbor& neighbor : entity.neighbors().all()) {
    add_metrics(view, config.al_mac, transmitter_metrics(config.al_mac, neighbor, config.interfaces, states));
    add_metrics(view, config.al_mac, receiver_metrics(config.al_mac, neighbor, config.interfaces, states));
  }
}

void add_neighbor(TopologyView& view, const Neighbor& neighbor) {
  Node& node = node_of(view, neighbor.al_mac);
  node.meshd_version = neighbor.meshd_version;
  add_blocked(node, neighbor.blocked_interfaces);
  if (neighbor.device) {
    node.has_answered = true;
    for (const InterfaceInformation& interface : neighbor.device->get_interface_information_vector()) {
      node.interfaces.push_back(
          {interface.get_mac(), "", interface.get_interface_type(), interface.get_interface_mode()});
    }
  }
  for (const IEEE1905NeighborDeviceTLV& tlv : neighbor.neighbors) {
    for (const ALMAC19051Neighbor& other : tlv.get_AL_MAC_neighbor_vector()) {
      link_of(view, neighbor.al_mac, tlv.get_local_MAC(), other.get_AL_MAC(), std::nullopt);
    }
  }
  for (const TransmitterLinkMetricTLV& tlv : neighbor.transmitter_metrics) {
    add_metrics(view, neighbor.al_mac, tlv);
  }
  for (const ReceiverLinkMetricTLV& tlv : neighbor.receiver_metrics) {
    add_metrics(view, neighbor.al_mac, tlv);
  }
}

}  // namespace

TopologyView view_topology(const std::string& name, const Entity& entity) {
  TopologyView view;
  view.name = name;
  add_self(view, entity);
  for (const Neighbor& neighbor : entity.neighbors().all()) {
    add_neighbor(view, neighbor);
  }
  for (const Link& link : view.links) {
    node_of(view, link.to);
  }
  return view;
}

}  // namespace meshd
