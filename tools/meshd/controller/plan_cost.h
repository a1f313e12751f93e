#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "qel/ieee1905_1/channel_score.h"
#include "tools/meshd/controller/plan.h"

/// What a plan costs, in percent of the air time of one radio. docs/decisions/0056-channel-plan.md explains the model.
namespace meshd::controller::cost {

using qel::ieee1905_1::ChannelPreferenceReasonCode;
using qel::ieee1905_1::ChannelScore;
using qel::ieee1905_1::PrimaryChannel;

/// How much faster a channel is than one of 20 MHz. Twice the width is not twice as fast: the power is spread over it.
double speed(qel::ChannelWidth width);

/// How much two radios that hear each other at this RCPI disturb each other: 0 not at all, 1 as if they were one.
double weight_of_hearing(std::uint8_t rcpi);

/// What is known of radar on a channel.
enum class Radar : std::uint8_t {
  NONE,     ///< the channel needs no radar detection
  FREE,     ///< it does, and no radar was found
  UNKNOWN,  ///< it does, and must be checked first
};
Radar radar_on(const PrimaryChannel& channel, const ChannelScore& score);

/// Whether the reason says that a channel has been free of radar so far, or that this is not known.
bool is_about_radar(ChannelPreferenceReasonCode reason);

/// False at 2.4 GHz for channels other than 1, 6 and 11, in between those that most networks use.
bool is_usual(const PrimaryChannel& channel);

/// Whether the policy lets a plan choose it.
bool is_allowed(Radar radar, const PlanPolicy& policy);

/// How much of the narrower channel the wider one covers. At 2.4 GHz, channels that cover a part of each other disturb
/// each other more than that says, since neither understands the other's frames: up to 1.125.
double overlap(const PrimaryChannel& one, const PrimaryChannel& other);

/// Radios that are always on the same channel: one, and those that follow it as backhaul stations. Others are
/// neighbors, by their index in the costs.
class Group {
 public:
  using Channel = std::size_t;  ///< index in the costs
  static constexpr Channel NO_CHANNEL = SIZE_MAX;

  struct Option {
    Channel channel = NO_CHANNEL;
    double air = 0;    ///< time on the air, also that of members waiting for each other
    double score = 0;  ///< what speaks against the channel itself
    double own() const { return air + score; }
  };

  struct Neighbor {
    std::size_t group = 0;
    double ours = 0;    ///< air time at 20 MHz that we take from it, if we are on the same channel
    double theirs = 0;  ///< that it takes from us
  };

  std::vector<std::size_t> members{};  ///< indices in the input; first the one that the others follow
  std::vector<Option> options{};       ///< what it may use, and where it is; one for each stretch of the air
  std::vector<Neighbor> neighbors{};   ///< in ascending order
  Channel current = NO_CHANNEL;
  bool is_fixed = false;
  bool must_change = false;
  double move = 0;  ///< what a change costs

  const Option* find_option(Channel channel) const;
};

/// All channels, by group.
using Assignment = std::vector<Group::Channel>;

/// The costs of a mesh.
class Costs {
 public:
  Costs(const PlanInput& input, const PlanPolicy& policy);

  /// In ascending order of the identifier of the first member.
  const std::vector<Group>& groups() const { return groups_; }
  std::size_t group_of(std::size_t radio) const { return group_of_[radio]; }
  const PrimaryChannel& channel(Group::Channel channel) const { return channels_[channel]; }

  /// The channels of today.
  Assignment current() const;

  /// What each option of a group costs with its neighbors as assigned.
  std::vector<double> of_options(std::size_t group, const Assignment& assignment) const;

  /// Of a group and its share with neighbors: what goes away if it does.
  double of_group(std::size_t group, Group::Channel channel, const Assignment& assignment) const;

  /// What the group and the neighbor lose to each other.
  double of_pair(Group::Channel channel, const Group::Neighbor& neighbor, Group::Channel its_channel) const {
    return channel == Group::NO_CHANNEL || its_channel == Group::NO_CHANNEL
               ? 0
               : overlaps_[channel * channels_.size() + its_channel] *
                     (neighbor.ours * times_[channel] + neighbor.theirs * times_[its_channel]);
  }

  /// Its own cost, and half of what it shares with neighbors; these shares add up to the cost of all.
  double share_of_group(std::size_t group, const Assignment& assignment) const;
  double of_all(const Assignment& assignment) const;

  /// Numbers the parts of the mesh that do not disturb each other, for each group.
  std::vector<std::size_t> parts() const;

 private:
  void find_channels(const PlanInput& input);
  void find_groups(const PlanInput& input, const PlanPolicy& policy);
  void find_options(const PlanInput& input, const PlanPolicy& policy, Group& group) const;
  void find_neighbors(const PlanInput& input);
  Group::Channel find_channel(const PrimaryChannel& channel) const;
  double own(const Group& group, Group::Channel channel) const;

  std::vector<PrimaryChannel> channels_;  ///< in ascending order
  std::vector<double> overlaps_;          ///< of each channel with each
  std::vector<double> times_;             ///< that traffic takes on each channel, compared with 20 MHz
  std::vector<Group> groups_;
  std::vector<std::size_t> group_of_;  ///< by radio
  std::vector<double> demands_;        ///< by radio
};

}  // namespace meshd::controller::cost
