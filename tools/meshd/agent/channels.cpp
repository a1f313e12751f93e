#include "tools/meshd/agent/channels.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

#include "qel/channel/frequency.h"
#include "qel/channel/opclass_segment.h"
#include "qel/channel/operating_class_deduction.h"
#include "qel/ieee1905_1/operating_channel_conversion.h"
#include "tools/meshd/agent/capabilities.h"

namespace meshd::agent {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::ChannelInfo;
using qel::ChannelWidth;
using qel::kHz;
using qel::MACAddress;
using wifi::AirRadio;

constexpr auto REGION = qel::OperatingClassDeduction::Region::GLOBAL;

constexpr std::size_t MOST_PREFERENCES = 8;  // of a radio in one request

std::optional<PrimaryChannel> present_channel(const AirRadio& radio) {
  if (!radio.channel.get_primary_frequency().is_set()) {
    return std::nullopt;
  }
  const auto& segment = radio.channel.get_primary_segment();
  return PrimaryChannel{radio.channel.get_primary_frequency().get(),
                        segment.is_set() ? segment.get().second : ChannelWidth::WIDTH_20_MHZ};
}

bool is_bound_by_backhaul(const AirRadio& radio) {
  return radio.backhaul && radio.backhaul->bssid && radio.channel.get_primary_frequency().is_set();
}

/// What the controller asks for. A radio that it does not mention may use all its channels.
ChannelScores asked_scores(const ChannelPreferenceConversion& conversion,
                           const std::vector<ChannelPreferenceTLV>& asked) {
  ChannelScores scores = conversion.to_scores(ChannelPreferenceTLV(conversion.get_radio_identifier()));
  for (const ChannelPreferenceTLV& each : asked) {
    scores = merge(scores, conversion.to_scores(each));
  }
  return scores;
}

bool are_all_equal(const ChannelScores& scores) {
  return std::ranges::all_of(scores,
                             [&](const auto& each) { return each.second.score == scores.begin()->second.score; });
}

bool has_operable(const ChannelScores& scores) {
  return std::ranges::any_of(scores, [](const auto& each) { return each.second.is_operable(); });
}

/// The best channel, as select_channel() describes it.
std::optional<PrimaryChannel> best_channel(const PrimaryScores& scores, const std::optional<PrimaryChannel>& present) {
  const auto score_at = [&](const kHz& frequency, ChannelWidth width) {
    const auto found = scores.find({frequency, width});
    return found == scores.end() ? ChannelScore::NON_OPERABLE : found->second.score;
  };
  const auto rank = [&](const PrimaryChannel& channel, const ChannelScore& score) {
    unsigned int narrower = 0;
    for (auto width = ChannelWidth::WIDTH_20_MHZ; width < channel.width;
         width = static_cast<ChannelWidth>(static_cast<std::uint8_t>(width) + 1)) {
      narrower += score_at(channel.frequency, width);
    }
    const bool is_present = present && present->frequency == channel.frequency;
    return std::tuple(score.score, channel.width, narrower, is_present);
  };
  std::optional<PrimaryChannel> best;
  ChannelScore best_score;
  for (const auto& [channel, score] : scores) {
    // The second half of 80+80 MHz cannot be expressed by preferences.
    if (!score.is_operable() || channel.width > ChannelWidth::WIDTH_160_MHZ) {
      continue;
    }
    if (!best || rank(channel, score) > rank(*best, best_score)) {
      best = channel;
      best_score = score;
    }
  }
  return best;
}

/// As the channel that a radio is to switch to. Of several with this primary channel and width, as at 40 MHz in the 2.4
/// GHz band, the best.
ChannelInfo channel_info(const PrimaryChannel& channel, const ChannelScores& scores, TimePoint now) {
  const std::int64_t time = std::max<std::int64_t>(1, std::chrono::nanoseconds(now.time_since_epoch()).count());
  std::optional<kHz> center;
  std::uint8_t best = ChannelScore::NON_OPERABLE;
  for (const auto& [number, score] : scores) {
    const auto segment = get_opclass_segment(number.get_channel(), number.get_operating_class(), REGION);
    if (score.score > best && segment.width == channel.width &&
        std::ranges::count(segment.get_primaries(), channel.frequency) != 0) {
      center = segment.center;
      best = score.score;
    }
  }
  return {qel::LastChanged<kHz>(channel.frequency, time),
          qel::LastChanged<ChannelInfo::Segment>({center.value_or(channel.frequency), channel.width}, time),
          kHz(0),
          {}};
}

/// The power does not matter.
bool is_same_channel(const ChannelInfo& one, const ChannelInfo& other) {
  return one.get_primary_frequency().equivalent_to(other.get_primary_frequency()) &&
         one.get_primary_segment().equivalent_to(other.get_primary_segment()) &&
         one.get_secondary_center_frequency() == other.get_secondary_center_frequency();
}

std::string text_of(const ChannelInfo& channel) {
  std::ostringstream text;
  text << "channel " << int{qel::frequency_to_channel(channel.get_primary_frequency().get())} << " at "
       << channel.get_primary_segment().get().second;
  return text.str();
}

}  // namespace

