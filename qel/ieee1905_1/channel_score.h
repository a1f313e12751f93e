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

/// How much a radio prefers a channel, and why. Made by default it is what a report does not say: preferred most, for
/// no reason.
struct ChannelScore {
  static constexpr std::uint8_t NON_OPERABLE = 0;
  static constexpr std::uint8_t HIGHEST = 15;

  std::uint8_t score = HIGHEST;  ///< 0 to 15
  ChannelPreferenceReasonCode reason = ChannelPreferenceReasonCode::UNSPECIFIED;

  constexpr bool is_operable() const { return score != NON_OPERABLE; }
  friend constexpr bool operator==(const ChannelScore&, const ChannelScore&) = default;
};

/// The worse of the two: non-operable, else the lower score. Of equal scores that with a reason, then that with the
/// lower reason code, so the order of the two does not matter.
QEL_EXPORT ChannelScore worse_of(const ChannelScore& a, const ChannelScore& b);

/// The other one.
QEL_EXPORT ChannelScore better_of(const ChannelScore& a, const ChannelScore& b);

/// By channel of an operating class, the centre of a segment where the class is defined by them. Like a report, it
/// leaves out what is preferred most for no reason, or says it.
using ChannelScores = std::map<OperatingClassChannel, ChannelScore>;

/// A 20 MHz channel as the primary one of a channel of some width.
struct PrimaryChannel {
  kHz frequency;
  ChannelWidth width = ChannelWidth::WIDTH_20_MHZ;

  friend constexpr auto operator<=>(const PrimaryChannel&, const PrimaryChannel&) = default;
};

using PrimaryScores = std::map<PrimaryChannel, ChannelScore>;

/// A DFS channel of which the state flags do not say how it stands: clear, radar found, CAC running or still to do.
struct DFSStateUnknown {};

/// The channel utilization is known, and this or above.
struct UtilizationFrom {
  std::uint8_t percent;  ///< 0 to 100
};

/// The average noise power indicator is known, and this or above.
struct ANPIFrom {
  std::uint8_t anpi;  ///< in steps of half a dB from 0, which is -110 dBm, to 220
};

/// What can be known of a 20 MHz channel: a bit that is set, or one of the others.
using ChannelCondition = std::variant<ChannelStateBit, ChannelConfigBit, DFSStateUnknown, UtilizationFrom, ANPIFrom>;

/// The score of a 20 MHz channel of which something is known.
struct ChannelScoreRule {
  ChannelCondition condition;
  ChannelScore score;
};

/// The rules unless others are given. From channel to score, the worst score of all rules that hold counts; of equal
/// scores the first. From score to channel, see `find_rule`: the rules with a comment are there for that way only.
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
    // What a controller tells its agents.
    {ChannelStateBit::DFS_CLEAR, {12, ChannelPreferenceReasonCode::CONTROLLER_DFS_CHANNEL_CLEAR_INDICATION}},
};

/// Of the channel as a 20 MHz one.
QEL_EXPORT ChannelScore score_of(const ChannelEntry& entry, std::span<const ChannelScoreRule> rules);

/// The rule whose bit stands for the score: the first with this score and reason, else the first with this reason that
/// makes a channel operable if the score does. Null for scores without a reason, and when there is none.
QEL_EXPORT const ChannelScoreRule* find_rule(const ChannelScore& score, std::span<const ChannelScoreRule> rules);

}  // namespace qel::ieee1905_1
