#include "tools/meshd/controller/learning.h"

#include <algorithm>
#include <utility>

#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/ieee1905_1/beacon_metrics_tlvs.h"
#include "qel/ieee1905_1/client_tlvs.h"
#include "qel/ieee1905_1/metrics_tlvs.h"
#include "qel/ieee1905_1/service_tlvs.h"
#include "tools/meshd/controller/learning_parts.h"

namespace meshd::controller {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using multi_ap::Received;
using qel::MACAddress;
using Kind = Change::Kind;

constexpr std::uint8_t HIGHEST_RCPI = 220;

/// An agent searches again and again, about once a minute in the long run. After a start, it searches more often; other
/// agents search only then.
constexpr std::chrono::seconds FIRST_SEARCHES{60};
constexpr std::chrono::seconds SHORTEST_PAUSE{30};
constexpr std::chrono::seconds LONGEST_PAUSE{90};

template <class TLV>
bool offers(const TLV* services, ServiceType service) {
  return services != nullptr &&
         std::ranges::find(services->get_service_vector(), service) != services->get_service_vector().end();
}

/// Whether only a device with an agent sends this; its 1905.1 entity may be there without one.
bool shows_agent(const Message& message) {
  return message.get_head().get_message_type() > MessageType::IEEE1905_ACK_MESSAGE ||
         offers(message.find<SupportedServiceTLV>(), ServiceType::MULTI_AP_AGENT);
}

std::size_t octets_of(const APRadioBasicCapabilitiesTLV& capabilities) {
  std::size_t octets = 0;
  for (const OperatingClassInformation& one : capabilities.get_operation_class_information_vector()) {
    octets += 2 + one.get_non_operable_channel_vector().size();
  }
  return octets;
}

std::size_t octets_of(const ChannelPreferenceTLV& preferences) {
  std::size_t octets = 0;
  for (const ChannelPreference& one : preferences.get_channel_preference_vector()) {
    octets += 2 + one.get_channel_vector().size();
  }
  return octets;
}

std::vector<std::uint8_t> octets_of(const qel::ieee802_11::AssocRequestFrame& frame) {
  qel::serialization::MemoryOStream out;
  qel::serialization::SerializationContext context;
  frame.serialize_impl(out, context);
  return {out.octets().begin(), out.octets().end()};
}

/// The time of a measurement that was this old, in milliseconds, when it was reported.
TimePoint time_of(TimePoint reported, std::uint32_t age) {
  constexpr std::uint32_t LONGEST = 86'400'000;
  return reported - std::chrono::milliseconds(std::min(age, LONGEST));
}

ClientTraffic traffic_of(const AssociatedSTATrafficStatsTLV& stats) {
  return {stats.get_bytes_sent(),          stats.get_bytes_received(),   stats.get_packets_sent(),
          stats.get_packets_received(),    stats.get_tx_packet_errors(), stats.get_rx_packet_errors(),
          stats.get_retransmission_count()};
}

bool has_same_channel(const OperatingChannelReportTLV& one, const OperatingChannelReportTLV& other) {
  return one.get_operating_class_channel_vector() == other.get_operating_class_channel_vector();
}

}  // namespace

struct Learning::Handler {
  MessageType type;
  void (Learning::*take)(const Context&);
};

const Learning::Handler* Learning::find_handler(MessageType type) {
  using enum MessageType;
  static constexpr Handler HANDLERS[] = {
      {AP_AUTOCONFIGURATION_SEARCH_MESSAGE, &Learning::on_search},
      {TOPOLOGY_RESPONSE_MESSAGE, &Learning::on_topology_response},
      {TOPOLOGY_NOTIFICATION_MESSAGE, &Learning::on_topology_notification},
      {AP_CAPABILITY_REPORT_MESSAGE, &Learning::on_capabilities},
      {BACKHAUL_STA_CAPABILITY_REPORT_MESSAGE, &Learning::on_backhaul_capabilities},
      {CHANNEL_PREFERENCE_REPORT_MESSAGE, &Learning::on_preferences},
      {OPERATING_CHANNEL_REPORT_MESSAGE, &Learning::on_operating_channels},
      {AP_METRICS_RESPONSE_MESSAGE, &Learning::on_metrics},
      {ASSOCIATED_STA_LINK_METRICS_RESPONSE_MESSAGE, &Learning::on_metrics},
      {CLIENT_CAPABILITY_REPORT_MESSAGE, &Learning::on_client_capability},
      {BEACON_METRICS_RESPONSE_MESSAGE, &Learning::on_beacons},
  };
  const auto* const handler = std::ranges::find(HANDLERS, type, &Handler::type);
  return handler == std::ranges::end(HANDLERS) ? nullptr : handler;
}

