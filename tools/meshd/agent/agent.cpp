#include "tools/meshd/agent/agent.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "qel/channel/operating_class_deduction.h"
#include "qel/ieee1905_1/backhaul_steering_tlvs.h"
#include "qel/ieee1905_1/client_association_control_tlv.h"
#include "qel/ieee1905_1/service_tlvs.h"
#include "tools/meshd/agent/beacons.h"
#include "tools/meshd/agent/capabilities.h"

namespace meshd::agent {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using multi_ap::Order;
using multi_ap::OrderGuard;
using qel::MACAddress;
using wifi::AirRadio;

/// Whether the radio can use the channel of this class.
bool has_channel(const AirRadio& radio, std::uint8_t opclass, std::uint8_t channel) {
  const APRadioBasicCapabilitiesTLV& capabilities = basic_capabilities(radio);
  return std::ranges::any_of(
      capabilities.get_operation_class_information_vector(), [&](const OperatingClassInformation& each) {
        const auto& missing = each.get_non_operable_channel_vector();
        return each.get_operating_class() == opclass && std::ranges::find(missing, channel) == missing.end() &&
               qel::is_valid_global_operating_class_channelset(opclass, {channel});
      });
}

/// What exactly an order demands, for the log.
std::string about(const Message& message) {
  constexpr std::size_t LONG_ENOUGH = 100;
  std::string text;
  const auto add = [&](const std::string& part) { text += (text.empty() ? "" : " ") + part; };
  for (const ChannelPreferenceTLV& preferences : message.all<ChannelPreferenceTLV>()) {
    if (text.size() < LONG_ENOUGH) {
      add(preferences.get_radio_identifier().to_string());
    }
  }
  if (const auto* steering = message.find<SteeringRequestTLV>()) {
    add(std::to_string(steering->get_steering_sta_mac_vector().size()) + " clients of " +
        steering->get_bssid().to_string());
  }
  if (const auto* control = message.find<ClientAssociationControlRequestTLV>()) {
    add(std::to_string(control->get_sta_mac_vector().size()) + " clients at " + control->get_bssid().to_string());
  }
  if (const auto* query = message.find<BeaconMetricsQueryTLV>()) {
    add("by " + query->get_sta_mac_address().to_string());
  }
  if (const auto* backhaul = message.find<BackhaulSteeringRequestTLV>()) {
    add(backhaul->get_backhaul_mac_address().to_string() + " to " + backhaul->get_target_bssid().to_string());
  }
  return text;
}

/// A selection request without any preference asks where the radios operate, and changes nothing.
Order order_of(Order usual, const Message& message) {
  const bool is_question = usual == Order::CHANNEL && message.find<ChannelPreferenceTLV>() == nullptr &&
                           message.find<TransmitPowerLimitTLV>() == nullptr;
  return is_question ? Order::QUERY : usual;
}

}  // namespace

struct Agent::Handler {
  MessageType type;
  Order order;
  void (Agent::*handle)(const Received&);
};

const Agent::Handler* Agent::find_handler(MessageType type) {
  using enum MessageType;
  static constexpr Handler HANDLERS[] = {
      {AP_CAPABILITY_QUERY_MESSAGE, Order::QUERY, &Agent::on_ap_capability_query},
      {BACKHAUL_STA_CAPABILITY_QUERY_MESSAGE, Order::QUERY, &Agent::on_backhaul_capability_query},
      {CHANNEL_PREFERENCE_QUERY_MESSAGE, Order::QUERY, &Agent::on_channel_preference_query},
      {CLIENT_CAPABILITY_QUERY_MESSAGE, Order::QUERY, &Agent::on_client_capability_query},
      {AP_METRICS_QUERY_MESSAGE, Order::QUERY, &Agent::on_ap_metrics_query},
      {ASSOCIATED_STA_LINK_METRICS_QUERY_MESSAGE, Order::QUERY, &Agent::on_link_metrics_query},
      {MULTI_AP_POLICY_CONFIG_REQUEST_MESSAGE, Order::POLICY, &Agent::on_policy},
      {CHANNEL_SELECTION_REQUEST_MESSAGE, Order::CHANNEL, &Agent::on_channel_selection_request},
      {CLIENT_STEERING_REQUEST_MESSAGE, Order::STEER, &Agent::on_steering_request},
      {CLIENT_ASSOCIATION_CONTROL_REQUEST_MESSAGE, Order::BLOCK, &Agent::on_association_control},
      {BEACON_METRICS_QUERY_MESSAGE, Order::BEACONS, &Agent::on_beacon_query},
      {UNASSOCIATED_STA_LINK_METRICS_QUERY_MESSAGE, Order::LISTEN, &Agent::on_unassociated_query},
      {BACKHAUL_STEERING_REQUEST_MESSAGE, Order::BACKHAUL, &Agent::on_backhaul_steering_request},
      {HIGHER_LAYER_DATA_MESSAGE, Order::QUERY, &Agent::on_higher_layer_data},
      {COMBINED_INFRASTRUCTURE_METRICS_MESSAGE, Order::QUERY, &Agent::on_infrastructure_metrics},
  };
  const auto* found = std::ranges::find(HANDLERS, type, &Handler::type);
  return found == std::end(HANDLERS) ? nullptr : found;
}

