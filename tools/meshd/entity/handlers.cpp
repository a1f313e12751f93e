// How the entity handles the messages that are addressed to it.

#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/vendor/qel_meshd_version_tlv.h"
#include "qel/ieee1905_1/vendor/qel_message_type_tlv.h"
#include "tools/meshd/entity/entity.h"
#include "tools/meshd/entity/lldp.h"
#include "tools/meshd/entity/received.h"

namespace meshd {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::MACAddress;

/// An LLDP frame is trusted for no longer than this, since a bridge may be inserted into the link.
constexpr std::chrono::seconds LONGEST_LLDP_TIME = std::chrono::minutes(30);

/// The message lacks a TLV that is required, or cannot be decoded where it must be.
class Rejection : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

using Entry = LenientMessage::Entry;

/// The address that the message names; it must have one.
template <class T>
const MACAddress& named_address(const LenientMessage& message) {
  return message.message.find<T>()->get_MAC();
}

const Entry* find_entry(const LenientMessage& message, TLVType type) {
  const auto place = std::ranges::find_if(message.entries, [&](const Entry& entry) { return entry.raw.type == type; });
  return place == message.entries.end() ? nullptr : &*place;
}

std::string place_of(TLVType type, std::size_t offset) {
  return " in " + enum_to_string(type) + " at offset " + std::to_string(offset);
}

/// Throws Rejection unless there is a TLV of the type that could be decoded.
void require(const LenientMessage& message, TLVType type) {
  if (std::ranges::any_of(message.entries,
                          [&](const Entry& entry) { return entry.raw.type == type && entry.tlv != nullptr; })) {
    return;
  }
  const Entry* entry = find_entry(message, type);
  throw Rejection(entry == nullptr ? "no " + enum_to_string(type) : entry->error + place_of(type, entry->raw.offset));
}

}  // namespace

struct Entity::Handler {
  /// How the message must arrive; otherwise it is ignored.
  enum class Way : std::uint8_t {
    ANY,
    NOT_RELAYED,  ///< from a neighbour
    TO_US_ALONE,  ///< if relayed, the whole mesh would answer to the address that its sender names
  };

  static constexpr TLVType NONE = TLVType::END_OF_MESSAGE;

  MessageType type;
  Way way;
  std::array<TLVType, 2> needed;  ///< required TLVs; if one is missing or cannot be decoded, the message is rejected
  Outcome (Entity::*take)(const Received&, const LenientMessage&);

  bool accepts(const Frame& frame) const {
    return (way != Way::NOT_RELAYED || !frame.head.get_relay_indicator()) &&
           (way != Way::TO_US_ALONE || frame.destination != CMDU_MULTICAST_ADDRESS);
  }
};

const Entity::Handler* Entity::find_handler(MessageType type) {
  using enum MessageType;
  using enum Handler::Way;
  constexpr TLVType NONE = Handler::NONE;
  static constexpr Handler HANDLERS[] = {
      {TOPOLOGY_DISCOVERY_MESSAGE,
       NOT_RELAYED,
       {TLVType::AL_MAC_ADDRESS, TLVType::MAC_ADDRESS},
       &Entity::on_topology_discovery},
      {TOPOLOGY_NOTIFICATION_MESSAGE, ANY, {NONE, NONE}, &Entity::on_topology_notification},
      {TOPOLOGY_QUERY_MESSAGE, TO_US_ALONE, {NONE, NONE}, &Entity::on_topology_query},
      {TOPOLOGY_RESPONSE_MESSAGE, ANY, {TLVType::DEVICE_INFORMATION, NONE}, &Entity::on_topology_response},
      {LINK_METRIC_QUERY_MESSAGE, TO_US_ALONE, {NONE, NONE}, &Entity::on_link_metric_query},
      {LINK_METRIC_RESPONSE_MESSAGE, ANY, {NONE, NONE}, &Entity::on_link_metric_response},
      {VENDOR_SPECIFIC_MESSAGE, ANY, {NONE, NONE}, &Entity::on_vendor_specific},
  };
  const auto* const handler = std::ranges::find(HANDLERS, type, &Handler::type);
  return handler == std::ranges::end(HANDLERS) ? nullptr : handler;
}

Entity::Outcome Entity::process(const Received& received) {
  const Handler* handler = find_handler(received.frame.head.get_message_type());
  if (handler == nullptr ? services_.empty() : !handler->accepts(received.frame)) {
    return &FrameCounts::ignored;
  }
  try {
    if (!received.frame.head.is_fragmented()) {
      return dispatch(handler, received, received.frame.cmdu());
    }
    const auto whole = reassembly_.add(received.frame.source, received.frame.cmdu(), received.time);
    return whole ? dispatch(handler, received, *whole) : &FrameCounts::fragments;
  } catch (const Rejection& exception) {
    ports_.on_rejected(received.frame, exception.what());
    return &FrameCounts::rejected;
  }
}