ChannelScores own_scores(const AirRadio& radio, const ChannelPreferenceConversion& conversion) {
  ChannelScores scores = conversion.to_scores(operable_channels(radio));
  if (is_bound_by_backhaul(radio)) {
    const kHz bound = radio.channel.get_primary_frequency().get();
    for (auto& [channel, score] : scores) {
      const auto segment = get_opclass_segment(channel.get_channel(), channel.get_operating_class(), REGION);
      if (score.is_operable() && std::ranges::count(segment.get_primaries(), bound) == 0) {
        score = {ChannelScore::NON_OPERABLE, ChannelPreferenceReasonCode::OPERATION_WOULD_PREVENT_BACKHAUL_OPERATION};
      }
    }
  }
  return scores;
}

Selection select_channel(const AirRadio& radio, const std::vector<ChannelPreferenceTLV>& asked,
                         const std::optional<ChannelPreferenceTLV>& reported, TimePoint now) {
  using enum ChannelSelectionResponseCode;
  const ChannelPreferenceConversion& conversion = conversion_of(radio);
  const ChannelScores wanted = asked_scores(conversion, asked);
  const ChannelScores merged = merge(own_scores(radio, conversion), wanted);
  if (!has_operable(merged)) {
    if (is_bound_by_backhaul(radio) && has_operable(merge(conversion.to_scores(operable_channels(radio)), wanted))) {
      return {DECLINE_BREAKS_BACKHAUL_LINK};
    }
    const bool was_possible = reported && has_operable(merge(conversion.to_scores(*reported), wanted));
    return {was_possible ? DECLINE_VIOLATES_CHANGED_PREFERED : DECLINE_VIOLATES_REPORTED_PREFERED};
  }
  const PrimaryScores scores = conversion.to_primary_scores(merged);
  const std::optional<PrimaryChannel> present = present_channel(radio);
  if (are_all_equal(wanted)) {
    const auto found = present ? scores.find(*present) : scores.end();
    if (found == scores.end() || found->second.is_operable()) {
      return {ACCEPT};
    }
  }
  const std::optional<PrimaryChannel> best = best_channel(scores, present);
  if (!best) {
    return {DECLINE_VIOLATES_REPORTED_PREFERED};
  }
  if (is_bound_by_backhaul(radio) && best->frequency != present->frequency) {
    return {DECLINE_BREAKS_BACKHAUL_LINK};
  }
  const ChannelInfo info = channel_info(*best, merged, now);
  return is_same_channel(info, radio.channel) ? Selection{ACCEPT} : Selection{ACCEPT, info};
}

std::optional<OperatingChannelReportTLV> operating_channel(const AirRadio& radio) {
  try {
    return OperatingChannelConversion(REGION).to_report(radio.identifier, radio.channel);
  } catch (const std::invalid_argument&) {
    return std::nullopt;
  }
}

void Channels::on_preference_query(const Received& received) {
  MessageBuilder report = Desk::answer_to(received, MessageType::CHANNEL_PREFERENCE_REPORT_MESSAGE);
  const bool is_from_controller = received.from == desk_.controller();
  for (const AirRadio& radio : desk_.air().radios()) {
    const ChannelPreferenceConversion& conversion = conversion_of(radio);
    ChannelPreferenceTLV preferences = conversion.to_preferences(own_scores(radio, conversion));
    if (is_from_controller) {
      preferences_.insert_or_assign(radio.identifier, preferences);
    }
    report.add(std::move(preferences));
  }
  desk_.reply(received, report);
}

