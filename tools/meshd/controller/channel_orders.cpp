#include "tools/meshd/controller/channel_orders.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

#include "qel/channel/frequency.h"
#include "qel/ieee1905_1/message_builder.h"
#include "tools/meshd/controller/channels.h"
#include "tools/meshd/controller/plan_words.h"

namespace meshd::controller {

using multi_ap::Outcome;
using qel::kHz;
using qel::MACAddress;
using qel::ieee1905_1::ChannelSelectionResponseCode;
using qel::ieee1905_1::ChannelSelectionResponseTLV;
using qel::ieee1905_1::Message;
using qel::ieee1905_1::MessageType;
using qel::ieee1905_1::PrimaryChannel;
using std::chrono::seconds;

namespace {

/// Whether radar must be looked for there first, for a minute.
bool may_have_to_listen(const PrimaryChannel& channel) {
  constexpr kHz FIRST(5'250'000);
  constexpr kHz LAST(5'730'000);
  return channel.frequency > FIRST && channel.frequency < LAST;
}

/// A channel switch announcement takes some beacon intervals.
seconds patience(const PrimaryChannel& channel) { return may_have_to_listen(channel) ? seconds(90) : seconds(20); }

/// After the radio has reported another channel than it has accepted.
constexpr seconds SECOND_THOUGHTS{3};

std::string channel_text(const RadioModel& radio) {
  const auto channel = radio.channel ? operating_channel(radio.channel->value) : std::nullopt;
  return channel ? name_of(*channel) : "an unknown channel";
}

}  // namespace

struct ChannelOrders::Series {
  std::vector<Step> steps;
  std::size_t next = 0;
  std::string text;
  TimePoint since;
  OnResult on_result;
};

void ChannelOrders::set_channel(const Step& step, TimePoint now, OnResult on_result) {
  MACAddress al_mac;
  const AgentModel* agent = model_.find_agent_of_radio(step.radio, &al_mac);
  if (agent == nullptr || agent->state == AgentState::LOST) {
    throw std::invalid_argument("the mesh has no radio " + step.radio.to_string());
  }
  if (switches_.contains(step.radio)) {
    throw std::invalid_argument("the radio is already being moved");
  }
  const RadioModel& radio = agent->radios.at(step.radio);
  Message message = make_message(MessageType::CHANNEL_SELECTION_REQUEST_MESSAGE,
                                 qel::ieee1905_1::make_IEEE1905_1_msg_id(), only_channel(radio, step.to));
  switches_.emplace(step.radio, Switch{step.to, channel_text(radio), now, TimePoint::max(), std::move(on_result)});
  courier_.request(al_mac, std::move(message), MessageType::CHANNEL_SELECTION_RESPONSE_MESSAGE, now,
                   [this, radio = step.radio, al_mac, now](Outcome outcome, const Message* answer, auto took) {
                     on_response(radio, al_mac, outcome, answer, now + took);
                   });
}

void ChannelOrders::on_response(const MACAddress& radio, const MACAddress& agent, Outcome outcome,
                                const Message* answer, TimePoint now) {
  const auto place = switches_.find(radio);
  if (place == switches_.end()) {
    return;  // it reported the channel before it answered
  }
  if (outcome != Outcome::DONE) {
    end(place, now, false, failure_text(agent, answer));
    return;
  }
  const auto responses = answer->all<ChannelSelectionResponseTLV>();
  const auto response = std::find_if(responses.begin(), responses.end(),
                                     [&](const auto& one) { return one.get_radio_identifier() == radio; });
  if (response == responses.end()) {
    end(place, now, false, "the answer says nothing of this radio");
  } else if (response->get_selection_response_code() != ChannelSelectionResponseCode::ACCEPT) {
    end(place, now, false, enum_to_string(response->get_selection_response_code()));
  } else if (is_there(radio, place->second)) {
    end(place, now, true, "ACCEPT; the radio is on " + name_of(place->second.to));
  } else {
    place->second.due = now + patience(place->second.to);
  }
}

bool ChannelOrders::is_there(const MACAddress& radio, const Switch& order) const {
  const AgentModel* agent = model_.find_agent_of_radio(radio);
  const auto place = agent == nullptr ? decltype(agent->radios.end()){} : agent->radios.find(radio);
  return agent != nullptr && place->second.channel && operating_channel(place->second.channel->value) == order.to;
}

void ChannelOrders::on_channel(const MACAddress& radio, TimePoint now) {
  const auto place = switches_.find(radio);
  if (place == switches_.end()) {
    return;
  }
  Switch& order = place->second;
  if (is_there(radio, order)) {
    end(place, now, true, "ACCEPT; moved from " + order.from + " to " + name_of(order.to));
  } else if (order.due != TimePoint::max() && !may_have_to_listen(order.to)) {
    order.due = std::min(order.due, now + SECOND_THOUGHTS);  // it reports what came of the switch
  }
}

void ChannelOrders::tend(TimePoint now) {
  for (auto place = switches_.begin(); place != switches_.end();) {
    const MACAddress radio = place->first;
    if (place->second.due <= now) {
      const AgentModel* agent = model_.find_agent_of_radio(radio);
      end(place, now, false,
          "ACCEPT, but the radio is not on " + name_of(place->second.to) +
              (agent == nullptr ? "" : "; it reports " + channel_text(agent->radios.at(radio))));
    }
    place = switches_.upper_bound(radio);
  }
}

void ChannelOrders::end(Switches::iterator place, TimePoint now, bool is_success, const std::string& text) {
  const auto order = switches_.extract(place);
  if (is_success) {
    set_failed_at(order.key(), std::nullopt);
  }
  order.mapped().on_result({is_success, text, between(order.mapped().since, now)});
}

void ChannelOrders::set_failed_at(const MACAddress& radio, const std::optional<TimePoint>& time) {
  MACAddress al_mac;
  if (model_.find_agent_of_radio(radio, &al_mac) != nullptr) {
    model_.agents.at(al_mac).radios.at(radio).failed_at = time;
  }
}

void ChannelOrders::set_channels(std::vector<Step> steps, TimePoint now, OnResult on_result) {
  if (steps.empty() || is_busy()) {
    throw std::invalid_argument(steps.empty() ? "there is nothing to change"
                                              : "another change of channels is under way");
  }
  is_in_series_ = true;
  go_on({std::move(steps), 0, {}, now, std::move(on_result)}, now);
}

void ChannelOrders::go_on(Series series, TimePoint now) {
  if (series.next == series.steps.size()) {
    is_in_series_ = false;
    series.on_result({true, series.text, between(series.since, now)});
    return;
  }
  const Step step = series.steps[series.next];
  const auto shared = std::make_shared<Series>(std::move(series));
  const auto on_step = [this, shared, step, now](const Result& result) {
    Series rest = std::move(*shared);
    rest.text += (rest.text.empty() ? "" : "\n") + step.radio.to_string() + ": " + result.text + ", " +
                 seconds_text(result.took);
    ++rest.next;
    if (!result.is_success) {
      is_in_series_ = false;
      set_failed_at(step.radio, now + result.took);
      const std::size_t left = rest.steps.size() - rest.next;
      rest.text += left == 0 ? "" : "\nstopped before " + std::to_string(left) + " more changes";
      rest.on_result({false, rest.text, between(rest.since, now + result.took)});
      return;
    }
    go_on(std::move(rest), now + result.took);
  };
  try {
    set_channel(step, now, on_step);
  } catch (const std::invalid_argument& error) {
    on_step({false, error.what()});
  }
}

}  // namespace meshd::controller
