#include "tools/meshd/view/topology_view.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <utility>

#include "tools/meshd/entity/messages.h"

namespace meshd {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::MACAddress;
using Node = TopologyView::Node;
using Link = TopologyView::Link;

TopologyView::Interface as_shown(const InterfaceInformation& information) {
  TopologyView::Interface shown{information.get_mac(), information.get_interface_type(),
                                information.get_interface_mode()};
  if (const auto* wlan = dynamic_cast<const WLANSpecificInformation*>(&information.get_media_specific_information())) {
    shown.wlan = *wlan;
  }
  return shown;
}

class Builder {
 public:
  Builder(const std::string& name, const Entity& entity, Entity::TimePoint now, Names names)
      : entity_(entity), now_(now) {
    view_.name = name;
    view_.names = std::move(names);
    view_.names.try_emplace(entity.config().al_mac, name);
    add_self();
    for (const auto& [al_mac, device] : entity.devices().all()) {
      add(al_mac, device);
    }
    for (const Link& link : view_.links) {  // these are in the order of the devices that report them
      Node* node = find_or_add(link.to);
      if (node != nullptr && (node->reported_by.empty() || node->reported_by.back() != link.from)) {
        node->reported_by.push_back(link.from);
      }
    }
  }

  TopologyView take() { return std::move(view_); }

 private:
  Node& add_node(const MACAddress& al_mac) {
    nodes_.emplace(al_mac, view_.nodes.size());
    Node& node = view_.nodes.emplace_back();
    node.al_mac = al_mac;
    links_.clear();
    return node;
  }

  /// Null if there are MOST_NODES already.
  Node* find_or_add(const MACAddress& al_mac) {
    const auto place = nodes_.find(al_mac);
    if (place != nodes_.end()) {
      return &view_.nodes[place->second];
    }
    return view_.nodes.size() < TopologyView::MOST_NODES ? &add_node(al_mac) : nullptr;
  }

  /// The link of the node added last that a metric is about. A neighbour list names no interface of the neighbour, so a
  /// link from such a list matches, and takes the interface from the metric.
  Link& link_of(const MACAddress& from, const MACAddress& from_interface, const MACAddress& to,
                const std::optional<MACAddress>& to_interface) {
    const auto [begin, end] = links_.equal_range({from_interface, to});
    for (auto place = begin; place != end; ++place) {
      Link& link = view_.links[place->second];
      if (!link.to_interface || !to_interface || link.to_interface == to_interface) {
        if (to_interface) {
          link.to_interface = to_interface;
        }
        return link;
      }
    }
    links_.emplace(std::pair(from_interface, to), view_.links.size());
    return view_.links.emplace_back(Link{from, from_interface, to, to_interface, false, {}, {}});
  }

  void add_metrics(const MACAddress& from, const TransmitterLinkMetricTLV& tlv) {
    for (const TransmitterLinkMetric& metric : tlv.get_transmitter_link_metric_vector()) {
      Link& link = link_of(from, metric.get_receiving_interface_MAC(), tlv.get_neighbor_AL_MAC(),
                           metric.get_neighbor_interface_MAC());
      const TransmitterLinkMetricInformation& information = metric.get_link_metric_information();
      link.transmitter = information;
      link.is_bridged = link.is_bridged ||
                        information.get_bridge_flag() == TransmitterLinkMetricBridgeFlags::INCLUDED_IEEE802_1_BRIDGE;
    }
  }

  void add_metrics(const MACAddress& from, const ReceiverLinkMetricTLV& tlv) {
    for (const ReceiverLinkMetric& metric : tlv.get_receiver_link_metric_vector()) {
      link_of(from, metric.get_receiving_interface_MAC(), tlv.get_neighbor_AL_MAC(),
              metric.get_neighbor_interface_MAC())
          .receiver = metric.get_link_metric_information();
    }
  }

  /// Other devices may give their interfaces any name; those of real interfaces have no white space.
  void add_blocked(Node& node, const std::vector<QELBlockedInterface>& blocked) {
    for (QELBlockedInterface interface : blocked) {
      interface.set_name(visible(interface.get_name()));
      view_.names.try_emplace(interface.get_mac_address(), interface.get_name());
      node.blocked.push_back(std::move(interface));
    }
  }

