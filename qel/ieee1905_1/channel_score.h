#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <variant>

#include "qel/channel/channel_entry.h"
#include "qel/channel/type_with_ratio.h"
#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"
#include "qel/ieee1905_1/channel_preference_tlvs.h"
#include "qel/ieee1905_1/operating_channel_tlvs.h"

namespace qel::ieee1905_1 {

/// How much a radio prefers a channel, and why. The default is the score of a channel that a report omits: most
/// preferred, without a reason.
struct ChannelScore {
  static constexpr std::uint8_t NON_OPERABLE = 0;
  static constexpr std::uint8_t HIGHEST = 15;

  std::uint8_t score = HIGHEST;  ///< 0 to 15
  ChannelPreferenceReasonCode reason = ChannelPreferenceReasonCode::UNSPECIFIED;

  constexpr bool is_operable() const { return score != NON_OPERABLE; }
  friend constexpr bool operator==(const ChannelScore&, const ChannelScore&) = default;
};

/// Returns the worse of the two: the non-operable one, else the one with the lower score. If the scores are equal, a
/// reason beats no reason, and a lower reason code a higher one, so the order of the arguments does not matter.
QEL_EXPORT ChannelScore worse_of(const ChannelScore& a, const ChannelScore& b);

/// Returns the one that worse_of does not.
QEL_EXPORT ChannelScore better_of(const ChannelScore& a, const ChannelScore& b);

/// Scores by channel of an operating class; the channel is the centre of a segment if the class is defined by segments.
/// As in a report, a channel with the highest score and no reason may be omitted.
using ChannelScores = std::map<OperatingClassChannel, ChannelScore>;

/// A 20 MHz channel as the primary channel of a channel of some width.
struct PrimaryChannel {
  kHz frequency;
  ChannelWidth width = ChannelWidth::WIDTH_20_MHZ;

  friend constexpr auto operator<=>(const PrimaryChannel&, const PrimaryChannel&) = default;
};

using PrimaryScores = std::map<PrimaryChannel, ChannelScore>;

/// A DFS channel whose state flags give no DFS state: neither clear, radar found, CAC running nor CAC to do.
struct DFSStateUnknown {};

/// The channel utilization is known and at least this.
struct UtilizationFrom {
  std::uint8_t percent;  ///< 0 to 100
};

/// The average noise power indicator is known and at least this.
struct ANPIFrom {
  std::uint8_t anpi;  ///< 0 to 220 in steps of half a dB; 0 is -110 dBm
};

/// A condition on a 20 MHz channel: a flag that is set, or one of the structures above.
using ChannelCondition = std::variant<ChannelStateBit, ChannelConfigBit, DFSStateUnknown, UtilizationFrom, ANPIFrom>;

/// The score of a 20 MHz channel that meets a condition.
struct ChannelScoreRule {
  ChannelCondition condition;
  ChannelScore score;
};

/// The default rules. From channel to score, the worst score of all matching rules counts; of equal scores, the first.
/// For the conversion from score to channel, see `find_rule`; rules with a comment are only for that direction.
inline constexpr ChannelScoreRule DEFAULT_CHANNEL_SCORE_RULES[] = {
    {ChannelStateBit::RADAR_FOUND, {0, ChannelPreferenceReasonCode::OPERATION_DISALLOWED_RADAR_DFS_CHANNEL}},
    {ChannelStateBit::INTERFERENCE_FOUND, {2, ChannelPreferenceReasonCode::PROXIMATE_NON_80211_INTERFERER}},
    {ANPIFrom{80}, {3, ChannelPreferenceReasonCode::PROXIMATE_NON_80211_INTERFERER}},
    {ChannelConfigBit::REMOTE_DISTURBER,
     {4, ChannelPreferenceReasonCode::EXTERNAL_NETWORK_80211_OBSS_INTERFERENCE_MANAGEMENT}},
    {UtilizationFrom{75}, {5, ChannelPreferenceReasonCode::REDUCED_THROUGHPUT}},
    {ChannelConfigBit::PERFORMANCE_OPTIMIZATION,
     {6, ChannelPreferenceReasonCode::INTRA_NETWORK_80211_OBSS_INTERFERENCE_MANAGEMENT}},
    {ChannelStateBit::PRECAC_TODO, {8, ChannelPreferenceReasonCode::DFS_CHANNEL_STATE_UNKNOWN}},
    {DFSStateUnknown{}, {8, ChannelPreferenceReasonCode::DFS_CHANNEL_STATE_UNKNOWN}},
    {ChannelStateBit::CAC_RUNNING, {9, ChannelPreferenceReasonCode::DFS_CHANNEL_STATE_UNKNOWN}},
    {ChannelStateBit::DFS_CLEAR, {12, ChannelPreferenceReasonCode::IMMEDIATE_OPERATION_POSSIBLE_ON_DFS_CHANNEL}},
    // Sent by a controller to its agents.
    {ChannelStateBit::DFS_CLEAR, {12, ChannelPreferenceReasonCode::CONTROLLER_DFS_CHANNEL_CLEAR_INDICATION}},
};

/// Returns the score of the channel at a width of 20 MHz.
QEL_EXPORT ChannelScore score_of(const ChannelEntry& entry, std::span<const ChannelScoreRule> rules);

/// Returns the rule whose flag expresses the score: the first with this score and reason; else the first with this
/// reason that agrees with the score on whether the channel is operable. Null if the score has no reason, or there is
/// no such rule.
QEL_EXPORT const ChannelScoreRule* find_rule(const ChannelScore& score, std::span<const ChannelScoreRule> rules);

}  // namespace qel::ieee1905_1