bool Learning::take(const Received& received, Changes& changes) {
  take_service(received, changes);
  const auto agent = model_.agents.find(received.from);
  if (agent == model_.agents.end()) {
    return false;
  }
  agent->second.heard_at = received.time;
  if (agent->second.state == AgentState::LOST) {
    if (!shows_agent(received.message())) {
      return true;
    }
    agent->second.state = AgentState::JOINING;
    agent->second.unanswered = 0;
    agent->second.found_at = received.time;
    changes.push_back({Kind::AGENT_FOUND, received.from});
  }
  if (const Handler* handler = find_handler(received.message().get_head().get_message_type())) {
    (this->*handler->take)({received, agent->first, agent->second, changes});
  }
  return true;
}

void Learning::take_service(const Received& received, Changes& changes) {
  using enum MessageType;
  const MessageType type = received.message().get_head().get_message_type();
  if (type != AP_AUTOCONFIGURATION_SEARCH_MESSAGE && type != AP_AUTOCONFIGURATION_RESPONSE_MESSAGE &&
      type != TOPOLOGY_RESPONSE_MESSAGE) {
    return;
  }
  const auto* services = received.message().find<SupportedServiceTLV>();
  if (offers(services, ServiceType::MULTI_AP_AGENT) && !model_.agents.contains(received.from)) {
    if (model_.agents.size() >= limits_.agents) {
      const auto lost =
          std::ranges::find(model_.agents, AgentState::LOST, [](const auto& a) { return a.second.state; });
      if (lost == model_.agents.end()) {
        return;
      }
      for (auto& [identifier, radio] : lost->second.radios) {
        for (auto& [bssid, bss] : radio.bss) {
          clients_ -= bss.clients.size();
        }
      }
      model_.agents.erase(lost);
    }
    model_.agents[received.from].found_at = received.time;
    changes.push_back({Kind::AGENT_FOUND, received.from});
  }
  if (offers(services, ServiceType::MULTI_AP_CONTROLLER) && received.from != self_) {
    const bool is_new = !model_.other_controllers.contains(received.from);
    if (is_new && model_.other_controllers.size() >= limits_.controllers) {
      return;
    }
    model_.other_controllers[received.from] = received.time;
    if (is_new) {
      changes.push_back({Kind::CONTROLLER_FOUND, received.from});
    }
  }
}

void Learning::on_search(const Context& context) {
  AgentModel& agent = context.agent;
  const TimePoint now = context.received.time;
  const auto pause = now - std::exchange(agent.searched_at, now).value_or(agent.found_at);
  if (now - agent.found_at > FIRST_SEARCHES && (pause < SHORTEST_PAUSE || pause > LONGEST_PAUSE)) {
    agent.found_at = now;
    context.changes.push_back({Kind::AGENT_RESTARTED, context.al_mac});
  }
}

void Learning::on_capabilities(const Context& context) {
  const Message& message = context.received.message();
  const TimePoint now = context.received.time;
  std::map<MACAddress, const APRadioBasicCapabilitiesTLV*> listed;
  for (const auto& tlv : message.all<APRadioBasicCapabilitiesTLV>()) {
    listed[tlv.get_radio_identifier()] = &tlv;
  }
  bool has_changed = false;
  if (!is_damaged(context.received, TLVType::AP_RADIO_BASIC_CAPABILITIES)) {
    has_changed = remove_unlisted(context.agent.radios, listed, [&](const MACAddress&, RadioModel& radio) {
      for (auto& [bssid, bss] : radio.bss) {
        empty(context, bssid, bss);
      }
    });
  }
  for (const auto& [identifier, capabilities] : listed) {
    RadioModel* radio = add_radio(context, identifier);
    if (radio != nullptr && octets_of(*capabilities) <= limits_.octets) {
      has_changed = has_changed || !radio->capabilities;
      radio->capabilities = {*capabilities, now};
    }
  }
  const auto keep = [&]<class TLV>(MaybeKnown<TLV> RadioModel::*fact) {
    for (const auto& tlv : message.all<TLV>()) {
      if (RadioModel* radio = find_radio(context, tlv.get_radio_identifier())) {
        radio->*fact = {tlv, now};
      }
    }
  };
  keep(&RadioModel::ht);
  keep(&RadioModel::vht);
  keep(&RadioModel::he);
  on_backhaul_capabilities(context);
  context.agent.state = AgentState::JOINED;
  if (has_changed) {
    context.changes.push_back({Kind::RADIOS_CHANGED, context.al_mac});
  }
}

