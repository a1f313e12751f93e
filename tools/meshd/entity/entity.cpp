#include "tools/meshd/entity/entity.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/vendor/qel_blocked_interface_list_tlv.h"
#include "qel/ieee1905_1/vendor/qel_meshd_version_tlv.h"
#include "qel/ieee1905_1/vendor/qel_message_type_tlv.h"
#include "qel/ieee1905_1/vendor/vendor_specific_tlv.h"
#include "tools/meshd/entity/messages.h"

namespace meshd {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::MACAddress;

/// The link that was heard of last.
const NeighborLink& best_link(const Neighbor& neighbor) {
  return *std::max_element(
      neighbor.links.begin(), neighbor.links.end(),
      [](const NeighborLink& left, const NeighborLink& right) { return left.last_heard < right.last_heard; });
}

/// The address that the message names, zero when it names none.
template <class T>
MACAddress named_address(const Message& message) {
  const T* tlv = message.find<T>();
  return tlv == nullptr ? MACAddress() : tlv->get_MAC();
}

/// Copies of all TLVs of the class.
template <class T>
std::vector<T> collect(const Message& message) {
  const auto range = message.all<T>();
  return {range.begin(), range.end()};
}

bool is_understood(MessageType type) {
  switch (type) {
    case MessageType::TOPOLOGY_DISCOVERY_MESSAGE:
    case MessageType::TOPOLOGY_NOTIFICATION_MESSAGE:
    case MessageType::TOPOLOGY_QUERY_MESSAGE:
    case MessageType::TOPOLOGY_RESPONSE_MESSAGE:
    case MessageType::VENDOR_SPECIFIC_MESSAGE:
    case MessageType::LINK_METRIC_QUERY_MESSAGE:
    case MessageType::LINK_METRIC_RESPONSE_MESSAGE:
      return true;
    default:
      return false;
  }
}

bool is_valid(const LinkMetricQueryTLV& query) {
  return query.get_query_neighbor() <= LinkMetricQueryNeighbors::SPECIFIC_NEIGHBOR &&
         query.get_link_metric() <= LinkMetricQuery::TX_RX_LINK_METRY;
}

}  // namespace

struct Entity::Received {
  std::size_t interface;
  TimePoint time;
  const Frame& frame;
};

Entity::Entity(Config config, Ports& ports)
    : config_(std::move(config)), ports_(ports), neighbors_(config_.limits.links), slots_(config_.interfaces.size()) {
  if (config_.interfaces.size() > MAX_INTERFACES) {
    throw std::invalid_argument("more than " + std::to_string(MAX_INTERFACES) + " interfaces");
  }
  if (!std::ranges::all_of(config_.interfaces, &LocalInterface::is_there)) {
    throw std::invalid_argument("an interface has no name");
  }
  if (!is_valid_individual_mac_address(config_.al_mac)) {
    throw std::invalid_argument(config_.al_mac.to_string() + " is no individual MAC address");
  }
}

void Entity::announce(TimePoint) {
  for (std::size_t interface = 0; interface < config_.interfaces.size(); ++interface) {
    announce_on(interface);
  }
  for (Neighbor& neighbor : neighbors_.all()) {
    ask(neighbor);
  }
}

void Entity::tend(TimePoint now) {
  on_links_lost(neighbors_.expire(now - config_.hold_time));
  if (std::exchange(has_changed_, false)) {
    const Message notification = topology_notification(config_.al_mac);
    for (std::size_t interface = 0; interface < config_.interfaces.size(); ++interface) {
      if (is_usable(interface)) {
        send(interface, CMDU_MULTICAST_ADDRESS, notification);
      }
    }
  }
  for (Neighbor& neighbor : neighbors_.all()) {
    if (neighbor.is_stale) {
      ask(neighbor);
    }
  }
}

void Entity::receive(std::size_t interface, std::span<const std::uint8_t> octets, TimePoint now) {
  const std::optional<Frame> frame = codec_.parse(octets);
  if (!frame || !is_usable(interface)) {
    ++counts_.ignored;
    return;
  }
  const Received received{interface, now, *frame};
  const MACAddress origin = originator(*frame);
  if (origin == config_.al_mac || frame->source == config_.al_mac) {
    ++counts_.own;
    return;
  }
  if (!frame->head.get_relay_indicator()) {  // else it may have come from behind somebody
    neighbors_.hear(frame->source, interface, now);
  }
  if (!is_for_us(received)) {
    ++counts_.ignored;
    return;
  }
  if (is_to_be_relayed(received)) {
    const DuplicateFilter::Verdict verdict = duplicates_.take(interface, origin, frame->head, now);
    if (verdict == DuplicateFilter::Verdict::DUPLICATE) {
      ++counts_.duplicates;
      return;
    }
    relay(received, verdict == DuplicateFilter::Verdict::NEW);
  }
  process(received);
}

