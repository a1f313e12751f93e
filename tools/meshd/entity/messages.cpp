#include "tools/meshd/entity/messages.h"

#include <algorithm>
#include <map>
#include <span>
#include <string>
#include <utility>

#include "qel/ieee1905_1/device_information_tlv.h"
#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/message_builder.h"
#include "qel/ieee1905_1/neighbor_tlvs.h"
#include "qel/ieee1905_1/vendor/qel_meshd_version_tlv.h"
#include "qel/ieee1905_1/vendor/qel_message_type_tlv.h"
#include "qel/ieee1905_1/vendor/vendor_specific_tlv.h"
#include "tools/meshd/entity/services.h"

namespace meshd {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::BasicVersion;
using qel::MACAddress;

constexpr std::uint16_t GIGABIT = 1000;  // Mb/s

/// One of this system's own messages.
MessageBuilder begin(QELMessageType type) {
  MessageBuilder message(MessageType::VENDOR_SPECIFIC_MESSAGE);
  message.add(QELMessageTypeTLV(type));
  return message;
}

_InterfaceMode mode_of(const InterfaceState& state) {
  const bool is_slow = state.speed != 0 && state.speed < GIGABIT;
  return static_cast<_InterfaceMode>(is_slow ? EthernetMode1905_1::FAST_ETHERNET
                                             : EthernetMode1905_1::GIGABIT_ETHERNET);
}

/// Adds the list in TLVs of at most `most` elements, so that each fits into a frame.
template <class TLV, class List, class Add>
void add_in_parts(MessageBuilder& message, const TLV& empty, const List& list, std::size_t most, Add add) {
  for (auto element = list.begin(); element != list.end();) {
    TLV tlv(empty);
    for (std::size_t count = 0; count < most && element != list.end(); ++count) {
      add(tlv, *element++);
    }
    message.add(std::move(tlv));
  }
}

constexpr std::size_t NEIGHBORS_OF_A_TLV = 200;
constexpr std::size_t BLOCKED_INTERFACES_OF_A_TLV = 32;
constexpr std::size_t LINKS_OF_A_TLV = 48;

std::span<const NeighborLink> links_of_a_tlv(const Neighbor& neighbor) {
  return std::span(neighbor.links).first(std::min(neighbor.links.size(), LINKS_OF_A_TLV));
}
constexpr std::size_t HOSTS_OF_A_TLV = 240;
constexpr std::size_t MOST_HOSTS = 1024;  // in a response

/// The neighbours that are reached over one interface, and whether there are bridges on each link.
void add_neighbors_on(std::size_t index, const OwnDevice& device, MessageBuilder& message) {
  std::vector<ALMAC19051Neighbor> here;
  for (const Neighbor& neighbor : device.neighbors.all()) {
    const auto link = std::ranges::find_if(neighbor.links, [&](const NeighborLink& one) {
      return reported_as(device.interfaces, one.interface) == index;
    });
    if (link != neighbor.links.end()) {
      here.emplace_back(neighbor.al_mac,
                        link->is_bridged ? IEEE802_1_Bridge::IEEE802_1_BRIDGE : IEEE802_1_Bridge::NO_IEEE802_1_BRIDGE);
    }
  }
  add_in_parts(message, IEEE1905NeighborDeviceTLV(device.interfaces[index].mac), here, NEIGHBORS_OF_A_TLV,
               [](IEEE1905NeighborDeviceTLV& tlv, const ALMAC19051Neighbor& one) { tlv.add_AL_MAC_neighbor(one); });
}

void add_hosts(const OwnDevice& device, MessageBuilder& message) {
  std::size_t room = MOST_HOSTS;
  for (std::size_t index = 0; index < device.interfaces.size(); ++index) {
    const std::span hosts = std::span(device.hosts[index]).first(std::min(device.hosts[index].size(), room));
    room -= hosts.size();
    add_in_parts(message, NonIEEE1905NeighborDeviceListTLV(device.interfaces[index].mac), hosts, HOSTS_OF_A_TLV,
                 [](NonIEEE1905NeighborDeviceListTLV& tlv, const MACAddress& host) { tlv.add_mac_address(host); });
  }
}

void add_blocked(const std::vector<QELBlockedInterface>& blocked, MessageBuilder& message) {
  add_in_parts(message, QELBlockedInterfaceListTLV(), blocked, BLOCKED_INTERFACES_OF_A_TLV,
               [](QELBlockedInterfaceListTLV& tlv, const QELBlockedInterface& one) { tlv.add_blocked_interface(one); });
}

}  // namespace