void Learning::on_backhaul_capabilities(const Context& context) {
  for (const auto& tlv : context.received.message().all<BackhaulSTARadioCapabilitiesTLV>()) {
    if (tlv.get_is_mac_included() && context.agent.backhaul_stations.size() < limits_.radios) {
      context.agent.backhaul_stations.insert(tlv.get_backhaul_sta_mac());
    }
  }
}

void Learning::on_preferences(const Context& context) {
  for (const auto& tlv : context.received.message().all<ChannelPreferenceTLV>()) {
    RadioModel* radio = find_radio(context, tlv.get_radio_identifier());
    if (radio != nullptr && octets_of(tlv) <= limits_.octets) {
      radio->preferences = {tlv, context.received.time};
    }
  }
}

void Learning::on_operating_channels(const Context& context) {
  for (const auto& tlv : context.received.message().all<OperatingChannelReportTLV>()) {
    RadioModel* radio = find_radio(context, tlv.get_radio_identifier());
    if (radio == nullptr) {
      context.changes.push_back({Kind::RADIO_UNKNOWN, context.al_mac});
      continue;
    }
    const bool is_new = radio->channel && !has_same_channel(radio->channel->value, tlv);
    radio->channel = {tlv, context.received.time};
    context.changes.push_back({Kind::CHANNEL_REPORTED, context.al_mac, tlv.get_radio_identifier()});
    if (is_new) {
      radio->switched_at = context.received.time;
      context.changes.push_back({Kind::CHANNEL_CHANGED, context.al_mac, tlv.get_radio_identifier()});
    }
  }
}

void Learning::on_metrics(const Context& context) {
  const Message& message = context.received.message();
  const TimePoint now = context.received.time;
  for (const auto& tlv : message.all<APMetricsTLV>()) {
    if (BssModel* bss = find_bss(context, tlv.get_bssid())) {
      bss->utilization = {tlv.get_channel_utilization(), now};
    }
  }
  for (const auto& tlv : message.all<AssociatedSTALinkMetricsTLV>()) {
    for (const STALinkMetric& metric : tlv.get_sta_link_metric_vector()) {
      BssModel* bss = find_bss(context, metric.get_bssid());
      const auto client = bss != nullptr ? bss->clients.find(tlv.get_sta_mac()) : decltype(bss->clients)::iterator();
      if (bss != nullptr && client != bss->clients.end()) {
        client->second.link = {{metric.get_uplink_rcpi(), metric.get_estimated_downlink_data_rate(),
                                metric.get_estimated_uplink_data_rate()},
                               time_of(now, metric.get_time_delta())};
      }
    }
  }
  for (const auto& tlv : message.all<AssociatedSTATrafficStatsTLV>()) {
    if (ClientModel* client = find_client(context, tlv.get_sta_mac())) {
      if (client->traffic) {
        client->earlier_traffic = client->traffic->value;
        client->earlier_traffic_at = client->traffic->at;
      }
      client->traffic = {traffic_of(tlv), now};
    }
  }
}

void Learning::on_client_capability(const Context& context) {
  const auto* info = context.received.message().find<ClientInfoTLV>();
  const auto* report = context.received.message().find<ClientCapabilityReportTLV>();
  if (info == nullptr || report == nullptr || report->get_assoc_req_frame() == nullptr ||
      report->get_result_code() != ClientCapabilityResultCode::SUCCESS ||
      report->get_assoc_req_frame()->get_length() > limits_.octets) {
    return;
  }
  if (ClientModel* client = find_client(context, info->get_client_mac())) {
    client->association_request = {octets_of(*report->get_assoc_req_frame()), context.received.time};
  }
}