/// `handler` is null for a message that only services understand.
Entity::Outcome Entity::dispatch(const Handler* handler, const Received& received, std::span<const std::uint8_t> cmdu) {
  const LenientMessage message = codec_.decode_leniently(cmdu);
  if (message.end != TLVWalkEnd::END_OF_MESSAGE) {
    throw Rejection(enum_to_string(message.end) + " at offset " + std::to_string(message.end_offset));
  }
  Outcome outcome = &FrameCounts::ignored;
  if (handler != nullptr) {
    for (const TLVType type : handler->needed) {
      if (type != Handler::NONE) {
        require(message, type);
      }
    }
    outcome = (this->*handler->take)(received, message);
  }
  if (deliver(received, message)) {
    outcome = &FrameCounts::processed;
  } else if (handler == nullptr) {
    return outcome;
  }
  for (const Entry& entry : message.entries) {
    counts_.unknown_tlvs += entry.has_class() ? 0U : 1U;
    counts_.malformed_tlvs += entry.has_class() && entry.tlv == nullptr ? 1U : 0U;
  }
  return outcome;
}

/// Returns whether it was of use to a service.
bool Entity::deliver(const Received& received, const LenientMessage& message) {
  if (services_.empty()) {
    return false;
  }
  const bool is_to_all = received.frame.destination == CMDU_MULTICAST_ADDRESS;
  const auto* named = is_to_all ? message.message.find<ALMACAddressTLV>() : nullptr;
  const LocalInterface& interface = config_.interfaces[received.interface];
  return services_.deliver(
      {named != nullptr ? named->get_MAC() : services_.resolve(received.frame.source, received.interface),
       interface.name, is_to_all, received.time, message, interface.is_backhaul});
}

Entity::Outcome Entity::on_topology_discovery(const Received& received, const LenientMessage& message) {
  const MACAddress& al_mac = named_address<ALMACAddressTLV>(message);
  const MACAddress& mac = named_address<InterfaceMACAddressTLV>(message);
  if (!is_valid_individual_mac_address(al_mac) || !is_non_zero_individual_mac_address(mac) || mac == config_.al_mac ||
      neighbors_.contradicts(al_mac, mac)) {
    return &FrameCounts::ignored;
  }
  on_links_lost(neighbors_.drop_claims_to(al_mac));
  NeighborTable::Discovery discovery = neighbors_.discover(al_mac, received.interface, mac, received.time);
  if (discovery == NeighborTable::Discovery::TABLE_FULL) {
    const std::vector<MACAddress> lost = neighbors_.make_room(received.interface);
    if (lost.empty()) {
      return &FrameCounts::ignored;
    }
    on_links_lost(lost);
    discovery = neighbors_.discover(al_mac, received.interface, mac, received.time);
  }
  if (discovery == NeighborTable::Discovery::REFRESHED) {
    return &FrameCounts::processed;
  }
  has_changed_ = true;
  if (const Device* device = devices().find(al_mac); device != nullptr && device->answered_at) {
    neighbors_.prove(al_mac, device->told);
  }
  announce_on(received.interface);  // first, since the neighbour accepts answers only from devices that it knows
  if (discovery == NeighborTable::Discovery::NEW_NEIGHBOR) {
    const Neighbor& neighbor = *neighbors_.find(al_mac);
    ports_.on_neighbor_found(neighbor, received.interface);
    inquirer_.meet(al_mac, received.time);
    tell_about_us(neighbor);
  }
  return &FrameCounts::processed;
}

/// Some devices omit the AL MAC that the standard requires.
Entity::Outcome Entity::on_topology_notification(const Received& received, const LenientMessage&) {
  return inquirer_.on_notification(originator(received.frame), received.interface, received.time)
             ? &FrameCounts::processed
             : &FrameCounts::ignored;
}

bool Entity::may_answer(const Received& received) {
  const MACAddress& source = received.frame.source;
  if (NeighborLink* link = neighbors_.find_link(source, received.interface)) {
    return limits_.take(AnswerLimits::Asker::LINK, link->answers, received.time);
  }
  if (Device* device = inquirer_.devices().find(source); device != nullptr && device->hops > 1) {
    return limits_.take(AnswerLimits::Asker::FAR_DEVICE, device->answers, received.time);
  }
  return limits_.take(received.interface, received.time);
}

