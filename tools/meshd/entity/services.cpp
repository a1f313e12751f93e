#include "tools/meshd/entity/services.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <sstream>
#include <utility>

#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee1905_1/service_tlvs.h"

namespace meshd {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using multi_ap::Received;
using multi_ap::Service;
using qel::MACAddress;
using qel::serialization::SerializationException;

}  // namespace

Services::Services(const MACAddress& al_mac, const std::vector<LocalInterface>& interfaces,
                   const std::vector<bool>& blocked, const NeighborTable& neighbors, const DeviceMap& devices,
                   Sender& sender, Ports& ports)
    : al_mac_(al_mac),
      interfaces_(interfaces),
      blocked_(blocked),
      neighbors_(neighbors),
      devices_(devices),
      sender_(sender),
      ports_(ports) {}

/// On the way that the queries to the device take first.
bool Services::send(const MACAddress& al_mac, const Message& message) {
  if (al_mac == al_mac_) {
    return keep(message);
  }
  const Neighbor* neighbor = neighbors_.find(al_mac);
  const Device* device = devices_.find(al_mac);
  if (neighbor == nullptr && device == nullptr) {
    return false;
  }
  const std::size_t interface = neighbor != nullptr ? neighbor->best_link().interface : device->interface;
  if (!is_usable(interface)) {
    return false;
  }
  try {
    sender_.send(interface, al_mac, message);
    return true;
  } catch (const SerializationException&) {
    return false;
  }
}

void Services::send_to_all(const Message& message) {
  keep(message);
  try {
    for (std::size_t interface = 0; interface < interfaces_.size(); ++interface) {
      if (is_usable(interface)) {
        sender_.send(interface, CMDU_MULTICAST_ADDRESS, message);
      }
    }
  } catch (const SerializationException&) {  // NOLINT(bugprone-empty-catch): it cannot be sent at all
  }
}

bool Services::deliver(const Received& received) {
  bool was_of_use = false;
  for (Service* service : services_) {
    was_of_use = service->take(received) || was_of_use;
  }
  return was_of_use;
}

void Services::deliver_own(TimePoint now) {
  for (std::size_t count = own_.size(); count > 0; --count) {
    const Own own = std::move(own_.front());
    own_.pop_front();
    const MessageHead& head = own.content.message.get_head();
    if (head.get_message_type() == MessageType::TOPOLOGY_QUERY_MESSAGE && make_response_) {
      keep(make_response_(head.get_message_id(), now));
    }
    deliver({al_mac_, "", head.get_relay_indicator(), now, own.content});
  }
}

void Services::tend(TimePoint now) {
  if (services_.empty()) {
    return;
  }
  follow_devices(now);
  for (Service* service : services_) {
    service->tend(now);
  }
  deliver_own(now);
}

void Services::add_to_topology_response(MessageBuilder& builder) const {
  SupportedServiceTLV kinds;
  for (const Service* service : services_) {
    MessageBuilder additions(MessageType::TOPOLOGY_RESPONSE_MESSAGE, 0);
    service->add_to_topology_response(additions);
    Message message = additions.build();
    try {
      codec_.encode(al_mac_, al_mac_, message);
    } catch (const SerializationException&) {
      continue;  // one of its TLVs does not fit into a frame
    }
    for (std::unique_ptr<TLV>& tlv : message.get_list().get_TLV_list()) {
      if (const auto* supported = dynamic_cast<const SupportedServiceTLV*>(tlv.get())) {
        std::ranges::for_each(supported->get_service_vector(), [&](ServiceType kind) { kinds.add_service(kind); });
      } else if (dynamic_cast<const EndOfMessageTLV*>(tlv.get()) == nullptr) {
        builder.add(std::move(tlv));
      }
    }
  }
  if (!kinds.get_service_vector().empty()) {
    builder.add(std::move(kinds));
  }
}

MACAddress Services::resolve(const MACAddress& source, std::size_t interface) const {
  if (neighbors_.find(source) != nullptr || devices_.find(source) != nullptr) {
    return source;
  }
  if (const Neighbor* neighbor = neighbors_.find_sender(source)) {
    const bool is_proven = std::ranges::any_of(neighbor->links, [&](const NeighborLink& link) {
      return link.interface == interface && link.mac == source && link.standing == NeighborLink::Standing::PROVEN;
    });
    return is_proven ? neighbor->al_mac : source;
  }
  const auto owner =
      std::ranges::find_if(devices_.all(), [&](const auto& entry) { return entry.second.told.has_interface(source); });
  return owner == devices_.all().end() ? source : owner->first;
}

/// Returns false if there is no room, or if it cannot be encoded.
bool Services::keep(const Message& message) {
  if (own_.size() >= MOST_WAITING) {
    return false;
  }
  std::ostringstream sink;
  qel::serialization::SerializationContext context;
  try {
    encode(message, sink, context);
  } catch (const SerializationException&) {
    return false;
  }
  const std::string text = sink.str();
  Own own{{text.begin(), text.end()}, {}};
  own.content = codec_.decode_leniently(own.octets);
  own_.push_back(std::move(own));
  ports_.on_delivery_due();
  return true;
}

bool Services::is_usable(std::size_t interface) const {
  return interface < interfaces_.size() && interfaces_[interface].is_there() && !blocked_[interface];
}

void Services::follow_devices(TimePoint now) {
  std::set<MACAddress> there;
  for (const Neighbor& neighbor : neighbors_.all()) {
    there.insert(neighbor.al_mac);
  }
  for (const auto& [al_mac, device] : devices_.all()) {
    if (device.is_found) {
      there.insert(there.end(), al_mac);
    }
  }
  const std::set<MACAddress> before = std::exchange(there_, there);
  const auto tell = [&](const std::set<MACAddress>& all, const std::set<MACAddress>& without, bool is_there) {
    for (const MACAddress& al_mac : all) {
      if (!without.contains(al_mac)) {
        std::ranges::for_each(services_, [&](Service* service) { service->on_device(al_mac, is_there, now); });
      }
    }
  };
  tell(before, there, false);
  tell(there, before, true);
}

}  // namespace meshd
