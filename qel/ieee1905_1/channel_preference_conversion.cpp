#include "qel/ieee1905_1/channel_preference_conversion.h"

#include <algorithm>
#include <bitset>
#include <limits>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <variant>

#include "qel/channel/frequency.h"
#include "qel/core/text.h"

namespace qel::ieee1905_1 {

namespace {

/// A channel that a report omits has the highest score.
ChannelScore score_in(const ChannelScores& scores, const OperatingClassChannel& channel) {
  const auto found = scores.find(channel);
  return found == scores.end() ? ChannelScore() : found->second;
}

void check(const ChannelScore& score) {
  if (score.score > ChannelScore::HIGHEST) {
    throw std::invalid_argument("Channel score " + std::to_string(score.score) + " is above 15");
  }
}

/// Stores the score if it is the first for its key; otherwise what `choose` makes of both.
template <class Scores, class Choose>
void add(Scores& scores, const typename Scores::key_type& key, const ChannelScore& score, const Choose& choose) {
  const auto [place, is_first] = scores.emplace(key, score);
  if (!is_first) {
    place->second = choose(place->second, score);
  }
}

/// What is known about a 20 MHz channel while the list is built.
struct Found {
  std::bitset<9> widths;  ///< as capabilities, including what 40 MHz needs
  std::bitset<5> state;
  std::bitset<2> config;
  ChannelScore score;  ///< expressed by state and config
  signed char power = std::numeric_limits<signed char>::min();
};

void set_bit(Found& found, const ChannelCondition& condition) {
  if (const auto* state = std::get_if<ChannelStateBit>(&condition)) {
    found.state.set(bit_index(*state));
  } else if (const auto* config = std::get_if<ChannelConfigBit>(&condition)) {
    found.config.set(bit_index(*config));
  }
}

/// True if the state says more than interference, which any channel can have.
bool is_dfs(std::bitset<5> state) { return state.reset(bit_index(ChannelStateBit::INTERFERENCE_FOUND)).any(); }

}  // namespace

ChannelPreferenceConversion::ChannelPreferenceConversion(const APRadioBasicCapabilitiesTLV& capabilities, Region region,
                                                         UnknownChannels unknown,
                                                         std::span<const ChannelScoreRule> rules)
    : radio_(capabilities.get_radio_identifier()),
      region_(region),
      unknown_(unknown),
      rules_(rules.begin(), rules.end()) {
  for (const ChannelScoreRule& rule : rules_) {
    check(rule.score);
  }
  const auto& known = OperatingClassDeduction::get_lookup(region);
  const std::set<std::uint8_t> known_classes = known.get_all_region_opclasses();
  std::set<OperatingClassChannel> non_operable;
  for (const OperatingClassInformation& information : capabilities.get_operation_class_information_vector()) {
    const std::uint8_t opclass = information.get_operating_class();
    for (const std::uint8_t channel :
         get_known_channels(information.get_non_operable_channel_vector(), opclass, region, unknown)) {
      non_operable.emplace(opclass, channel);
    }
    if (!known_classes.contains(opclass)) {
      continue;
    }
    for (const std::uint8_t channel : known.get_all_opclass_channels(opclass)) {
      const Channel described{get_opclass_segment(channel, opclass, region), information.get_transmit_power()};
      Channel& own = channels_.emplace(OperatingClassChannel(opclass, channel), described).first->second;
      own.power = std::max(own.power, described.power);
    }
  }
  std::erase_if(channels_, [&](const auto& each) { return non_operable.contains(each.first); });
}

ChannelScores ChannelPreferenceConversion::to_scores(const ChannelPreferenceTLV& preferences) const {
  if (preferences.get_radio_identifier() != radio_) {
    throw std::invalid_argument("Channel preferences of radio " + to_string(preferences.get_radio_identifier()) +
                                ", not of " + to_string(radio_));
  }
  ChannelScores reported;
  for (const ChannelPreference& record : preferences.get_channel_preference_vector()) {
    const std::uint8_t opclass = record.get_operating_class();
    const ChannelScore score{record.get_preference_score(), record.get_reason_code()};
    const std::vector<std::uint8_t>& listed = record.get_channel_vector();
    for (const std::uint8_t channel : get_known_channels(listed, opclass, region_, unknown_)) {
      add(reported, {opclass, channel}, score, worse_of);
    }
    if (listed.empty()) {
      for (auto own = channels_.lower_bound({opclass, 0});
           own != channels_.end() && own->first.get_operating_class() == opclass; ++own) {
        add(reported, own->first, score, worse_of);
      }
    }
  }
  ChannelScores scores;
  for (const auto& [channel, described] : channels_) {
    scores.emplace_hint(scores.end(), channel, score_in(reported, channel));
  }
  return scores;
}

ChannelScore ChannelPreferenceConversion::score_of_channel(const OpclassSegment& segment,
                                                           const ChannelList& channels) const {
  constexpr ChannelScore NON_OPERABLE{ChannelScore::NON_OPERABLE};
  const auto can_be_primary = [&](const kHz& frequency) {
    const ChannelEntry* entry = channels.get_channel_entry(frequency);
    return entry != nullptr && (segment.capabilities & ~entry->get_capability_flags()).none();
  };
  if (std::ranges::none_of(segment.get_primaries(), can_be_primary)) {
    return NON_OPERABLE;
  }
  ChannelScore score;
  for (const kHz& frequency : segment.get_20_mhz_channels()) {
    const ChannelEntry* entry = channels.get_channel_entry(frequency);
    if (entry == nullptr) {
      return NON_OPERABLE;
    }
    score = worse_of(score, score_of(*entry, rules_));
  }
  return score;
}

ChannelScores ChannelPreferenceConversion::to_scores(const ChannelList& channels) const {
  ChannelScores scores;
  for (const auto& [channel, described] : channels_) {
    scores.emplace_hint(scores.end(), channel, score_of_channel(described.segment, channels));
  }
  return scores;
}

ChannelPreferenceTLV ChannelPreferenceConversion::to_preferences(const ChannelScores& scores) const {
  std::map<std::uint8_t, std::size_t> sizes;  // number of the radio's channels in each class
  std::map<std::tuple<std::uint8_t, std::uint8_t, ChannelPreferenceReasonCode>, std::vector<std::uint8_t>> records;
  for (const auto& [channel, described] : channels_) {
    const ChannelScore score = score_in(scores, channel);
    check(score);
    ++sizes[channel.get_operating_class()];
    if (score != ChannelScore()) {
      records[{channel.get_operating_class(), score.score, score.reason}].push_back(channel.get_channel());
    }
  }
  ChannelPreferenceTLV preferences(radio_);
  for (const auto& [key, listed] : records) {
    const auto& [opclass, score, reason] = key;
    ChannelPreference record;
    record.set_operating_class(opclass);
    record.set_preference_score(score);
    record.set_reason_code(reason);
    if (listed.size() < sizes[opclass]) {
      std::ranges::for_each(listed, [&](std::uint8_t channel) { record.add_channel(channel); });
    }
    preferences.add_channel_preference(record);
  }
  return preferences;
}

PrimaryScores ChannelPreferenceConversion::to_primary_scores(const ChannelScores& scores) const {
  std::map<std::pair<PrimaryChannel, kHz>, ChannelScore> by_center;
  for (const auto& [channel, described] : channels_) {
    for (const kHz& primary : described.segment.get_primaries()) {
      add(by_center, {{primary, described.segment.width}, described.segment.center}, score_in(scores, channel),
          worse_of);
    }
  }
  PrimaryScores of_primaries;
  for (const auto& [key, score] : by_center) {
    add(of_primaries, key.first, score, better_of);
  }
  return of_primaries;
}

ChannelList ChannelPreferenceConversion::to_channel_list(const ChannelScores& scores, std::int64_t time) const {
  std::map<kHz, Found> channels;
  for (const auto& [primary, score] : to_primary_scores(scores)) {
    const auto [place, is_narrowest] = channels.try_emplace(primary.frequency);
    const ChannelScoreRule* rule = is_narrowest ? find_rule(score, rules_) : nullptr;
    if (rule != nullptr) {
      set_bit(place->second, rule->condition);
      place->second.score = rule->score;
    }
  }
  for (const auto& [channel, described] : channels_) {
    const ChannelScore score = score_in(scores, channel);
    const bool has_width =
        score.is_operable() || std::ranges::any_of(described.segment.get_20_mhz_channels(), [&](const kHz& frequency) {
          const auto part = channels.find(frequency);
          return part != channels.end() && part->second.score == score;
        });
    for (const kHz& primary : described.segment.get_primaries()) {
      Found& found = channels[primary];
      found.power = std::max(found.power, described.power);
      if (has_width) {
        found.widths |= described.segment.capabilities;
      }
    }
  }
  std::vector<ChannelEntry> entries;
  for (const auto& [frequency, found] : channels) {
    if (found.widths.any()) {
      std::bitset<9> capabilities = found.widths;
      capabilities.set(bit_index(ChannelCapabilityBit::DFS), is_dfs(found.state));
      entries.emplace_back(frequency_to_channel(frequency), frequency, capabilities,
                           LastChanged<std::bitset<5>>(found.state, time),
                           LastChanged<std::bitset<2>>(found.config, time), LastChanged<float>(found.power, time));
    }
  }
  return ChannelList(std::move(entries));
}

ChannelScores merge(const ChannelScores& own, const ChannelScores& others) {
  ChannelScores merged = own;
  for (const auto& [channel, score] : others) {
    add(merged, channel, score, worse_of);
  }
  return merged;
}

}  // namespace qel::ieee1905_1
