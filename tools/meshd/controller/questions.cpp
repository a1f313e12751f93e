#include "tools/meshd/controller/questions.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <utility>

#include "qel/ieee1905_1/metrics_tlvs.h"
#include "tools/meshd/controller/channels.h"
#include "tools/meshd/controller/requests.h"

namespace meshd::controller {

using multi_ap::Courier;
using multi_ap::Outcome;
using qel::MACAddress;
using qel::ieee1905_1::Message;
using qel::ieee1905_1::MessageType;

namespace {

constexpr std::chrono::seconds PATIENCE{20};  // for an answer that follows an acknowledgment

/// What a question is made of.
struct Asked {
  const Question& question;
  const MeshModel& model;
  const AgentModel& agent;

  MACAddress client() const {
    if (!question.client) {
      throw std::invalid_argument("'" + question.what + "' requires a client");
    }
    return *question.client;
  }
};

Message metrics_of(const Asked& asked) {
  if (asked.question.bssid) {
    qel::ieee1905_1::APMetricQueryTLV tlv;
    tlv.add_bssid(*asked.question.bssid);
    return make_message(MessageType::AP_METRICS_QUERY_MESSAGE, qel::ieee1905_1::make_IEEE1905_1_msg_id(),
                        std::move(tlv));
  }
  std::optional<Message> message = metrics_query(asked.agent);
  if (!message) {
    throw std::invalid_argument("the agent has no BSS");
  }
  return std::move(*message);
}

Message beacons_of(const Asked& asked) {
  std::optional<Message> message = beacon_query(asked.model, asked.client());
  if (!message) {
    throw std::invalid_argument("no access point of the mesh has the client, or no channel of the mesh is known");
  }
  return std::move(*message);
}

Message capability_of(const Asked& asked) {
  const MeshModel::Place place = asked.model.find_client(asked.client());
  if (place.client == nullptr && !asked.question.bssid) {
    throw std::invalid_argument("no access point of the mesh has the client; name a BSS");
  }
  return client_capability_query(asked.question.bssid ? *asked.question.bssid : *place.bssid, asked.client());
}

/// On the channel of the radio that has the BSS, or else the client.
Message unassociated_of(const Asked& asked) {
  const MACAddress client = asked.client();
  const MeshModel::Place place =
      asked.question.bssid ? asked.model.find_bss(*asked.question.bssid) : asked.model.find_client(client);
  const auto channel = place.radio_model != nullptr && place.radio_model->channel
                           ? primary_class_channel(place.radio_model->channel->value)
                           : std::nullopt;
  if (!channel) {
    throw std::invalid_argument("it is not known on which channel the client is; name a BSS");
  }
  return unassociated_query(channel->get_operating_class(), channel->get_channel(), client);
}

struct Row {
  const char* what;
  MessageType question;
  MessageType answer;
  bool is_acknowledged;                 ///< before the answer comes, in a message with an identifier of its own
  Message (*make)(const Asked& asked);  ///< null for a question without contents
};

constexpr Row plain(const char* what, MessageType question, MessageType answer) {
  return {what, question, answer, false, nullptr};
}

const std::vector<Row>& rows() {
  using enum MessageType;
  static const std::vector<Row> ROWS = {
      plain("backhaul", BACKHAUL_STA_CAPABILITY_QUERY_MESSAGE, BACKHAUL_STA_CAPABILITY_REPORT_MESSAGE),
      {"beacons", BEACON_METRICS_QUERY_MESSAGE, BEACON_METRICS_RESPONSE_MESSAGE, true, beacons_of},
      plain("capabilities", AP_CAPABILITY_QUERY_MESSAGE, AP_CAPABILITY_REPORT_MESSAGE),
      {"client", CLIENT_CAPABILITY_QUERY_MESSAGE, CLIENT_CAPABILITY_REPORT_MESSAGE, false, capability_of},
      {"metrics", AP_METRICS_QUERY_MESSAGE, AP_METRICS_RESPONSE_MESSAGE, false, metrics_of},
      plain("preferences", CHANNEL_PREFERENCE_QUERY_MESSAGE, CHANNEL_PREFERENCE_REPORT_MESSAGE),
      {"sta-metrics", ASSOCIATED_STA_LINK_METRICS_QUERY_MESSAGE, ASSOCIATED_STA_LINK_METRICS_RESPONSE_MESSAGE, false,
       [](const Asked& asked) { return client_metrics_query(asked.client()); }},
      plain("topology", TOPOLOGY_QUERY_MESSAGE, TOPOLOGY_RESPONSE_MESSAGE),
      {"unassociated", UNASSOCIATED_STA_LINK_METRICS_QUERY_MESSAGE, UNASSOCIATED_STA_LINK_METRICS_RESPONSE_MESSAGE,
       true, unassociated_of},
  };
  return ROWS;
}

}  // namespace

std::vector<std::string> question_names() {
  std::vector<std::string> names;
  std::ranges::transform(rows(), std::back_inserter(names), [](const Row& row) { return row.what; });
  return names;
}

void ask(const Question& question, const MACAddress& agent, const MeshModel& model, Courier& courier,
         Followups& followups, TimePoint now, OnResult on_result) {
  const auto row = std::ranges::find(rows(), question.what, [](const Row& one) { return std::string(one.what); });
  if (row == rows().end()) {
    std::string all;
    for (const std::string& name : question_names()) {
      all += (all.empty() ? "" : ", ") + name;
    }
    throw std::invalid_argument("there is no question '" + question.what + "'; the questions are " + all);
  }
  const auto known = model.agents.find(agent);
  if (known == model.agents.end()) {
    throw std::invalid_argument("the mesh has no agent " + agent.to_string());
  }
  Message message = row->make == nullptr ? query(row->question) : row->make({question, model, known->second});
  const auto shared_result = std::make_shared<OnResult>(std::move(on_result));
  const auto finish = [shared_result, agent](const Message* answer, bool is_success, std::chrono::milliseconds took) {
    is_success ? (*shared_result)({true, answer_text(*answer), took, answer_parts(*answer)})
               : (*shared_result)({false, failure_text(agent, answer), took});
  };
  std::optional<Followups::Number> answer_later;
  if (row->is_acknowledged) {
    answer_later = followups.expect(
        agent, row->answer, now + PATIENCE, [](const Message&) { return true; },
        [finish, shared_result, agent, now](const Message* answer, TimePoint time) {
          answer != nullptr
              ? finish(answer, true, between(now, time))
              : (*shared_result)(
                    {false, agent.to_string() + " accepted the question, but did not answer it", between(now, time)});
        });
  }
  courier.request(agent, std::move(message), row->is_acknowledged ? MessageType::IEEE1905_ACK_MESSAGE : row->answer,
                  now, [finish, answer_later, &followups](Outcome outcome, const Message* answer, auto took) {
                    if (!answer_later) {
                      finish(answer, outcome == Outcome::DONE, took);
                    } else if (outcome != Outcome::DONE && followups.cancel(*answer_later)) {
                      finish(answer, false, took);
                    }
                  });
}

}  // namespace meshd::controller