Message topology_discovery(const MACAddress& al_mac, const MACAddress& interface) {
  return make_message(MessageType::TOPOLOGY_DISCOVERY_MESSAGE, make_IEEE1905_1_msg_id(), ALMACAddressTLV(al_mac),
                      InterfaceMACAddressTLV(interface));
}

Message topology_notification(const MACAddress& al_mac) {
  return MessageBuilder(MessageType::TOPOLOGY_NOTIFICATION_MESSAGE).relay().add(ALMACAddressTLV(al_mac)).build();
}

Message topology_query() { return make_message(MessageType::TOPOLOGY_QUERY_MESSAGE, make_IEEE1905_1_msg_id()); }

Message topology_response(std::uint16_t message_id, const OwnDevice& device) {
  MessageBuilder message(MessageType::TOPOLOGY_RESPONSE_MESSAGE, message_id);
  DeviceInformationTLV information(device.al_mac);
  for (std::size_t index = 0; index < device.interfaces.size(); ++index) {
    if (device.interfaces[index].is_there() && reported_as(device.interfaces, index) == index) {
      information.add_interface_information(interface_information(device.interfaces[index], device.states[index]));
    }
  }
  message.add(std::move(information));
  if (DeviceBridgingCapabilityTLV bridging = bridging_capability(device.interfaces);
      !bridging.get_bridging_tuple_vector().empty()) {
    message.add(std::move(bridging));
  }
  add_hosts(device, message);
  for (std::size_t index = 0; index < device.interfaces.size(); ++index) {
    add_neighbors_on(index, device, message);
  }
  if (device.services != nullptr) {
    device.services->add_to_topology_response(message);
  }
  message.add(QELMeshdVersionTLV(device.version));
  add_blocked(device.blocked, message);
  return message.build();
}

Message link_metric_query(const MACAddress& neighbor) {
  LinkMetricQueryTLV query(neighbor);
  query.set_query_neighbor(LinkMetricQueryNeighbors::SPECIFIC_NEIGHBOR);
  query.set_link_metric(LinkMetricQuery::TX_RX_LINK_METRY);
  return make_message(MessageType::LINK_METRIC_QUERY_MESSAGE, make_IEEE1905_1_msg_id(), query);
}

std::optional<MetricQuestion> read_link_metric_query(std::span<const std::uint8_t> body) {
  MACAddress neighbor;
  const bool is_long = body.size() >= 2 + neighbor.octets().size();
  if (!is_long && body.size() != 2) {
    return std::nullopt;
  }
  const auto neighbors = static_cast<LinkMetricQueryNeighbors>(body.front());
  const auto metric = static_cast<LinkMetricQuery>(body[is_long ? 1 + neighbor.octets().size() : 1]);
  const bool is_specific = neighbors == LinkMetricQueryNeighbors::SPECIFIC_NEIGHBOR;
  if ((!is_specific && neighbors != LinkMetricQueryNeighbors::ALL_NEIGHBORS) || (is_specific && !is_long) ||
      metric > LinkMetricQuery::TX_RX_LINK_METRY) {
    return std::nullopt;
  }
  if (!is_specific) {
    return MetricQuestion{std::nullopt, metric};
  }
  std::copy_n(body.begin() + 1, neighbor.octets().size(), neighbor.octets().begin());
  return MetricQuestion{neighbor, metric};
}

Message link_metric_response(std::uint16_t message_id, const MetricQuestion& question, const MACAddress& al_mac,
                             const std::vector<LocalInterface>& interfaces, const std::vector<InterfaceState>& states,
                             const NeighborTable& neighbors) {
  MessageBuilder message(MessageType::LINK_METRIC_RESPONSE_MESSAGE, message_id);
  if (question.neighbor && neighbors.find(*question.neighbor) == nullptr) {
    return message.add(LinkMetricResultCodeTLV(LinkMetricResultCode::INVALID_NEIGHBOR)).build();
  }
  for (const Neighbor& neighbor : neighbors.all()) {
    if (question.neighbor && neighbor.al_mac != *question.neighbor) {
      continue;
    }
    if (question.metric != LinkMetricQuery::RX_LINK_METRIC_ONLY) {
      message.add(transmitter_metrics(al_mac, neighbor, interfaces, states));
    }
    if (question.metric != LinkMetricQuery::TX_LINK_METRIC_ONLY) {
      message.add(receiver_metrics(al_mac, neighbor, interfaces, states));
    }
  }
  return message.build();
}

Message meshd_version(const BasicVersion& version) {
  return begin(QELMessageType::QEL_MESHD_VERSION_MESSAGE).add(QELMeshdVersionTLV(version)).build();
}

