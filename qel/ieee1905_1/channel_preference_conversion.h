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

/// Between the channel preferences that a radio reports, the score of each of its channels, and its channel list. It
/// knows which channels the radio has; what others say of channels that it does not have changes nothing.
class QEL_EXPORT ChannelPreferenceConversion {
 public:
  using Region = OperatingClassDeduction::Region;

  /// Of the radio with these capabilities, for good: a channel that they name as non-operable is not of the radio,
  /// also when they name its class twice. `unknown` is about them and about each report. Throws std::invalid_argument
  /// for a region without a table, and for a rule whose score is above 15.
  explicit ChannelPreferenceConversion(const APRadioBasicCapabilitiesTLV& capabilities, Region region = Region::GLOBAL,
                                       UnknownChannels unknown = UnknownChannels::REFUSE,
                                       std::span<const ChannelScoreRule> rules = DEFAULT_CHANNEL_SCORE_RULES);

  const MACAddress& get_radio_identifier() const { return radio_; }

  /// All channels of the radio with their scores. A channel that is listed twice has the worse one. Throws
  /// std::invalid_argument when the preferences are those of another radio.
  ChannelScores to_scores(const ChannelPreferenceTLV& preferences) const;

  /// All channels of the radio, scored by the rules. A wide channel has the worst score of its 20 MHz channels. It is
  /// non-operable when the list lacks one of them, and when none has the capabilities to be its primary channel.
  ChannelScores to_scores(const ChannelList& channels) const;

  /// As few records as can say it, one for each class, score and reason, in ascending order of these. A record lists no
  /// channels when it is about all that the radio has in the class. Throws std::invalid_argument for a score above 15.
  ChannelPreferenceTLV to_preferences(const ChannelScores& scores) const;
  ChannelPreferenceTLV to_preferences(const ChannelList& channels) const { return to_preferences(to_scores(channels)); }

  /// The score of each 20 MHz channel of the radio as the primary one at each width. Of several classes with the same
  /// channel the worse score; where the channel can lie above or below its primary one, as at 40 MHz in the 2.4 GHz
  /// band, the better. At 80+80 MHz that of the half with the primary channel.
  PrimaryScores to_primary_scores(const ChannelScores& scores) const;

  /// The radio's 20 MHz channels in ascending order, for `ChannelList::update`, with everything that is set set at
  /// `time`: capabilities and maximum power (the highest of the classes), and as state and config flags the bit of the
  /// rule that `find_rule` gives for the score of the channel by itself, no other bit.
  ///
  /// A score of 0 that no flag stands for takes away the capability; a channel that has none left is not in the list.
  /// Other scores without a rule leave no trace.
  ChannelList to_channel_list(const ChannelScores& scores, std::int64_t time = LastChanged<float>::now()) const;

 private:
  struct Channel {
    OpclassSegment segment;
    signed char power;  ///< the highest EIRP in dBm
  };

  ChannelScore score_of_channel(const OpclassSegment& segment, const ChannelList& channels) const;

  MACAddress radio_;
  Region region_;
  UnknownChannels unknown_;
  std::vector<ChannelScoreRule> rules_;
  std::map<OperatingClassChannel, Channel> channels_;  ///< those that the radio has
};

/// What an agent follows that has preferences of its own and got others from the controller: of each channel the worse
/// score (Multi-AP Specification, 8.2).
QEL_EXPORT ChannelScores merge(const ChannelScores& own, const ChannelScores& others);

}  // namespace qel::ieee1905_1