template <class MakeAnswer>
Entity::Outcome Entity::answer(const Received& received, MakeAnswer make_answer) {
  if (!may_answer(received)) {
    return &FrameCounts::unanswered;
  }
  const std::size_t frames =
      sender_.send(received.interface, received.frame.source, make_answer(received.frame.head.get_message_id()));
  limits_.charge(static_cast<int>(frames) - 1);
  return &FrameCounts::processed;
}

Entity::Outcome Entity::on_topology_query(const Received& received, const LenientMessage&) {
  return answer(received, [&](std::uint16_t message_id) { return own_topology_response(message_id, received.time); });
}

Message Entity::own_topology_response(std::uint16_t message_id, TimePoint now) const {
  return topology_response(message_id, {config_.al_mac, config_.version, config_.interfaces, read_states(),
                                        find_hosts(now), blocked_interfaces(), neighbors_, &services_});
}

Entity::Outcome Entity::on_link_metric_query(const Received& received, const LenientMessage& message) {
  const Entry* query = find_entry(message, TLVType::LINK_METRIC_QUERY);
  const auto question = query == nullptr ? std::nullopt : read_link_metric_query(query->raw.body);
  if (!question) {
    throw Rejection(query == nullptr ? "no " + enum_to_string(TLVType::LINK_METRIC_QUERY)
                                     : "Unsupported query" + place_of(query->raw.type, query->raw.offset));
  }
  return answer(received, [&](std::uint16_t message_id) {
    return link_metric_response(message_id, *question, config_.al_mac, config_.interfaces, read_states(), neighbors_);
  });
}

Entity::Outcome Entity::on_topology_response(const Received& received, const LenientMessage& message) {
  const MACAddress al_mac = message.message.find<DeviceInformationTLV>()->get_AL_MAC();
  const Device* device =
      inquirer_.take_topology(received.frame.source, received.interface, message.message, received.time);
  if (device == nullptr) {
    return &FrameCounts::unasked;
  }
  neighbors_.prove(al_mac, device->told);
  neighbors_.hear(al_mac, received.interface, received.time);
  return &FrameCounts::processed;
}

Entity::Outcome Entity::on_link_metric_response(const Received& received, const LenientMessage& message) {
  const std::optional<MACAddress> al_mac =
      inquirer_.take_metrics(received.frame.source, message.message, received.time);
  if (!al_mac) {
    return &FrameCounts::unasked;
  }
  neighbors_.hear(*al_mac, received.interface, received.time);
  return &FrameCounts::processed;
}

Entity::Outcome Entity::on_vendor_specific(const Received& received, const LenientMessage& message) {
  const Neighbor* neighbor = neighbors_.find_sender(received.frame.source);
  Device* device = neighbor == nullptr ? nullptr : inquirer_.devices().find(neighbor->al_mac);
  if (device == nullptr) {
    return &FrameCounts::ignored;
  }
  switch (get_qel_message_type(message.message)) {
    case QELMessageType::QEL_MESHD_VERSION_MESSAGE: {
      const auto* version = message.message.find_vendor<QELMeshdVersionTLV>();
      if (version == nullptr) {
        return &FrameCounts::ignored;
      }
      device->told.meshd_version = version->get_major_and_minor();
      return &FrameCounts::processed;
    }
    case QELMessageType::QEL_BLOCKED_INTERFACE_LIST_MESSAGE:
      inquirer_.devices().take_blocked(*device, read_blocked_interfaces(message.message));
      return &FrameCounts::processed;
    default:
      return &FrameCounts::ignored;
  }
}

/// LLDP from devices without 1905.1, which is common, means nothing to us.
Entity::Outcome Entity::take_lldp(std::size_t interface, std::span<const std::uint8_t> octets, TimePoint now) {
  const std::optional<LldpNotice> notice = parse_lldp(octets);
  if (!notice || neighbors_.find(notice->al_mac) == nullptr) {
    return notice && notice->al_mac == config_.al_mac ? &FrameCounts::own : &FrameCounts::ignored;
  }
  // The neighbour may announce itself less often than we do, so its time to live counts if it is longer than ours.
  std::optional<TimePoint> until;
  if (notice->time_to_live != std::chrono::seconds::zero()) {
    until =
        now + std::max<std::chrono::milliseconds>(config_.hold_time, std::min(notice->time_to_live, LONGEST_LLDP_TIME));
  }
  has_changed_ = neighbors_.hear_unbridged(notice->al_mac, interface, notice->interface, until) || has_changed_;
  return &FrameCounts::processed;
}

}  // namespace meshd
