#include "tools/meshd/entity/entity.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <utility>

#include "tools/meshd/entity/lldp.h"
#include "tools/meshd/entity/messages.h"
#include "tools/meshd/entity/received.h"

namespace meshd {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::MACAddress;

/// A response about 200 links takes about ten frames.
constexpr Reassembly::Limits REASSEMBLY_LIMITS{
    .messages = 16, .messages_of_a_sender = 2, .octets = 131'072, .age = std::chrono::seconds(2)};

}  // namespace

Entity::Entity(Config config, Ports& ports)
    : config_(std::move(config)),
      ports_(ports),
      sender_(config_.al_mac, ports),
      reassembly_(REASSEMBLY_LIMITS),
      neighbors_(config_.limits.links),
      inquirer_(config_.al_mac, config_.limits, config_.hold_time, neighbors_, sender_, ports),
      services_(config_.al_mac, config_.interfaces, blocked_, neighbors_, inquirer_.devices(), sender_, ports),
      blocked_(config_.interfaces.size()) {
  if (config_.interfaces.size() > MAX_INTERFACES) {
    throw std::invalid_argument("more than " + std::to_string(MAX_INTERFACES) + " interfaces");
  }
  if (!std::ranges::all_of(config_.interfaces, &LocalInterface::is_there)) {
    throw std::invalid_argument("an interface has no name");
  }
  if (!is_valid_individual_mac_address(config_.al_mac)) {
    throw std::invalid_argument(config_.al_mac.to_string() + " is not an individual MAC address");
  }
  services_.answer_own_queries(
      [this](std::uint16_t message_id, TimePoint now) { return own_topology_response(message_id, now); });
}

void Entity::announce(TimePoint now) {
  for (std::size_t interface = 0; interface < config_.interfaces.size(); ++interface) {
    announce_on(interface);
  }
  inquirer_.ask_neighbors(now);
  for (const Neighbor& neighbor : neighbors_.all()) {
    tell_about_us(neighbor);
  }
}

void Entity::tend(TimePoint now) {
  on_links_lost(neighbors_.expire(now, config_.hold_time));
  has_changed_ = neighbors_.expire_unbridged(now) || has_changed_;
  reassembly_.expire(now);
  if (has_changed_) {
    const Message notification = topology_notification(config_.al_mac);
    for (std::size_t interface = 0; interface < config_.interfaces.size(); ++interface) {
      if (is_usable(interface)) {
        sender_.send(interface, CMDU_MULTICAST_ADDRESS, notification);
      }
    }
    has_changed_ = false;
  }
  inquirer_.tend(now);
  services_.tend(now);
}

void Entity::receive(std::size_t interface, std::span<const std::uint8_t> octets, TimePoint now) {
  Outcome outcome = &FrameCounts::ignored;
  if (!is_usable(interface)) {
    outcome = interface < blocked_.size() && blocked_[interface] ? &FrameCounts::blocked : outcome;
  } else if (is_lldp(octets)) {
    outcome = take_lldp(interface, octets, now);
  } else if (const std::optional<Frame> frame = codec_.parse(octets)) {
    outcome = take({interface, now, *frame});
    services_.deliver_own(now);
  }
  ++(counts_.*outcome);
}

Entity::Outcome Entity::take(const Received& received) {
  const MACAddress origin = originator(received.frame);
  if (origin == config_.al_mac || received.frame.source == config_.al_mac) {
    return &FrameCounts::own;
  }
  if (!received.frame.head.get_relay_indicator()) {  // a relayed message may come from a device further away
    neighbors_.hear(received.frame.source, received.interface, received.time);
  }
  if (!is_for_us(received)) {
    return &FrameCounts::foreign;
  }
  if (is_to_be_relayed(received)) {
    const DuplicateFilter::Verdict verdict =
        duplicates_.take(received.interface, origin, received.frame.head, received.time);
    if (verdict == DuplicateFilter::Verdict::DUPLICATE) {
      return &FrameCounts::duplicates;
    }
    relay(received, verdict == DuplicateFilter::Verdict::NEW);
  }
  return process(received);
}

FrameCounts Entity::counts() const {
  FrameCounts counts = counts_;
  counts.incomplete = reassembly_.count_incomplete() - reassembly_.count_messages();
  counts.truncated = devices().count_truncated();
  return counts;
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
  config_.interfaces.reserve(interface + 1);
  blocked_.resize(std::max(config_.interfaces.size(), interface + 1));
  config_.interfaces.resize(blocked_.size());
  blocked_[interface] = gone_blocked_.erase(added.name) != 0;
  config_.interfaces[interface] = std::move(added);
  has_changed_ = true;
  try {
    announce_on(interface);
  } catch (...) {
    config_.interfaces[interface] = {};
    throw;
  }
  return interface;
}

void Entity::remove_interface(std::size_t interface) {
  disconnect(interface);
  has_changed_ = true;
  LocalInterface& ours = config_.interfaces.at(interface);
  if (blocked_[interface]) {
    gone_blocked_.insert(std::move(ours.name));
  }
  ours = {};
  blocked_[interface] = false;
}

void Entity::replace_interface(std::size_t interface, LocalInterface renewed) {
  LocalInterface& ours = config_.interfaces.at(interface);
  has_changed_ = has_changed_ || renewed.mac != ours.mac || renewed.wlan != ours.wlan;
  ours = std::move(renewed);
  announce_on(interface);
}

void Entity::set_wlan(std::size_t interface, std::optional<WlanInterface> wlan) {
  LocalInterface& ours = config_.interfaces.at(interface);
  has_changed_ = has_changed_ || wlan != ours.wlan;
  ours.wlan = std::move(wlan);
}

void Entity::disconnect(std::size_t interface) {
  on_links_lost(neighbors_.disconnect(interface));
  inquirer_.forget();
}

void Entity::set_blocked(std::size_t interface, bool blocked) {
  if (blocked_[interface] == blocked) {
    return;
  }
  blocked_[interface] = blocked;
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
      const LocalInterface& ours = config_.interfaces[interface];
      blocked.emplace_back(ours.wlan ? InterfaceType::WLAN : InterfaceType::ETHERNET, ours.mac, ours.name,
                           BLOCKED_BOTH_WAYS);
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

std::vector<std::vector<MACAddress>> Entity::find_hosts(TimePoint now) const {
  return hosts_.find(config_.interfaces, ports_, neighbors_, devices(), now);
}

bool Entity::is_usable(std::size_t interface) const {
  return interface < blocked_.size() && config_.interfaces[interface].is_there() && !is_blocked(interface);
}

bool Entity::is_for_us(const Received& received) const {
  const MACAddress& destination = received.frame.destination;
  return destination == CMDU_MULTICAST_ADDRESS || destination == config_.al_mac ||
         destination == config_.interfaces[received.interface].mac;
}

bool Entity::is_to_be_relayed(const Received& received) const {
  return received.frame.head.get_relay_indicator() && received.frame.destination == CMDU_MULTICAST_ADDRESS;
}

/// Unchanged, and even if it is not understood (IEEE 1905.1-2013, 7.2).
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

void Entity::announce_on(std::size_t interface) {
  if (is_usable(interface)) {
    const MACAddress& mac = config_.interfaces[interface].mac;
    sender_.send(interface, CMDU_MULTICAST_ADDRESS, topology_discovery(config_.al_mac, mac));
    const auto time_to_live = std::chrono::ceil<std::chrono::seconds>(config_.hold_time);
    // After the discovery, which tells whose link it is.
    ports_.send(interface, encode_lldp({config_.al_mac, mac, time_to_live}));
  }
}

void Entity::tell_about_us(const Neighbor& neighbor) {
  sender_.send(neighbor.best_link().interface, neighbor.al_mac, meshd_version(config_.version));
  tell_blocked_interfaces(neighbor);
}

/// Sent even if none are blocked: the next message makes up for a lost one.
void Entity::tell_blocked_interfaces(const Neighbor& neighbor) {
  sender_.send(neighbor.best_link().interface, neighbor.al_mac, blocked_interface_list(blocked_interfaces()));
}

void Entity::on_links_lost(const std::vector<MACAddress>& al_macs) {
  for (const MACAddress& al_mac : al_macs) {
    has_changed_ = true;
    inquirer_.on_link_lost();
    if (neighbors_.find(al_mac) == nullptr) {
      ports_.on_neighbor_lost(al_mac);
    }
  }
}

}  // namespace meshd
