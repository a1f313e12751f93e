#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "qel/channel/channel_list.h"
#include "qel/channel/dynamic_value.h"
#include "qel/channel/opclass_segment.h"
#include "qel/channel/operating_class_deduction.h"
#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/ap_capability_tlvs.h"
#include "qel/ieee1905_1/channel_preference_tlvs.h"
#include "qel/ieee1905_1/channel_score.h"

namespace qel::ieee1905_1 {

/// Converts between the channel preferences that a radio reports, the score of each of its channels, and its channel
/// list. It knows which channels the radio has and ignores preferences for others.
class QEL_EXPORT ChannelPreferenceConversion {
 public:
  using Region = OperatingClassDeduction::Region;

  /// For the radio with these capabilities. A channel that they name as non-operable is not a channel of the radio,
  /// even if they list its class twice. `unknown` applies to the capabilities and to each report. Throws
  /// std::invalid_argument for a region without a table, and for a rule whose score exceeds 15.
  explicit ChannelPreferenceConversion(const APRadioBasicCapabilitiesTLV& capabilities, Region region = Region::GLOBAL,
                                       UnknownChannels unknown = UnknownChannels::REFUSE,
                                       std::span<const ChannelScoreRule> rules = DEFAULT_CHANNEL_SCORE_RULES);

  const MACAddress& get_radio_identifier() const { return radio_; }

  /// Returns all channels of the radio with their scores. A channel that is listed twice gets the worse score. Throws
  /// std::invalid_argument if the preferences are for another radio.
  ChannelScores to_scores(const ChannelPreferenceTLV& preferences) const;

  /// Returns all channels of the radio, scored by the rules. A wide channel gets the worst score of its 20 MHz
  /// channels. It is non-operable if the list lacks one of them, or if none of them has the capabilities to be its
  /// primary channel.
  ChannelScores to_scores(const ChannelList& channels) const;

  /// Returns as few records as possible, one for each class, score and reason, in ascending order. A record lists no
  /// channels if it covers all channels of the radio in the class. Throws std::invalid_argument for a score above 15.
  ChannelPreferenceTLV to_preferences(const ChannelScores& scores) const;
  ChannelPreferenceTLV to_preferences(const ChannelList& channels) const { return to_preferences(to_scores(channels)); }

  /// Returns the score of each 20 MHz channel of the radio as the primary channel at each width. If several classes
  /// have the same channel, the worse score counts; if the channel can extend above or below its primary channel, as at
  /// 40 MHz in the 2.4 GHz band, the better. For 80+80 MHz, the score of the half that contains the primary channel
  /// counts.
  PrimaryScores to_primary_scores(const ChannelScores& scores) const;

  /// Returns the radio's 20 MHz channels in ascending order, for `ChannelList::update`, with the timestamp `time`. It
  /// sets capabilities, maximum power (the highest of the classes), and state and config flags. Of the flags, it sets
  /// only the bit of the rule that `find_rule` returns for the score of the 20 MHz channel.
  ///
  /// A channel gets the DFS capability only if its flag says something about DFS; which of the others need DFS is for
  /// the radio's driver to tell.
  ///
  /// A score of 0 that no flag expresses removes the capability; a channel without capabilities is left out of the
  /// list. Other scores without a rule have no effect.
  ChannelList to_channel_list(const ChannelScores& scores, std::int64_t time = LastChanged<float>::now()) const;

 private:
  struct Channel {
    OpclassSegment segment;
    signed char power;  ///< highest EIRP, in dBm
  };

  ChannelScore score_of_channel(const OpclassSegment& segment, const ChannelList& channels) const;

  MACAddress radio_;
  Region region_;
  UnknownChannels unknown_;
  std::vector<ChannelScoreRule> rules_;
  std::map<OperatingClassChannel, Channel> channels_;  ///< channels that the radio has
};

/// Combines an agent's own preferences with those from the controller, as the agent must follow them: the worse score
/// for each channel (Multi-AP Specification, 8.2).
QEL_EXPORT ChannelScores merge(const ChannelScores& own, const ChannelScores& others);

}  // namespace qel::ieee1905_1