void Learning::on_beacons(const Context& context) {
  const auto* response = context.received.message().find<BeaconMetricsResponseTLV>();
  ClientModel* client = response != nullptr ? find_client(context, response->get_sta_mac_address()) : nullptr;
  if (client == nullptr) {
    return;
  }
  for (const auto& report : response->get_reports()) {
    const auto* beacon = report.get_beacon_report();
    if (beacon == nullptr || beacon->get_rcpi() > HIGHEST_RCPI || model_.find_bss(beacon->get_bssid()).bss == nullptr) {
      continue;
    }
    if (!client->heard_bss.contains(beacon->get_bssid()) && client->heard_bss.size() >= limits_.heard) {
      remove_oldest(client->heard_bss);
    }
    client->heard_bss[beacon->get_bssid()] = {beacon->get_rcpi(), context.received.time};
  }
}

RadioModel* Learning::add_radio(const Context& context, const MACAddress& radio) {
  if (RadioModel* known = find_radio(context, radio)) {
    return known;
  }
  const AgentModel* other = model_.find_agent_of_radio(radio);
  const bool is_taken = other != nullptr && other->state != AgentState::LOST;
  return is_taken || context.agent.radios.size() >= limits_.radios ? nullptr : &context.agent.radios[radio];
}

RadioModel* Learning::find_radio(const Context& context, const MACAddress& radio) {
  const auto place = context.agent.radios.find(radio);
  return place == context.agent.radios.end() ? nullptr : &place->second;
}

BssModel* Learning::find_bss(const Context& context, const MACAddress& bssid) {
  for (auto& [identifier, radio] : context.agent.radios) {
    if (const auto place = radio.bss.find(bssid); place != radio.bss.end()) {
      return &place->second;
    }
  }
  return nullptr;
}

ClientModel* Learning::find_client(const Context& context, const MACAddress& client) {
  for (auto& [identifier, radio] : context.agent.radios) {
    for (auto& [bssid, bss] : radio.bss) {
      if (const auto place = bss.clients.find(client); place != bss.clients.end()) {
        return &place->second;
      }
    }
  }
  return nullptr;
}

void Learning::lose(const MACAddress& agent) {
  if (const auto place = model_.agents.find(agent); place != model_.agents.end()) {
    place->second.state = AgentState::LOST;
  }
}

void Learning::forget(TimePoint now) {
  const TimePoint oldest = now - limits_.memory;
  std::erase_if(model_.agents, [&](auto& agent) {
    if (agent.second.state != AgentState::LOST || agent.second.heard_at >= oldest) {
      return false;
    }
    for (auto& [identifier, radio] : agent.second.radios) {
      for (auto& [bssid, bss] : radio.bss) {
        clients_ -= bss.clients.size();
      }
    }
    return true;
  });
  std::erase_if(model_.departed, [&](const auto& one) {
    return std::max(one.second.at, one.second.value.not_before.value_or(one.second.at)) < oldest;
  });
  std::erase_if(model_.denials, [&](const auto& one) { return one.second.until <= now; });
  std::erase_if(model_.other_controllers, [&](const auto& one) { return one.second < oldest; });
  for (auto& [al_mac, agent] : model_.agents) {
    for (auto& [identifier, radio] : agent.radios) {
      for (auto& [bssid, bss] : radio.bss) {
        for (auto& [mac, client] : bss.clients) {
          std::erase_if(client.heard_bss, [&](const auto& one) { return one.second.at < now - limits_.longest_age; });
        }
      }
    }
  }
}

SteeringRecord* Learning::find_record(const MACAddress& client) {
  const MeshModel::Place place = model_.find_client(client);
  if (place.client != nullptr) {
    auto& radios = model_.agents.at(*place.agent).radios;
    return &radios.at(*place.radio).bss.at(*place.bssid).clients.at(client).steering;
  }
  const auto departed = model_.departed.find(client);
  return departed == model_.departed.end() ? nullptr : &departed->second.value;
}

}  // namespace meshd::controller
