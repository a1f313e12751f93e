#include "tools/meshd/multi_ap/discovery.h"

#include <algorithm>
#include <utility>

#include "qel/ieee1905_1/autoconfiguration_tlvs.h"
#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/message_builder.h"

namespace meshd::multi_ap {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::MACAddress;

template <class ServiceList>
bool names_controller(const Message& message) {
  const auto* list = message.find<ServiceList>();
  return list != nullptr && std::ranges::find(list->get_service_vector(), ServiceType::MULTI_AP_CONTROLLER) !=
                                list->get_service_vector().end();
}

template <class ServiceList>
ServiceList list_of(ServiceType kind) {
  ServiceList list;
  list.add_service(kind);
  return list;
}

/// The band is required, but only exchanging credentials depends on it.
Message search(const MACAddress& al_mac, ServiceType kind) {
  return MessageBuilder(MessageType::AP_AUTOCONFIGURATION_SEARCH_MESSAGE)
      .relay()
      .add(ALMACAddressTLV(al_mac))
      .add(SearchedRoleTLV(RoleType::REGISTRAR))
      .add(AutoconfigFrequencyBandTLV(FrequencyBand::IEEE802_11_2_4_GHZ))
      .add(list_of<SupportedServiceTLV>(kind))
      .add(list_of<SearchedServiceTLV>(ServiceType::MULTI_AP_CONTROLLER))
      .build();
}

/// Where a controller says what it is without being asked by us: in its searches, and to us alone in topology
/// responses.
bool shows_controller(const Received& received) {
  const MessageType type = received.message().get_head().get_message_type();
  return (type == MessageType::AP_AUTOCONFIGURATION_SEARCH_MESSAGE ||
          (type == MessageType::TOPOLOGY_RESPONSE_MESSAGE && !received.is_to_all)) &&
         names_controller<SupportedServiceTLV>(received.message());
}

std::string place_of(const Received& received) {
  return received.interface.empty() ? " on this device" : " on " + received.interface;
}

}  // namespace

void ControllerSearch::tend(TimePoint now) {
  if (sent_at_ && now - *sent_at_ < interval_) {
    return;
  }
  interval_ = sent_at_ ? std::min(2 * interval_, LONGEST) : SHORTEST;
  sent_at_ = now;
  const Message message = search(mesh_.al_mac(), kind_);
  ids_[sent_++ % ids_.size()] = message.get_head().get_message_id();
  mesh_.send_to_all(message);
}

bool ControllerSearch::is_answer(const Received& received) const {
  const MessageHead& head = received.message().get_head();
  return head.get_message_type() == MessageType::AP_AUTOCONFIGURATION_RESPONSE_MESSAGE && !received.is_to_all &&
         std::ranges::find(ids_, head.get_message_id()) != ids_.end() &&
         names_controller<SupportedServiceTLV>(received.message());
}

bool OtherControllers::hear(const MACAddress& al_mac, TimePoint now) {
  const auto place = heard_at_.find(al_mac);
  if (place != heard_at_.end()) {
    place->second = now;
    return false;
  }
  return heard_at_.size() < MOST && heard_at_.emplace(al_mac, now).second;
}

void OtherControllers::expire(TimePoint now) {
  std::erase_if(heard_at_, [&](const auto& entry) { return now - entry.second >= MEMORY; });
}

bool ControllerFinder::take(const Received& received) {
  const bool is_answer = search_.is_answer(received);
  const bool can_order = received.is_backhaul || received.interface.empty();
  if (controller_ == received.from) {
    // Its device may go on without it, and where it gives no orders, anybody may speak in its name.
    const bool is_alive = (is_answer || shows_controller(received)) && (can_order || !can_order_);
    heard_at_ = is_alive ? received.time : heard_at_;
    can_order_ = can_order_ || (is_answer && can_order);
  } else if (is_answer && (!controller_ || (can_order && !can_order_))) {
    find(received);
  } else if (is_answer || shows_controller(received)) {
    note_other(received);
  }
  return is_answer;
}

void ControllerFinder::tend(TimePoint now) {
  others_.expire(now);
  if (controller_ && controller_ != mesh_.al_mac() && now - heard_at_ >= SILENCE) {
    lose("is silent");
  }
  search_.tend(now);
}

void ControllerFinder::on_device(const MACAddress& al_mac, bool is_there, TimePoint) {
  if (!is_there) {
    others_.forget(al_mac);
    if (controller_ == al_mac) {
      lose("has left the mesh");
    }
  } else if (!controller_) {
    search_.hurry();
  }
}

void ControllerFinder::find(const Received& received) {
  const std::string name = received.from.to_string();
  std::string line = "found the controller " + name + place_of(received);
  if (controller_) {
    line += "; it takes the place of " + controller_->to_string() + ", which did not answer on a backhaul interface";
    others_.hear(*controller_, heard_at_);
  }
  others_.forget(received.from);
  controller_ = received.from;
  can_order_ = received.is_backhaul || received.interface.empty();
  heard_at_ = received.time;
  line += can_order_ ? "" : "; it is not obeyed there, since --backhaul does not mark this interface";
  noticed({"CONTROLLER_FOUND", name, std::move(line)});
}

void ControllerFinder::lose(const std::string& why) {
  const std::string name = controller_->to_string();
  controller_.reset();
  can_order_ = false;
  search_.hurry();
  noticed({"CONTROLLER_LOST", name, "lost the controller " + name + ", which " + why});
}

void ControllerFinder::note_other(const Received& received) {
  if (received.from != mesh_.al_mac() && controller_ && others_.hear(received.from, received.time)) {
    const std::string name = received.from.to_string();
    noticed({"SECOND_CONTROLLER", name,
             "there is another controller, " + name + place_of(received) + "; only " + controller_->to_string() +
                 " is obeyed"});
  }
}

}  // namespace meshd::multi_ap
