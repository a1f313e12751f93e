#include "tools/meshd/controller/asking.h"

#include <algorithm>
#include <utility>

#include "tools/meshd/controller/requests.h"

namespace meshd::controller {

using multi_ap::Outcome;
using qel::MACAddress;
using qel::ieee1905_1::Message;
using qel::ieee1905_1::MessageType;

namespace {

constexpr std::chrono::seconds RETRY{10};  // after a request without an answer
/// An agent reports its channels soon after it has joined. It is asked only if it does not.
constexpr std::chrono::seconds FIRST_CHANNELS{5};
constexpr std::chrono::seconds SOON{2};

}  // namespace

struct Asking::Row {
  MessageType question;
  MessageType answer;
  std::chrono::seconds period;
  /// Null for a question without contents; gives nothing if there is nothing to ask.
  std::optional<Message> (*make)(const AgentModel& agent, const Policy& policy);
};

/// Most facts come without being asked for when they change. The periods bound for how long a lost report matters.
const std::array<Asking::Row, Asking::TOPICS>& Asking::rows() {
  using enum MessageType;
  using std::chrono::seconds;
  static const std::array<Row, TOPICS> ROWS{{
      {AP_CAPABILITY_QUERY_MESSAGE, AP_CAPABILITY_REPORT_MESSAGE, seconds(600), nullptr},
      {TOPOLOGY_QUERY_MESSAGE, TOPOLOGY_RESPONSE_MESSAGE, seconds(60), nullptr},
      {MULTI_AP_POLICY_CONFIG_REQUEST_MESSAGE, IEEE1905_ACK_MESSAGE, seconds(600), policy_request},
      {CHANNEL_PREFERENCE_QUERY_MESSAGE, CHANNEL_PREFERENCE_REPORT_MESSAGE, seconds(300), nullptr},
      {AP_METRICS_QUERY_MESSAGE, AP_METRICS_RESPONSE_MESSAGE, seconds(60),
       [](const AgentModel& agent, const Policy&) { return metrics_query(agent); }},
      {CHANNEL_SELECTION_REQUEST_MESSAGE, CHANNEL_SELECTION_RESPONSE_MESSAGE, seconds(60),
       [](const AgentModel& agent, const Policy&) { return channels_query(agent); }},
  }};
  return ROWS;
}

void Asking::begin(const MACAddress& agent, TimePoint now) {
  Agenda& agenda = agents_[agent] = {};
  agenda.due.fill(now);
  agenda.due[static_cast<std::size_t>(Topic::CHANNELS)] = now + FIRST_CHANNELS;
  go_on(agent, agenda, now);
}

void Asking::ask(const MACAddress& agent, Topic topic, TimePoint now) {
  const auto place = agents_.find(agent);
  if (place != agents_.end()) {
    place->second.due[static_cast<std::size_t>(topic)] = now;
    go_on(agent, place->second, now);
  }
}

void Asking::ask_soon(const MACAddress& agent, Topic topic, TimePoint now) {
  const auto place = agents_.find(agent);
  if (place != agents_.end()) {
    TimePoint& due = place->second.due[static_cast<std::size_t>(topic)];
    due = std::min(due, now + SOON);
  }
}

void Asking::ask_all(Topic topic, TimePoint now) {
  for (auto& [agent, agenda] : agents_) {
    agenda.due[static_cast<std::size_t>(topic)] = now;
    go_on(agent, agenda, now);
  }
}

void Asking::ask_for_client(const MACAddress& agent, const MACAddress& bssid, const MACAddress& client, TimePoint now) {
  const auto place = agents_.find(agent);
  if (place != agents_.end() && place->second.clients.size() < MOST_CLIENTS) {
    place->second.clients.emplace_back(bssid, client);
    go_on(agent, place->second, now);
  }
}

void Asking::tend(TimePoint now) {
  for (auto& [agent, agenda] : agents_) {
    go_on(agent, agenda, now);
  }
}

void Asking::go_on(const MACAddress& agent, Agenda& agenda, TimePoint now) {
  const auto model = model_.agents.find(agent);
  if (agenda.waits_for != 0 || model == model_.agents.end()) {
    return;
  }
  for (std::size_t topic = 0; topic < TOPICS; ++topic) {
    if (agenda.due[topic] > now) {
      continue;
    }
    const Row& row = rows()[topic];
    agenda.due[topic] = now + row.period;
    if (std::optional<Message> message = row.make == nullptr ? query(row.question) : row.make(model->second, policy_)) {
      send(agent, agenda, std::move(*message), row.answer, topic, now);
      return;
    }
  }
  if (!agenda.clients.empty()) {
    const auto [bssid, client] = agenda.clients.front();
    agenda.clients.pop_front();
    send(agent, agenda, client_capability_query(bssid, client), MessageType::CLIENT_CAPABILITY_REPORT_MESSAGE,
         std::nullopt, now);
  }
}

void Asking::send(const MACAddress& agent, Agenda& agenda, Message message, MessageType answer,
                  std::optional<std::size_t> topic, TimePoint now) {
  const std::uint64_t number = agenda.waits_for = ++made_;
  courier_.request(agent, std::move(message), answer, now,
                   [this, agent, number, topic, now](Outcome outcome, const Message*, std::chrono::milliseconds took) {
                     on_outcome(agent, number, outcome, topic, now + took);
                   });
}

/// An agent that was lost, or has begun anew, does not wait for the outcomes of before.
void Asking::on_outcome(const MACAddress& agent, std::uint64_t number, Outcome outcome,
                        std::optional<std::size_t> topic, TimePoint now) {
  const auto model = model_.agents.find(agent);
  const auto place = agents_.find(agent);
  if (model == model_.agents.end() || place == agents_.end() || place->second.waits_for != number) {
    return;
  }
  place->second.waits_for = 0;
  if (outcome != Outcome::GIVEN_UP) {
    model->second.unanswered = 0;
    go_on(agent, place->second, now);
    return;
  }
  if (topic) {
    place->second.due[*topic] = now + RETRY;
  }
  if (++model->second.unanswered >= MOST_UNANSWERED) {
    on_silent_(agent);
  }
}

}  // namespace meshd::controller