  void add_self() {
    const Entity::Config& config = entity_.config();
    const std::vector<InterfaceState> states = entity_.read_states();
    Node& self = add_node(config.al_mac);
    self.is_self = true;
    self.has_answered = true;
    self.state = DeviceState::ANSWERED;
    self.meshd_version = config.version;
    for (std::size_t index = 0; index < config.interfaces.size(); ++index) {
      const LocalInterface& interface = config.interfaces[index];
      if (interface.is_there() && reported_as(config.interfaces, index) == index) {
        self.interfaces.push_back(as_shown(interface_information(interface, states[index])));
        view_.names[interface.mac] = interface.name;
      }
    }
    const std::vector<std::vector<MACAddress>> hosts = entity_.find_hosts(now_);
    for (std::size_t index = 0; index < hosts.size(); ++index) {
      if (!hosts[index].empty()) {
        self.hosts.push_back({config.interfaces[index].mac, hosts[index]});
      }
    }
    const DeviceBridgingCapabilityTLV bridging = bridging_capability(config.interfaces);
    for (const DeviceBridgingTuple& tuple : bridging.get_bridging_tuple_vector()) {
      self.bridges.push_back(tuple.get_mac_address_vector());
    }
    add_blocked(self, entity_.blocked_interfaces());
    for (const Neighbor& neighbor : entity_.neighbors().all()) {
      add_metrics(config.al_mac, transmitter_metrics(config.al_mac, neighbor, config.interfaces, states));
      add_metrics(config.al_mac, receiver_metrics(config.al_mac, neighbor, config.interfaces, states));
    }
  }

  void add(const MACAddress& al_mac, const Device& device) {
    Node& node = add_node(al_mac);
    const ToldByDevice& told = device.told;
    if (!told.name.empty()) {
      view_.names.try_emplace(al_mac, visible(told.name));
    }
    node.state = device.state;
    node.is_truncated = device.is_truncated;
    node.has_answered = device.answered_at.has_value();
    if (device.answered_at) {
      node.age = std::chrono::duration_cast<std::chrono::seconds>(now_ - *device.answered_at);
    }
    node.meshd_version = told.meshd_version;
    std::ranges::transform(told.interfaces, std::back_inserter(node.interfaces), as_shown);
    for (const DeviceBridgingTuple& bridge : told.bridges) {
      node.bridges.push_back(bridge.get_mac_address_vector());
    }
    add_blocked(node, told.blocked_interfaces);
    for (const NonIEEE1905NeighborDeviceListTLV& tlv : told.hosts) {
      node.hosts.push_back({tlv.get_local_MAC(), tlv.get_MAC_address_vector()});
    }
    for (const IEEE1905NeighborDeviceTLV& tlv : told.neighbors) {
      for (const ALMAC19051Neighbor& neighbor : tlv.get_AL_MAC_neighbor_vector()) {
        Link& link = link_of(al_mac, tlv.get_local_MAC(), neighbor.get_AL_MAC(), std::nullopt);
        link.is_bridged = neighbor.get_IEEE802_1_bridge() == IEEE802_1_Bridge::IEEE802_1_BRIDGE;
      }
    }
    for (const TransmitterLinkMetricTLV& tlv : told.transmitter_metrics) {
      add_metrics(al_mac, tlv);
    }
    for (const ReceiverLinkMetricTLV& tlv : told.receiver_metrics) {
      add_metrics(al_mac, tlv);
    }
  }

  const Entity& entity_;
  const Entity::TimePoint now_;
  TopologyView view_;
  std::map<MACAddress, std::size_t> nodes_;  // places in the view
  std::multimap<std::pair<MACAddress, MACAddress>, std::size_t>
      links_;  // places of the links of the last node, by interface and other device
};

}  // namespace

std::string width_text(const WLANSpecificInformation& wlan) {
  constexpr std::array WIDTHS{"20", "40", "80", "160", "80+80"};  // dot11CurrentChannelWidth
  return wlan.get_band() < WIDTHS.size() ? WIDTHS[wlan.get_band()] : "";
}

std::string wlan_text(const TopologyView::Interface& interface) {
  const WLANSpecificInformation& wlan = *interface.wlan;
  std::string text = enum_to_string(wlan.get_role());
  if (wlan.get_bssid() != MACAddress() && wlan.get_bssid() != interface.mac) {
    text += " of " + wlan.get_bssid().to_string();
  }
  if (wlan.get_center_freq_1() != 0) {
    text += ", " + width_text(wlan) + " MHz around channel " + std::to_string(wlan.get_center_freq_1());
  }
  if (wlan.get_center_freq_2() != 0) {
    text += " and " + std::to_string(wlan.get_center_freq_2());
  }
  return text;
}

std::string TopologyView::name_of(const MACAddress& mac) const {
  const auto place = names.find(mac);
  return place == names.end() ? "" : place->second;
}

TopologyView view_topology(const std::string& name, const Entity& entity, Entity::TimePoint now, Names names) {
  return Builder(name, entity, now, std::move(names)).take();
}

}  // namespace meshd