Message blocked_interface_list(const std::vector<QELBlockedInterface>& blocked) {
  MessageBuilder message = begin(QELMessageType::QEL_BLOCKED_INTERFACE_LIST_MESSAGE);
  add_blocked(blocked, message);
  return message.build();
}

std::vector<QELBlockedInterface> read_blocked_interfaces(const Message& message) {
  std::vector<QELBlockedInterface> blocked;
  for (const VendorSpecificTLV& tlv : message.all<VendorSpecificTLV>()) {
    if (const auto* list = tlv.find<QELBlockedInterfaceListTLV>()) {
      blocked.insert(blocked.end(), list->get_blocked_interfaces().begin(), list->get_blocked_interfaces().end());
    }
  }
  return blocked;
}

TransmitterLinkMetricTLV transmitter_metrics(const MACAddress& al_mac, const Neighbor& neighbor,
                                             const std::vector<LocalInterface>& interfaces,
                                             const std::vector<InterfaceState>& states) {
  TransmitterLinkMetricTLV tlv(al_mac, neighbor.al_mac);
  for (const NeighborLink& link : links_of_a_tlv(neighbor)) {
    const InterfaceState& state = states[link.interface];
    const InterfaceInformation media = interface_information(interfaces[link.interface], state);
    const LinkState counted = state.link_to(link.mac);
    TransmitterLinkMetricInformation information;
    information.set_interface_type(media.get_interface_type());
    information.set_interface_mode(media.get_interface_mode());
    information.set_bridge_flag(link.is_bridged ? TransmitterLinkMetricBridgeFlags::INCLUDED_IEEE802_1_BRIDGE
                                                : TransmitterLinkMetricBridgeFlags::NO_IEEE802_1_BRIDGE);
    information.set_packet_errors(counted.send_errors);
    information.set_transmitted_packets(counted.sent_packets);
    information.set_mac_throughput_capacity(counted.throughput);
    information.set_link_availability(state.up ? state.availability : 0);
    information.set_phy_rate(counted.speed);
    TransmitterLinkMetric metric;
    metric.set_receiving_interface_MAC(interfaces[link.interface].mac);
    metric.set_neighbor_interface_MAC(link.mac);
    metric.set_link_metric_information(information);
    tlv.add_transmitter_link_metric(metric);
  }
  return tlv;
}

ReceiverLinkMetricTLV receiver_metrics(const MACAddress& al_mac, const Neighbor& neighbor,
                                       const std::vector<LocalInterface>& interfaces,
                                       const std::vector<InterfaceState>& states) {
  ReceiverLinkMetricTLV tlv(al_mac, neighbor.al_mac);
  for (const NeighborLink& link : links_of_a_tlv(neighbor)) {
    const InterfaceState& state = states[link.interface];
    const InterfaceInformation media = interface_information(interfaces[link.interface], state);
    const LinkState counted = state.link_to(link.mac);
    ReceiverLinkMetricInformation information;
    information.set_interface_type(media.get_interface_type());
    information.set_interface_mode(media.get_interface_mode());
    information.set_packet_errors(counted.receive_errors);
    information.set_packets_received(counted.received_packets);
    information.set_RCPI(counted.rcpi);
    ReceiverLinkMetric metric;
    metric.set_receiving_interface_MAC(interfaces[link.interface].mac);
    metric.set_neighbor_interface_MAC(link.mac);
    metric.set_link_metric_information(information);
    tlv.add_receiver_link_metric(metric);
  }
  return tlv;
}

DeviceBridgingCapabilityTLV bridging_capability(const std::vector<LocalInterface>& interfaces) {
  std::map<std::string, DeviceBridgingTuple> bridges;
  for (std::size_t index = 0; index < interfaces.size(); ++index) {
    if (!interfaces[index].bridge.empty() && reported_as(interfaces, index) == index) {
      bridges[interfaces[index].bridge].add_mac_address(interfaces[index].mac);
    }
  }
  DeviceBridgingCapabilityTLV tlv;
  for (const auto& [name, tuple] : bridges) {
    if (tuple.get_mac_address_vector().size() > 1) {
      tlv.add_bridging_tuple(tuple);
    }
  }
  return tlv;
}

InterfaceInformation interface_information(const LocalInterface& interface, const InterfaceState& state) {
  if (interface.wlan) {
    return {interface.mac, InterfaceType::WLAN, static_cast<_InterfaceMode>(interface.wlan->mode),
            interface.wlan->information};
  }
  return {interface.mac, InterfaceType::ETHERNET, mode_of(state)};
}

}  // namespace meshd