void Channels::on_selection_request(const Received& received) {
  const Message& message = received.message();
  std::map<MACAddress, std::vector<ChannelPreferenceTLV>> asked;
  std::map<MACAddress, std::uint8_t> limits;
  for (const ChannelPreferenceTLV& preferences : message.all<ChannelPreferenceTLV>()) {
    std::vector<ChannelPreferenceTLV>& of_radio = asked[preferences.get_radio_identifier()];
    if (of_radio.size() < MOST_PREFERENCES) {
      of_radio.push_back(preferences);
    }
  }
  for (const TransmitPowerLimitTLV& limit : message.all<TransmitPowerLimitTLV>()) {
    limits[limit.get_radio_identifier()] = limit.get_power_limit();
    asked.try_emplace(limit.get_radio_identifier());
  }
  const std::vector<AirRadio> radios = desk_.air().radios();
  if (asked.empty()) {
    for (const AirRadio& radio : radios) {
      asked.try_emplace(radio.identifier);
    }
  }

  MessageBuilder response = Desk::answer_to(received, MessageType::CHANNEL_SELECTION_RESPONSE_MESSAGE);
  std::map<MACAddress, Selection> selections;
  std::vector<MACAddress> staying;
  for (const auto& [identifier, preferences] : asked) {
    const AirRadio* radio = find_radio(radios, identifier);
    Selection selection{ChannelSelectionResponseCode::DECLINE_VIOLATES_REPORTED_PREFERED};  // if it is unknown
    if (radio != nullptr) {
      const auto reported = preferences_.find(identifier);
      // Without preferences it is no order to move, and anyone may send it.
      selection = preferences.empty()
                      ? Selection{}
                      : select_channel(*radio, preferences,
                                       reported == preferences_.end() ? std::nullopt : std::optional(reported->second),
                                       desk_.now());
      selections.emplace(identifier, selection);
      if (!selection.switch_to) {
        staying.push_back(identifier);
      }
    }
    response.add(ChannelSelectionResponseTLV(identifier, selection.code));
  }
  desk_.answer(received, response);

  for (const auto& [identifier, selection] : selections) {
    if (const auto limit = limits.find(identifier);
        limit != limits.end() && selection.code == ChannelSelectionResponseCode::ACCEPT) {
      desk_.air().limit_power(identifier, limit->second,
                              desk_.while_alive([this, radio = identifier](const std::string& trouble) {
                                if (!trouble.empty()) {
                                  desk_.log("cannot limit the power of radio " + radio.to_string() + ": " + trouble);
                                }
                              }));
    }
    if (selection.switch_to) {
      carry_out(identifier, *selection.switch_to);
    }
  }
  if (received.from == desk_.controller()) {
    report_operating_channels(staying);
  }
}

void Channels::carry_out(const MACAddress& radio, const ChannelInfo& channel) {
  desk_.log("switching radio " + radio.to_string() + " to " + text_of(channel));
  desk_.air().switch_channel(radio, channel, desk_.while_alive([this, radio, channel](const std::string& trouble) {
    if (!trouble.empty()) {
      desk_.log("cannot switch radio " + radio.to_string() + " to " + text_of(channel) + ": " + trouble);
    }
    report_operating_channels({radio});
  }));
}

void Channels::report_operating_channels(const std::vector<MACAddress>& of) {
  MessageBuilder report(MessageType::OPERATING_CHANNEL_REPORT_MESSAGE);
  bool is_empty = true;
  for (const AirRadio& radio : desk_.air().radios()) {
    const auto channel = operating_channel(radio);
    if (channel && std::ranges::count(of, radio.identifier) != 0) {
      channels_.insert_or_assign(radio.identifier, *channel);
      report.add(*channel);
      is_empty = false;
    }
  }
  if (!is_empty) {
    desk_.report(report);
  }
}

void Channels::forget_reports() {
  preferences_.clear();
  channels_.clear();
}

void Channels::report_changes() {
  const std::vector<AirRadio> radios = desk_.air().radios();
  MessageBuilder report(MessageType::CHANNEL_PREFERENCE_REPORT_MESSAGE);
  bool has_preferences = false;
  std::vector<MACAddress> moved;
  for (const AirRadio& radio : radios) {
    const ChannelPreferenceConversion& conversion = conversion_of(radio);
    const ChannelPreferenceTLV preferences = conversion.to_preferences(own_scores(radio, conversion));
    const auto [known, is_new] = preferences_.try_emplace(radio.identifier, preferences);
    if (is_new || known->second != preferences) {
      known->second = preferences;
      report.add(preferences);
      has_preferences = true;
    }
    const auto channel = operating_channel(radio);
    const auto told = channels_.find(radio.identifier);
    if (channel && (told == channels_.end() || told->second != *channel)) {
      moved.push_back(radio.identifier);
    }
  }
  const auto is_gone = [&](const auto& each) { return find_radio(radios, each.first) == nullptr; };
  std::erase_if(preferences_, is_gone);
  std::erase_if(channels_, is_gone);
  if (has_preferences) {
    desk_.report(report);
  }
  if (!moved.empty()) {
    report_operating_channels(moved);
  }
}

}  // namespace meshd::agent