std::size_t Entity::add_interface(LocalInterface added) {
  if (!added.is_there()) {
    throw std::invalid_argument("an interface has no name");
  }
  const auto free = std::ranges::find_if_not(config_.interfaces, &LocalInterface::is_there);
  const auto interface = static_cast<std::size_t>(free - config_.interfaces.begin());
  if (interface == MAX_INTERFACES) {
    throw std::invalid_argument("more than " + std::to_string(MAX_INTERFACES) + " interfaces");
  }
  config_.interfaces.resize(std::max(config_.interfaces.size(), interface + 1));
  slots_.resize(config_.interfaces.size());
  config_.interfaces[interface] = std::move(added);
  has_changed_ = true;
  announce_on(interface);
  return interface;
}

void Entity::remove_interface(std::size_t interface) {
  disconnect(interface);
  has_changed_ = true;
  config_.interfaces.at(interface) = {};
  slots_[interface] = {};
}

void Entity::replace_interface(std::size_t interface, LocalInterface renewed) {
  LocalInterface& ours = config_.interfaces.at(interface);
  has_changed_ = has_changed_ || renewed.mac != ours.mac;
  ours = std::move(renewed);
  announce_on(interface);
}

void Entity::disconnect(std::size_t interface) { on_links_lost(neighbors_.disconnect(interface)); }

void Entity::set_blocked(std::size_t interface, bool blocked) {
  if (slots_[interface].is_blocked == blocked) {
    return;
  }
  slots_[interface].is_blocked = blocked;
  for (const Neighbor& neighbor : neighbors_.all()) {
    tell_blocked_interfaces(neighbor);
  }
  if (blocked) {
    disconnect(interface);
  } else {
    announce_on(interface);
  }
}

std::vector<QELBlockedInterface> Entity::blocked_interfaces() const {
  std::vector<QELBlockedInterface> blocked;
  for (std::size_t interface = 0; interface < config_.interfaces.size(); ++interface) {
    if (is_blocked(interface)) {
      blocked.emplace_back(InterfaceType::ETHERNET, config_.interfaces[interface].mac,
                           config_.interfaces[interface].name, BLOCKED_BOTH_WAYS);
    }
  }
  return blocked;
}

std::vector<InterfaceState> Entity::read_states() const {
  std::vector<InterfaceState> states;
  for (std::size_t interface = 0; interface < config_.interfaces.size(); ++interface) {
    states.push_back(config_.interfaces[interface].is_there() ? ports_.read_state(interface) : InterfaceState());
  }
  return states;
}

bool Entity::is_usable(std::size_t interface) const {
  return interface < slots_.size() && config_.interfaces[interface].is_there() && !is_blocked(interface);
}

bool Entity::is_for_us(const Received& received) const {
  const MACAddress& destination = received.frame.destination;
  return destination == CMDU_MULTICAST_ADDRESS || destination == config_.al_mac ||
         destination == config_.interfaces[received.interface].mac;
}

bool Entity::is_to_be_relayed(const Received& received) const {
  return received.frame.head.get_relay_indicator() && received.frame.destination == CMDU_MULTICAST_ADDRESS;
}

/// Unchanged, and whether or not it is understood (IEEE 1905.1-2013, 7.2).
void Entity::relay(const Received& received, bool has_room) {
  bool has_way = false;
  for (std::size_t interface = 0; interface < config_.interfaces.size(); ++interface) {
    if (interface != received.interface && is_usable(interface)) {
      has_way = true;
      if (has_room) {
        ports_.send(interface, received.frame.octets);
      }
    }
  }
  (has_room ? counts_.relayed : counts_.unrelayed) += has_way ? 1 : 0;
}

