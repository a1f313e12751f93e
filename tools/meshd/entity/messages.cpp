#include "tools/meshd/entity/messages.h"

#include <map>
#include <string>
#include <utility>

#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/message_builder.h"
#include "qel/ieee1905_1/vendor/qel_meshd_version_tlv.h"
#include "qel/ieee1905_1/vendor/qel_message_type_tlv.h"

namespace meshd {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::BasicVersion;
using qel::MACAddress;

constexpr std::uint16_t GIGABIT = 1000;     // Mb/s
constexpr std::uint8_t RCPI_UNKNOWN = 255;  // a wire has none

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

/// Ports of one bridge make a tuple; a bridge with one of our interfaces alone joins nothing that we could tell of.
DeviceBridgingCapabilityTLV bridging_capability(const std::vector<LocalInterface>& interfaces) {
  std::map<std::string, DeviceBridgingTuple> bridges;
  for (const LocalInterface& interface : interfaces) {
    if (!interface.bridge.empty()) {
      bridges[interface.bridge].add_mac_address(interface.mac);
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

/// The neighbours that are reached over one interface.
IEEE1905NeighborDeviceTLV neighbors_on(std::size_t index, const MACAddress& mac, const NeighborTable& neighbors) {
  IEEE1905NeighborDeviceTLV tlv(mac);
  for (const Neighbor& neighbor : neighbors.all()) {
    for (const NeighborLink& link : neighbor.links) {
      if (link.interface == index) {
        tlv.add_AL_MAC_neighbor({neighbor.al_mac, IEEE802_1_Bridge::NO_IEEE802_1_BRIDGE});
        break;
      }
    }
  }
  return tlv;
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

Message topology_response(std::uint16_t message_id, const MACAddress& al_mac,
                          const std::vector<LocalInterface>& interfaces, const std::vector<InterfaceState>& states,
                          const NeighborTable& neighbors) {
  MessageBuilder message(MessageType::TOPOLOGY_RESPONSE_MESSAGE, message_id);
  DeviceInformationTLV device(al_mac);
  for (std::size_t index = 0; index < interfaces.size(); ++index) {
    if (interfaces[index].is_there()) {
      device.add_interface_information(interface_information(interfaces[index], states[index]));
    }
  }
  message.add(std::move(device));
  if (DeviceBridgingCapabilityTLV bridging = bridging_capability(interfaces);
      !bridging.get_bridging_tuple_vector().empty()) {
    message.add(std::move(bridging));
  }
  for (std::size_t index = 0; index < interfaces.size(); ++index) {
    if (IEEE1905NeighborDeviceTLV tlv = neighbors_on(index, interfaces[index].mac, neighbors);
        !tlv.get_AL_MAC_neighbor_vector().empty()) {
      message.add(std::move(tlv));
    }
  }
  return message.build();
}

Message link_metric_query() {
  LinkMetricQueryTLV query;
  query.set_query_neighbor(LinkMetricQueryNeighbors::ALL_NEIGHBORS);
  query.set_link_metric(LinkMetricQuery::TX_RX_LINK_METRY);
  return make_message(MessageType::LINK_METRIC_QUERY_MESSAGE, make_IEEE1905_1_msg_id(), query);
}

Message link_metric_response(std::uint16_t message_id, const MACAddress& al_mac, const LinkMetricQueryTLV& query,
                             const std::vector<LocalInterface>& interfaces, const std::vector<InterfaceState>& states,
                             const NeighborTable& neighbors) {
  MessageBuilder message(MessageType::LINK_METRIC_RESPONSE_MESSAGE, message_id);
  const bool is_specific = query.get_query_neighbor() == LinkMetricQueryNeighbors::SPECIFIC_NEIGHBOR;
  if (is_specific && neighbors.find(query.get_AL_MAC_neighbor()) == nullptr) {
    return message.add(LinkMetricResultCodeTLV(LinkMetricResultCode::INVALID_NEIGHBOR)).build();
  }
  for (const Neighbor& neighbor : neighbors.all()) {
    if (is_specific && neighbor.al_mac != query.get_AL_MAC_neighbor()) {
      continue;
    }
    if (query.get_link_metric() != LinkMetricQuery::RX_LINK_METRIC_ONLY) {
      message.add(transmitter_metrics(al_mac, neighbor, interfaces, states));
    }
    if (query.get_link_metric() != LinkMetricQuery::TX_LINK_METRIC_ONLY) {
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
  if (!blocked.empty()) {
    QELBlockedInterfaceListTLV list;
    for (const QELBlockedInterface& interface : blocked) {
      list.add_blocked_interface(interface);
    }
    message.add(std::move(list));
  }
  return message.build();
}

TransmitterLinkMetricTLV transmitter_metrics(const MACAddress& al_mac, const Neighbor& neighbor,
                                             const std::vector<LocalInterface>& interfaces,
                                             const std::vector<InterfaceState>& states) {
  TransmitterLinkMetricTLV tlv(al_mac, neighbor.al_mac);
  for (const NeighborLink& link : neighbor.links) {
    const InterfaceState& state = states[link.interface];
    TransmitterLinkMetricInformation information;
    information.set_interface_type(InterfaceType::ETHERNET);
    information.set_interface_mode(mode_of(state));
    information.set_bridge_flag(TransmitterLinkMetricBridgeFlags::NO_IEEE802_1_BRIDGE);
    information.set_packet_errors(state.send_errors);
    information.set_transmitted_packets(state.sent_packets);
    information.set_mac_throughput_capacity(state.speed);
    information.set_link_availability(state.up ? 100 : 0);
    information.set_phy_rate(state.speed);
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
  for (const NeighborLink& link : neighbor.links) {
    const InterfaceState& state = states[link.interface];
    ReceiverLinkMetricInformation information;
    information.set_interface_type(InterfaceType::ETHERNET);
    information.set_interface_mode(mode_of(state));
    information.set_packet_errors(state.receive_errors);
    information.set_packets_received(state.received_packets);
    information.set_RCPI(RCPI_UNKNOWN);
    ReceiverLinkMetric metric;
    metric.set_receiving_interface_MAC(interfaces[link.interface].mac);
    metric.set_neighbor_interface_MAC(link.mac);
    metric.set_link_metric_information(information);
    tlv.add_receiver_link_metric(metric);
  }
  return tlv;
}

InterfaceInformation interface_information(const LocalInterface& interface, const InterfaceState& state) {
  return {interface.mac, InterfaceType::ETHERNET, mode_of(state)};
}

}  // namespace meshd
