#include "tools/meshd/controller/controller.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "qel/ieee1905_1/autoconfiguration_tlvs.h"
#include "qel/ieee1905_1/message_builder.h"
#include "qel/ieee1905_1/service_tlvs.h"
#include "tools/meshd/controller/channels.h"
#include "tools/meshd/controller/plan_words.h"
#include "tools/meshd/controller/steering.h"

namespace meshd::controller {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using multi_ap::Received;
using qel::MACAddress;

namespace {

constexpr std::chrono::seconds FORGET_INTERVAL{60};

/// Reports that an agent repeats until they are acknowledged. In answer to a query, they need no acknowledgment.
bool demands_acknowledgment(MessageType type) {
  using enum MessageType;
  static constexpr MessageType TYPES[] = {
      CHANNEL_PREFERENCE_REPORT_MESSAGE,  OPERATING_CHANNEL_REPORT_MESSAGE,
      CLIENT_STEERING_BTM_REPORT_MESSAGE, STEERING_COMPLETED_MESSAGE,
      BEACON_METRICS_RESPONSE_MESSAGE,    UNASSOCIATED_STA_LINK_METRICS_RESPONSE_MESSAGE,
      BACKHAUL_STEERING_RESPONSE_MESSAGE, HIGHER_LAYER_DATA_MESSAGE};
  return std::ranges::find(TYPES, type) != std::ranges::end(TYPES);
}

}  // namespace

Controller::Controller(multi_ap::Mesh& mesh, Config config)
    : mesh_(mesh),
      config_(std::move(config)),
      courier_(mesh),
      learning_(model_, config_.limits, mesh.al_mac()),
      asking_(model_, courier_, config_.policy, [this](const MACAddress& agent) { silent_.push_back(agent); }),
      client_orders_(model_, learning_, courier_, followups_, config_.policy),
      channel_orders_(model_, courier_) {}

bool Controller::take(const Received& received) {
  const MessageType type = received.message().get_head().get_message_type();
  Changes changes;
  // The model comes first, so that whoever waits for the message finds there what it says.
  const bool is_of_agent = learning_.take(received, changes);
  const bool is_answer = courier_.take(received);
  if (is_of_agent && !is_answer) {
    if (demands_acknowledgment(type)) {
      acknowledge(mesh_, received);
    }
    followups_.take(received);
  }
  if (type == MessageType::AP_AUTOCONFIGURATION_SEARCH_MESSAGE) {
    answer_search(received);
  }
  for (const Change& change : changes) {
    act_on(change, received.time);
  }
  return is_of_agent || is_answer || !changes.empty();
}

void Controller::act_on(const Change& change, TimePoint now) {
  using enum Change::Kind;
  using Topic = Asking::Topic;
  const std::string agent = change.agent.to_string();
  const std::string place = change.place.to_string();
  switch (change.kind) {
    case AGENT_FOUND:
      notice("AGENT_FOUND", agent, "found agent " + agent);
      [[fallthrough]];
    case AGENT_RESTARTED:
      for (auto& [identifier, radio] : model_.agents.at(change.agent).radios) {
        radio.failed_at.reset();
      }
      asking_.begin(change.agent, now);
      break;
    case AGENT_CHANGED:
      asking_.ask(change.agent, Topic::TOPOLOGY, now);
      break;
    case RADIOS_CHANGED:
      for (const Topic topic : {Topic::TOPOLOGY, Topic::POLICY, Topic::PREFERENCES}) {
        asking_.ask(change.agent, topic, now);
      }
      break;
    case RADIO_UNKNOWN:
      asking_.ask_soon(change.agent, Topic::CAPABILITIES, now);
      break;
    case CHANNEL_REPORTED:
      channel_orders_.on_channel(change.place, now);
      break;
    case CHANNEL_CHANGED: {
      const auto channel = operating_channel(model_.agents.at(change.agent).radios.at(change.place).channel->value);
      notice("CHANNEL_CHANGED", place,
             "radio " + place + " is on " + (channel ? name_of(*channel) : "an unknown channel"));
      break;
    }
    case CLIENT_JOINED: {
      const bool has_moved = change.from != MACAddress() && change.from != change.place;
      notice_client("CLIENT_JOINED", change, has_moved ? "moved from " + change.from.to_string() + " to " : "joined ");
      asking_.ask_for_client(change.agent, change.place, change.client, now);
      client_orders_.on_joined(change.client, change.place, now);
      break;
    }
    case CLIENT_LEFT:
      notice_client("CLIENT_LEFT", change, "left ");
      break;
    case CLIENT_GONE:
      client_orders_.on_gone(change.client, change.place, now);
      break;
    case CONTROLLER_FOUND:
      notice("SECOND_CONTROLLER", agent, "there is another controller, " + agent + "; agents obey only one");
      break;
  }
}

/// To the agent alone (Multi-AP Specification, 6.1).
void Controller::answer_search(const Received& received) {
  const Message& search = received.message();
  const auto* searched = search.find<SearchedServiceTLV>();
  if (searched == nullptr || std::ranges::find(searched->get_service_vector(), ServiceType::MULTI_AP_CONTROLLER) ==
                                 searched->get_service_vector().end()) {
    return;
  }
  SupportedServiceTLV service;
  service.add_service(ServiceType::MULTI_AP_CONTROLLER);
  const auto* band = search.find<AutoconfigFrequencyBandTLV>();
  mesh_.send(received.from, make_message(MessageType::AP_AUTOCONFIGURATION_RESPONSE_MESSAGE,
                                         search.get_head().get_message_id(), SupportedRoleTLV(RoleType::REGISTRAR),
                                         SupportedFrequencyBandTLV(band == nullptr ? FrequencyBand::IEEE802_11_5_GHZ
                                                                                   : band->get_frequency_band()),
                                         std::move(service)));
}

void Controller::add_to_topology_response(MessageBuilder& builder) const {
  SupportedServiceTLV service;
  service.add_service(ServiceType::MULTI_AP_CONTROLLER);
  builder.add(std::move(service));
}

void Controller::on_device(const MACAddress& al_mac, bool is_there, TimePoint /*now*/) {
  if (!is_there) {
    lose(al_mac, "it left the mesh");
    model_.other_controllers.erase(al_mac);
  }
}

void Controller::lose(const MACAddress& agent, const std::string& why) {
  const auto place = model_.agents.find(agent);
  if (place == model_.agents.end() || place->second.state == AgentState::LOST) {
    return;
  }
  learning_.lose(agent);
  asking_.drop(agent);
  courier_.forget(agent);
  notice("AGENT_LOST", agent.to_string(), "lost agent " + agent.to_string() + ": " + why);
}

void Controller::tend(TimePoint now) {
  client_notices_ = 0;
  courier_.tend(now);
  followups_.tend(now);
  for (const MACAddress& agent : std::exchange(silent_, {})) {
    lose(agent, "it does not answer");
  }
  client_orders_.tend(now);
  channel_orders_.tend(now);
  asking_.tend(now);
  if (now >= forget_due_) {
    forget_due_ = now + FORGET_INTERVAL;
    learning_.forget(now);
  }
  plan_by_policy(now);
  steer_by_policy(now);
}

void Controller::plan_by_policy(TimePoint now) {
  if (!config_.policy.plan.is_on || channel_orders_.is_busy()) {
    return;
  }
  // The first plan waits, so that the mesh is known by then.
  if (plan_due_ == TimePoint()) {
    plan_due_ = now + std::min<std::chrono::seconds>(config_.policy.plan.interval, std::chrono::seconds(60));
  }
  if (now < plan_due_) {
    return;
  }
  plan_due_ = now + config_.policy.plan.interval;
  if (const Planned planned = plan(now); !planned.plan.changes.empty()) {
    carry_out(planned, now, [](const Result&) {});
  }
}

void Controller::steer_by_policy(TimePoint now) {
  const SteeringPolicy& policy = config_.policy.steering;
  if (!policy.is_on || now < round_due_) {
    return;
  }
  round_due_ = now + STEERING_ROUND;
  const SteeringRound round = controller::steer(model_, policy, now);
  const auto try_to = [](const auto& act) {
    try {
      act();
    } catch (const std::invalid_argument&) {  // NOLINT(bugprone-empty-catch): what it was about has changed
    }
  };
  for (const SteeringOrder& order : round.orders) {
    if (!client_orders_.is_busy(order.client) && client_orders_.count_moves() < most_at_once(model_, policy)) {
      notice("", "", "client " + order.client.to_string() + " is to move: " + order.why);
      try_to([&] { steer(order.client, order.to, true, now, [](const Result&) {}); });
    }
  }
  for (const BeaconOrder& question : round.questions) {
    if (!client_orders_.is_busy(question.client)) {
      try_to([&] { client_orders_.ask_what_it_hears(question.client, now, [](const Result&) {}); });
    }
  }
}

void Controller::reload_policy(TimePoint now) {
  if (config_.policy_file.empty()) {
    throw std::invalid_argument("the controller was started without a policy file");
  }
  config_.policy = read_policy(config_.policy_file);
  asking_.ask_all(Asking::Topic::POLICY, now);
  plan_due_ = std::min(plan_due_, now + config_.policy.plan.interval);
}

Controller::Planned Controller::plan(TimePoint now) const {
  Planned planned{plan_input(model_, config_.policy.plan, now), {}};
  planned.plan = make_plan(planned.input, config_.policy.plan);
  return planned;
}

void Controller::steer(const MACAddress& client, const MACAddress& bssid, bool is_held, TimePoint now,
                       OnResult on_result) {
  client_orders_.steer(client, bssid, is_held, now,
                       logged("client " + client.to_string() + " to " + bssid.to_string(), std::move(on_result)));
}

void Controller::block(const MACAddress& client, std::vector<MACAddress> bssids, std::uint16_t seconds, TimePoint now,
                       const OnResult& on_result) {
  client_orders_.block(client, std::move(bssids), seconds, now, logged("client " + client.to_string(), on_result));
}

void Controller::set_channel(const MACAddress& radio, unsigned int number, qel::ChannelWidth width, TimePoint now,
                             OnResult on_result) {
  const AgentModel* agent = model_.find_agent_of_radio(radio);
  if (agent == nullptr) {
    throw std::invalid_argument("the mesh has no radio " + radio.to_string());
  }
  const PrimaryChannel wanted = find_channel(agent->radios.at(radio), number, width);
  channel_orders_.set_channel({radio, wanted}, now,
                              logged("radio " + radio.to_string() + " to " + name_of(wanted), std::move(on_result)));
}

void Controller::apply_plan(TimePoint now, OnResult on_result) { carry_out(plan(now), now, std::move(on_result)); }

void Controller::carry_out(const Planned& planned, TimePoint now, OnResult on_result) {
  if (planned.plan.changes.empty()) {
    on_result({true, "nothing to change: " + planned.plan.verdict});
    return;
  }
  std::vector<ChannelOrders::Step> steps;
  for (const PlanChange& change : planned.plan.changes) {
    const MACAddress& radio = planned.input.radios.at(change.radio).radio;
    steps.push_back({radio, change.to});
    notice("", "", "radio " + radio.to_string() + " is to move to " + name_of(change.to) + ": " + change.why);
  }
  channel_orders_.set_channels(std::move(steps), now, logged("plan", std::move(on_result)));
}

void Controller::ask(const Question& question, const MACAddress& agent, TimePoint now, OnResult on_result) {
  controller::ask(question, agent, model_, courier_, followups_, now, std::move(on_result));
}

void Controller::notice_client(const std::string& event, const Change& change, const std::string& line) {
  constexpr unsigned int MOST = 20;
  if (change.is_event && client_notices_ < MOST) {
    ++client_notices_;
    const std::string client = change.client.to_string();
    const std::string bssid = change.place.to_string();
    notice(event, client + ' ' + bssid, "client " + client + ' ' + line + bssid);
  }
}

void Controller::notice(const std::string& event, const std::string& data, const std::string& line) const {
  noticed({event, data, line});
}

OnResult Controller::logged(std::string what, OnResult on_result) const {
  return [this, what = std::move(what), on_result = std::move(on_result)](const Result& result) {
    const std::string text = what + ": " + result.text + ", " + seconds_text(result.took);
    notice(result.is_success ? "ORDER_DONE" : "ORDER_FAILED", text, text);
    on_result(result);
  };
}

}  // namespace meshd::controller