/// A question to all would have all of the mesh answer to an address that anybody can forge: only one that is put to us
/// alone is answered, as the standard has it, and not more often than a neighbour needs.
bool Entity::may_answer(const Received& received) {
  if (received.frame.destination == CMDU_MULTICAST_ADDRESS) {
    return false;
  }
  NeighborLink* link = neighbors_.find_link(received.frame.source, received.interface);
  TokenBucket& bucket = link != nullptr ? link->answers : slots_[received.interface].stranger_answers;
  if (bucket.take(received.time) && answers_.take(received.time)) {
    return true;
  }
  ++counts_.unanswered;
  return false;
}

void Entity::process(const Received& received) {
  if (!is_understood(received.frame.head.get_message_type())) {
    ++counts_.ignored;
    return;
  }
  try {
    if (received.frame.head.is_fragmented()) {
      throw qel::serialization::SerializationException("Fragments are not put together");
    }
    const Message message = codec_.decode(received.frame);
    ++(dispatch(received, message) ? counts_.processed : counts_.ignored);
  } catch (const DecodeException& exception) {
    ++counts_.rejected;
    ports_.on_rejected(received.frame, std::string(exception.what()) + ' ' + exception.place());
  } catch (const qel::serialization::SerializationException& exception) {
    ++counts_.rejected;
    ports_.on_rejected(received.frame, exception.what());
  }
}

bool Entity::dispatch(const Received& received, const Message& message) {
  switch (message.get_head().get_message_type()) {
    case MessageType::TOPOLOGY_DISCOVERY_MESSAGE:
      return on_topology_discovery(received, message);
    case MessageType::TOPOLOGY_NOTIFICATION_MESSAGE:
      return on_topology_notification(message);
    case MessageType::TOPOLOGY_QUERY_MESSAGE:
      return on_topology_query(received);
    case MessageType::TOPOLOGY_RESPONSE_MESSAGE:
      return on_topology_response(received, message);
    case MessageType::VENDOR_SPECIFIC_MESSAGE:
      return on_vendor_specific(received, message);
    case MessageType::LINK_METRIC_QUERY_MESSAGE:
      return on_link_metric_query(received, message);
    case MessageType::LINK_METRIC_RESPONSE_MESSAGE:
      return on_link_metric_response(received, message);
    default:
      return false;
  }
}

bool Entity::on_topology_discovery(const Received& received, const Message& message) {
  const MACAddress al_mac = named_address<ALMACAddressTLV>(message);
  const MACAddress mac = named_address<InterfaceMACAddressTLV>(message);
  if (!is_valid_individual_mac_address(al_mac) || !is_non_zero_individual_mac_address(mac)) {
    return false;
  }
  if (message.get_head().get_relay_indicator()) {  // whoever sent it is no neighbour: discoveries are not relayed
    return false;
  }
  if (mac == config_.al_mac || neighbors_.contradicts(al_mac, mac)) {
    return false;
  }
  on_links_lost(neighbors_.drop_claims_to(al_mac));
  NeighborTable::Discovery discovery = neighbors_.discover(al_mac, received.interface, mac, received.time);
  if (discovery == NeighborTable::Discovery::TABLE_FULL) {
    const std::vector<MACAddress> lost = neighbors_.make_room(received.interface);
    if (lost.empty()) {
      return false;
    }
    on_links_lost(lost);
    discovery = neighbors_.discover(al_mac, received.interface, mac, received.time);
  }
  if (discovery == NeighborTable::Discovery::REFRESHED) {
    return true;
  }
  has_changed_ = true;
  announce_on(received.interface);  // first, since it believes only whom it knows
  if (discovery == NeighborTable::Discovery::NEW_NEIGHBOR) {
    Neighbor& neighbor = *neighbors_.find(al_mac);
    ports_.on_neighbor_found(neighbor, received.interface);
    ask(neighbor);
  }
  return true;
}

/// It is asked later: whoever sends many notifications gets few questions.
bool Entity::on_topology_notification(const Message& message) {
  Neighbor* neighbor = neighbors_.find(named_address<ALMACAddressTLV>(message));
  if (neighbor == nullptr) {
    return false;
  }
  neighbor->is_stale = true;
  return true;
}

bool Entity::on_topology_query(const Received& received) {
  if (!may_answer(received)) {
    return false;
  }
  send(received.interface, received.frame.source,
       topology_response(received.frame.head.get_message_id(), config_.al_mac, config_.interfaces, read_states(),
                         neighbors_));
  return true;
}