Agent::Agent(multi_ap::Mesh& mesh, wifi::Air& air, Config config)
    : desk_(mesh, air, config.find_controller, [this](std::string line) { noticed({.line = std::move(line)}); }),
      guard_(mesh.al_mac(), std::move(config.find_controller),
             [this](const multi_ap::Notice& notice) { noticed(notice); }),
      channels_(desk_),
      metrics_(desk_),
      steering_(desk_),
      client_events_(desk_),
      on_client_(air.client.connect([this](const MACAddress& bssid, const MACAddress& client, bool has_joined) {
        client_events_.on_client(bssid, client, has_joined);
      })),
      on_changed_(air.changed.connect([this] { has_changes_ = true; })) {}

Agent::~Agent() = default;

bool Agent::take(const Received& received) {
  desk_.set_now(received.time);
  if (desk_.courier().take(received)) {
    return true;
  }
  const Handler* handler = find_handler(received.message().get_head().get_message_type());
  if (handler == nullptr) {
    return false;
  }
  switch (guard_.judge(received, order_of(handler->order, received.message()), about(received.message()))) {
    case OrderGuard::Verdict::OBEY:
      (this->*handler->handle)(received);
      return true;
    case OrderGuard::Verdict::REPEATED:
      desk_.answer_again(received);
      return true;
    case OrderGuard::Verdict::REFUSE:
      break;
  }
  return false;
}

void Agent::tend(TimePoint now) {
  desk_.set_now(now);
  desk_.courier().tend(now);
  const std::optional<MACAddress> controller = desk_.controller();
  if (controller != controller_) {
    controller_ = controller;
    channels_.forget_reports();
    has_changes_ = true;
  }
  if (controller && std::exchange(has_changes_, false)) {
    channels_.report_changes();
  }
  metrics_.tend(now);
  steering_.tend(now);
  client_events_.tend();
}

void Agent::add_to_topology_response(MessageBuilder& builder) const { add_topology(builder, desk_.air().radios()); }

void Agent::on_device(const MACAddress& al_mac, bool is_there, TimePoint now) {
  desk_.set_now(now);
  if (!is_there) {
    desk_.courier().forget(al_mac);
  }
}

void Agent::on_ap_capability_query(const Received& received) {
  MessageBuilder report = Desk::answer_to(received, MessageType::AP_CAPABILITY_REPORT_MESSAGE);
  add_ap_capabilities(report, desk_.air().radios());
  desk_.reply(received, report);
}

void Agent::on_backhaul_capability_query(const Received& received) {
  MessageBuilder report = Desk::answer_to(received, MessageType::BACKHAUL_STA_CAPABILITY_REPORT_MESSAGE);
  add_backhaul_capabilities(report, desk_.air().radios());
  desk_.reply(received, report);
}

void Agent::on_policy(const Received& received) {
  desk_.acknowledge(received);
  if (const auto* steering = received.message().find<SteeringPolicyTLV>()) {
    steering_.set_policy(*steering);
  }
  if (const auto* reporting = received.message().find<MetricReportingPolicyTLV>()) {
    metrics_.set_policy(*reporting, received.time);
  }
}

void Agent::on_beacon_query(const Received& received) { carry_out_beacon_query(desk_, received); }

void Agent::on_backhaul_steering_request(const Received& received) {
  const auto* request = received.message().find<BackhaulSteeringRequestTLV>();
  if (request == nullptr) {
    return;
  }
  desk_.acknowledge(received);
  const auto respond = [this, id = received.message().get_head().get_message_id(),
                        request = *request](std::optional<ErrorReasonCode> error) {
    MessageBuilder response(MessageType::BACKHAUL_STEERING_RESPONSE_MESSAGE, id);
    response.add(
        BackhaulSteeringResponseTLV(request.get_backhaul_mac_address(), request.get_target_bssid(),
                                    error ? BackhaulSteeringResultCode::FAILURE : BackhaulSteeringResultCode::SUCCESS));
    if (error) {
      response.add(ErrorCodeTLV(*error, request.get_backhaul_mac_address()));
    }
    desk_.report(response);
  };
  const std::vector<AirRadio> radios = desk_.air().radios();
  const auto radio = std::ranges::find_if(radios, [&](const AirRadio& each) {
    return each.backhaul && each.backhaul->station == request->get_backhaul_mac_address();
  });
  if (radio == radios.end() || !has_channel(*radio, request->get_operating_class(), request->get_channel_number())) {
    respond(ErrorReasonCode::BACKHAUL_STEERING_REQUEST_REJECTED_CHANNEL);
    return;
  }
  desk_.air().move_backhaul(request->get_backhaul_mac_address(), request->get_target_bssid(),
                            request->get_operating_class(), request->get_channel_number(),
                            desk_.while_alive([this, respond](const std::string& trouble) {
                              if (trouble.empty()) {
                                respond(std::nullopt);
                              } else {
                                desk_.log("cannot move the backhaul: " + trouble);
                                respond(ErrorReasonCode::BACKHAUL_STEERING_REQUEST_REJECTED_BSS_SIGNAL);
                              }
                            }));
}

void Agent::on_higher_layer_data(const Received& received) {
  desk_.acknowledge(received);
  ++higher_layer_messages_;
  if (higher_layer_logged_ && received.time - *higher_layer_logged_ < std::chrono::seconds(1)) {
    return;
  }
  higher_layer_logged_ = received.time;
  for (const HigherLayerDataTLV& data : received.message().all<HigherLayerDataTLV>()) {
    desk_.log("higher layer data of protocol " + enum_to_string(data.get_protocol()) + " from " +
              received.from.to_string() + ": " + std::to_string(data.get_payload().size()) + " octets, message " +
              std::to_string(higher_layer_messages_));
  }
}

}  // namespace meshd::agent