bool Entity::on_topology_response(const Received& received, const Message& message) {
  Neighbor* neighbor = take_answer(received, &Neighbor::topology_questions);
  const auto* device = message.find<DeviceInformationTLV>();
  if (neighbor == nullptr || device == nullptr || device->get_AL_MAC() != neighbor->al_mac) {
    return false;
  }
  neighbor->device = *device;
  neighbor->neighbors = collect<IEEE1905NeighborDeviceTLV>(message);
  return true;
}

bool Entity::on_link_metric_query(const Received& received, const Message& message) {
  const auto* query = message.find<LinkMetricQueryTLV>();
  if (query == nullptr || !is_valid(*query) || !may_answer(received)) {
    return false;
  }
  send(received.interface, received.frame.source,
       link_metric_response(received.frame.head.get_message_id(), config_.al_mac, *query, config_.interfaces,
                            read_states(), neighbors_));
  return true;
}

bool Entity::on_link_metric_response(const Received& received, const Message& message) {
  Neighbor* neighbor = take_answer(received, &Neighbor::link_metric_questions);
  if (neighbor == nullptr) {
    return false;
  }
  neighbor->transmitter_metrics = collect<TransmitterLinkMetricTLV>(message);
  neighbor->receiver_metrics = collect<ReceiverLinkMetricTLV>(message);
  const auto is_about_another = [neighbor](const auto& tlv) { return tlv.get_local_AL_MAC() != neighbor->al_mac; };
  std::erase_if(neighbor->transmitter_metrics, is_about_another);
  std::erase_if(neighbor->receiver_metrics, is_about_another);
  return true;
}

bool Entity::on_vendor_specific(const Received& received, const Message& message) {
  Neighbor* neighbor = neighbors_.find_sender(received.frame.source);
  if (neighbor == nullptr) {
    return false;
  }
  switch (get_qel_message_type(message)) {
    case QELMessageType::QEL_MESHD_VERSION_MESSAGE: {
      const auto* version = message.find_vendor<QELMeshdVersionTLV>();
      if (version == nullptr) {
        return false;
      }
      neighbor->meshd_version = version->get_major_and_minor();
      return true;
    }
    case QELMessageType::QEL_BLOCKED_INTERFACE_LIST_MESSAGE: {
      const auto* list = message.find_vendor<QELBlockedInterfaceListTLV>();
      neighbor->blocked_interfaces =
          list == nullptr ? std::vector<QELBlockedInterface>() : list->get_blocked_interfaces();
      return true;
    }
    default:
      return false;
  }
}

void Entity::announce_on(std::size_t interface) {
  if (is_usable(interface)) {
    send(interface, CMDU_MULTICAST_ADDRESS, topology_discovery(config_.al_mac, config_.interfaces[interface].mac));
  }
}

void Entity::ask(Neighbor& neighbor) {
  neighbor.is_stale = false;
  const std::size_t interface = best_link(neighbor).interface;
  const Message topology = topology_query();
  neighbor.topology_questions.ask(topology.get_head().get_message_id());
  send(interface, neighbor.al_mac, topology);
  const Message metrics = link_metric_query();
  neighbor.link_metric_questions.ask(metrics.get_head().get_message_id());
  send(interface, neighbor.al_mac, metrics);
  send(interface, neighbor.al_mac, meshd_version(config_.version));
  tell_blocked_interfaces(neighbor);
}

/// The neighbour whose answer this is: it is alive.
Neighbor* Entity::take_answer(const Received& received, Questions Neighbor::*questions) {
  Neighbor* neighbor = neighbors_.take_answer(received.frame.source, questions, received.frame.head.get_message_id());
  if (neighbor != nullptr) {
    neighbors_.hear(neighbor->al_mac, received.interface, received.time);
  }
  return neighbor;
}

/// Also that there are none: a message that was lost is made good by the next.
void Entity::tell_blocked_interfaces(const Neighbor& neighbor) {
  send(best_link(neighbor).interface, neighbor.al_mac, blocked_interface_list(blocked_interfaces()));
}

void Entity::on_links_lost(const std::vector<MACAddress>& al_macs) {
  for (const MACAddress& al_mac : al_macs) {
    has_changed_ = true;
    if (neighbors_.find(al_mac) == nullptr) {
      ports_.on_neighbor_lost(al_mac);
    }
  }
}

void Entity::send(std::size_t interface, const MACAddress& destination, const Message& message) {
  ports_.send(interface, codec_.encode(destination, config_.al_mac, message));
}

}  // namespace meshd
