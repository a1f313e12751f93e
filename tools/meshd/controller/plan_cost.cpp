#include "tools/meshd/controller/plan_cost.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <utility>

#include "qel/channel/frequency.h"
#include "qel/channel/opclass_segment.h"
#include "qel/channel/operating_class_deduction.h"

namespace meshd::controller::cost {

namespace {

using qel::ChannelWidth;
using qel::FrequencyBand;
using qel::kHz;
using Reason = ChannelPreferenceReasonCode;

// A radio that is quiet now may be busy tonight: it is taken to need at least this much of the air, in percent at
// 20 MHz.
constexpr double LEAST_DEMAND = 5;
constexpr double DEMAND_OF_CLIENT = 2;
constexpr double MOST_DEMAND_OF_CLIENTS = 45;

constexpr double OFF_AIR = 1000;             ///< a radio that serves nobody
constexpr double SWITCH = 2;                 ///< a change of channel without clients
constexpr double CLIENTS_BEHIND_AGENT = 10;  ///< a backhaul client counts as so many

// What a score below the highest costs, for each point.
constexpr double POINT = 1;
constexpr double POINT_OF_AIR = 0.2;  ///< in addition, of the radio's own air time: on a bad channel it takes longer
// At least, whatever the score: the channel may have to be left, and it must be checked first.
constexpr double FREE_OF_RADAR = 3;
constexpr double UNKNOWN_RADAR = 7;

/// A 2.4 GHz channel other than 1, 6 and 11 disturbs, and is disturbed by, two of those that other networks use.
constexpr double UNUSUAL = 2;

// Pairs about which nothing was reported.
constexpr std::uint8_t RCPI_IN_ONE_DEVICE = 180;  ///< -20 dBm
constexpr std::uint8_t RCPI_OF_UNKNOWN = 60;      ///< -80 dBm
constexpr double UNKNOWN_NEIGHBORS = 6;           ///< so many devices are in range of each

/// The air that a channel occupies, in kHz.
struct Stretch {
  long from = 0;
  long to = 0;
  long width() const { return to - from; }
  friend auto operator<=>(const Stretch&, const Stretch&) = default;
};

using Stretches = std::map<PrimaryChannel, Stretch>;

/// Of all channels in the operating class tables. A 40 MHz channel at 2.4 GHz may extend to either side, and occupies
/// both here.
const Stretches& all_stretches() {
  static const Stretches all = [] {
    constexpr auto REGION = qel::OperatingClassDeduction::Region::GLOBAL;
    Stretches found;
    for (const std::uint8_t opclass : qel::OperatingClassDeduction::get_all_region_opclasses(REGION)) {
      for (const std::uint8_t number : qel::OperatingClassDeduction::get_all_opclass_channels(opclass, REGION)) {
        const qel::OpclassSegment segment = qel::get_opclass_segment(number, opclass, REGION);
        const long half = qel::unit_cast<kHz>(qel::channel_width_to_frequency(segment.width)).value() / 2;
        for (const kHz& primary : segment.get_primaries()) {
          const Stretch stretch{segment.center.value() - half, segment.center.value() + half};
          Stretch& known = found.try_emplace({primary, segment.width}, stretch).first->second;
          known = {std::min(known.from, stretch.from), std::max(known.to, stretch.to)};
        }
      }
    }
    return found;
  }();
  return all;
}

Stretch stretch_of(const PrimaryChannel& channel) {
  const auto found = all_stretches().find(channel);
  return found == all_stretches().end() ? Stretch() : found->second;
}

double overlap(const Stretch& one, const Stretch& other) {
  const long common = std::min(one.to, other.to) - std::max(one.from, other.from);
  const long narrower = std::min(one.width(), other.width());
  if (common <= 0 || narrower <= 0) {
    return 0;
  }
  const double share = static_cast<double>(common) / static_cast<double>(narrower);
  return common < narrower ? share * 1.5 : share;  // only at 2.4 GHz: elsewhere they contain each other or are apart
}

double cost_of_score(const ChannelScore& score, Radar radar, double air) {
  const int points = ChannelScore::HIGHEST - score.score;
  const double rate = is_about_radar(score.reason) ? POINT : POINT + POINT_OF_AIR * air;
  const double doubt = radar == Radar::NONE ? 0 : radar == Radar::FREE ? FREE_OF_RADAR : UNKNOWN_RADAR;
  return std::max(points * rate, doubt);
}

/// Whether a radio may be planned for the channel. One that follows reports that a channel would break its backhaul;
/// but its backhaul moves along.
bool can_use(const PlanRadio& radio, const PrimaryChannel& channel, bool is_leader, const PlanPolicy& policy) {
  const auto found = radio.scores.find(channel);
  if (!is_leader &&
      (radio.scores.empty() ||
       (found != radio.scores.end() && found->second.reason == Reason::OPERATION_WOULD_PREVENT_BACKHAUL_OPERATION))) {
    return true;
  }
  return found != radio.scores.end() && found->second.is_operable() &&
         is_allowed(radar_on(channel, found->second), policy);
}

/// As a set of bits.
unsigned int bands_of(const PlanRadio& radio) {
  unsigned int bands = 0;
  const auto add = [&](const PrimaryChannel& channel) {
    bands |= 1U << static_cast<unsigned int>(qel::frequency_to_band(channel.frequency));
  };
  for (const auto& [channel, score] : radio.scores) {
    add(channel);
  }
  if (radio.current) {
    add(*radio.current);
  }
  return bands;
}

/// Whom a radio follows in the end; itself if nobody, or if they follow each other in a circle.
std::size_t leader_of(const PlanInput& input, std::size_t radio) {
  std::size_t leader = radio;
  for (std::size_t steps = 0; steps <= input.radios.size(); ++steps) {
    const std::optional<std::size_t>& next = input.radios[leader].follows;
    if (!next || *next >= input.radios.size()) {
      return leader;
    }
    leader = *next;
  }
  return radio;
}

}  // namespace

double speed(ChannelWidth width) {
  switch (width) {
    case ChannelWidth::WIDTH_40_MHZ:
      return 1.9;
    case ChannelWidth::WIDTH_80_MHZ:
      return 3.5;
    case ChannelWidth::WIDTH_160_MHZ:
    case ChannelWidth::WIDTH_80_80_MHZ:
      return 6;
    default:
      return 1;
  }
}

double weight_of_hearing(std::uint8_t rcpi) {
  constexpr double NOTHING = 36;     // -92 dBm: below the noise of most receivers
  constexpr double EVERYTHING = 76;  // -72 dBm: above what a receiver lets pass as free air
  return std::clamp((rcpi - NOTHING) / (EVERYTHING - NOTHING), 0.0, 1.0);
}

Radar radar_on(const PrimaryChannel& channel, const ChannelScore& score) {
  constexpr Stretch WITH_DETECTION[] = {{5250000, 5350000}, {5470000, 5730000}};
  switch (score.reason) {
    case Reason::IMMEDIATE_OPERATION_POSSIBLE_ON_DFS_CHANNEL:
    case Reason::CONTROLLER_DFS_CHANNEL_CLEAR_INDICATION:
      return Radar::FREE;
    case Reason::DFS_CHANNEL_STATE_UNKNOWN:
      return Radar::UNKNOWN;
    default:
      return std::ranges::any_of(WITH_DETECTION,
                                 [&](const Stretch& stretch) { return overlap(stretch, stretch_of(channel)) > 0; })
                 ? Radar::UNKNOWN
                 : Radar::NONE;
  }
}

bool is_about_radar(ChannelPreferenceReasonCode reason) {
  return reason == Reason::IMMEDIATE_OPERATION_POSSIBLE_ON_DFS_CHANNEL || reason == Reason::DFS_CHANNEL_STATE_UNKNOWN ||
         reason == Reason::CONTROLLER_DFS_CHANNEL_CLEAR_INDICATION;
}

bool is_usual(const PrimaryChannel& channel) {
  const std::uint8_t number = qel::frequency_to_channel(channel.frequency);
  return qel::frequency_to_band(channel.frequency) != FrequencyBand::BAND_2_4_GHZ || number == 1 || number == 6 ||
         number == 11;
}

bool is_allowed(Radar radar, const PlanPolicy& policy) {
  return radar == Radar::NONE || (policy.use_dfs && (radar == Radar::FREE || policy.use_unchecked_dfs));
}

double overlap(const PrimaryChannel& one, const PrimaryChannel& other) {
  return overlap(stretch_of(one), stretch_of(other));
}

const Group::Option* Group::find_option(Channel channel) const {
  const auto found = std::ranges::find(options, channel, &Option::channel);
  return found == options.end() ? nullptr : &*found;
}

Costs::Costs(const PlanInput& input, const PlanPolicy& policy) {
  for (const PlanRadio& radio : input.radios) {
    const double of_clients = std::min(DEMAND_OF_CLIENT * radio.clients, MOST_DEMAND_OF_CLIENTS);
    demands_.push_back(std::max(radio.demand, LEAST_DEMAND + of_clients));
  }
  find_channels(input);
  find_groups(input, policy);
  find_neighbors(input);
  for (Group& group : groups_) {
    find_options(input, policy, group);
  }
}

void Costs::find_channels(const PlanInput& input) {
  std::set<PrimaryChannel> channels;
  for (const PlanRadio& radio : input.radios) {
    for (const auto& [channel, score] : radio.scores) {
      channels.insert(channel);
    }
    if (radio.current) {
      channels.insert(*radio.current);
    }
  }
  channels_.assign(channels.begin(), channels.end());
  for (const PrimaryChannel& channel : channels_) {
    times_.push_back(1 / speed(channel.width));
  }
  std::vector<Stretch> stretches;
  std::ranges::transform(channels_, std::back_inserter(stretches), stretch_of);
  for (const Stretch& one : stretches) {
    for (const Stretch& other : stretches) {
      overlaps_.push_back(overlap(one, other));
    }
  }
}

Group::Channel Costs::find_channel(const PrimaryChannel& channel) const {
  return static_cast<Group::Channel>(std::ranges::lower_bound(channels_, channel) - channels_.begin());
}

void Costs::find_groups(const PlanInput& input, const PlanPolicy& policy) {
  std::map<std::pair<qel::MACAddress, std::size_t>, std::vector<std::size_t>> members;
  for (std::size_t radio = 0; radio < input.radios.size(); ++radio) {
    const std::size_t leader = leader_of(input, radio);
    auto& its = members[{input.radios[leader].radio, leader}];
    its.insert(radio == leader ? its.begin() : its.end(), radio);
  }
  group_of_.resize(input.radios.size());
  for (auto& [key, its] : members) {
    Group group;
    group.members = std::move(its);
    for (const std::size_t member : group.members) {
      const PlanRadio& radio = input.radios[member];
      group_of_[member] = groups_.size();
      group.is_fixed |= radio.is_fixed;
      const unsigned int backhaul = std::min(radio.backhaul_clients, radio.clients);
      group.move += SWITCH + policy.client_weight * (radio.clients + (CLIENTS_BEHIND_AGENT - 1) * backhaul);
    }
    const PlanRadio& first = input.radios[group.members.front()];
    if (first.current) {
      const auto score = first.scores.find(*first.current);
      group.must_change = !group.is_fixed && (score == first.scores.end() || !score->second.is_operable());
      group.current = find_channel(*first.current);
    } else {
      group.must_change = !group.is_fixed;
    }
    groups_.push_back(std::move(group));
  }
}

void Costs::find_options(const PlanInput& input, const PlanPolicy& policy, Group& group) const {
  double demand = 0;
  for (const std::size_t member : group.members) {
    demand += demands_[member];
  }
  const double shared = demand * static_cast<double>(group.members.size() - 1);  // what they take from each other
  const auto add = [&](Group::Channel index) {
    const PrimaryChannel& channel = channels_[index];
    Group::Option option{index, (demand + shared) / speed(channel.width), is_usual(channel) ? 0 : UNUSUAL};
    for (const std::size_t member : group.members) {
      const auto score = input.radios[member].scores.find(channel);
      if (score != input.radios[member].scores.end() && score->second.is_operable()) {
        const Radar known = radar_on(channel, score->second);
        const bool is_checked = known == Radar::UNKNOWN && index == group.current;  // what is in use was checked
        const Radar radar = is_checked ? Radar::FREE : known;
        option.score += cost_of_score(score->second, radar, demands_[member] / speed(channel.width));
      }
    }
    group.options.push_back(option);
  };
  if (group.is_fixed) {
    if (group.current != Group::NO_CHANNEL) {
      add(group.current);
    }
    return;
  }
  for (const auto& [channel, score] : input.radios[group.members.front()].scores) {
    const Group::Channel index = find_channel(channel);
    const auto has_it = [&, &wanted = channel](std::size_t member) {
      return can_use(input.radios[member], wanted, member == group.members.front(), policy);
    };
    if (index == group.current ? !group.must_change : std::ranges::all_of(group.members, has_it)) {
      add(index);
    }
  }
  // Of the primary channels of one stretch, today's is kept, or the cheapest is taken, or the lowest.
  std::map<Stretch, Group::Option> best;
  for (const Group::Option& option : group.options) {
    const auto [place, is_new] = best.try_emplace(stretch_of(channels_[option.channel]), option);
    Group::Option& known = place->second;
    const bool is_better = option.channel == group.current || option.own() < known.own();
    if (!is_new && known.channel != group.current && is_better) {
      known = option;
    }
  }
  std::erase_if(group.options, [&](const Group::Option& option) {
    return best.at(stretch_of(channels_[option.channel])).channel != option.channel;
  });
}

void Costs::find_neighbors(const PlanInput& input) {
  const std::size_t count = input.radios.size();
  std::map<std::pair<std::size_t, std::size_t>, std::uint8_t> heard;
  std::vector<bool> is_known(count);
  for (const Hearing& hearing : input.hearings) {
    if (hearing.one < count && hearing.other < count && hearing.one != hearing.other) {
      std::uint8_t& rcpi = heard[std::minmax(hearing.one, hearing.other)];
      rcpi = std::max(rcpi, hearing.rcpi);
      is_known[hearing.one] = is_known[hearing.other] = true;
    }
  }
  std::set<qel::MACAddress> agents;
  std::vector<unsigned int> bands;
  for (const PlanRadio& radio : input.radios) {
    agents.insert(radio.agent);
    bands.push_back(bands_of(radio));
  }
  const double others = std::max(static_cast<double>(agents.size()) - 1, 1.0);
  const double unknown = weight_of_hearing(RCPI_OF_UNKNOWN) * std::min(1.0, UNKNOWN_NEIGHBORS / others);
  const auto weight_of = [&](std::size_t one, std::size_t other) {
    const auto found = heard.find({one, other});
    if (found != heard.end()) {
      return weight_of_hearing(found->second);
    }
    if (input.radios[one].agent == input.radios[other].agent) {
      return weight_of_hearing(RCPI_IN_ONE_DEVICE);
    }
    return is_known[one] && is_known[other] ? 0.0 : unknown;
  };

  for (std::size_t one = 0; one < count; ++one) {
    for (std::size_t other = one + 1; other < count; ++other) {
      const std::size_t group = group_of_[one];
      const std::size_t its = group_of_[other];
      const double weight = group == its || (bands[one] & bands[other]) == 0 ? 0 : weight_of(one, other);
      if (weight > 0) {
        groups_[group].neighbors.push_back({its, weight * demands_[one], weight * demands_[other]});
        groups_[its].neighbors.push_back({group, weight * demands_[other], weight * demands_[one]});
      }
    }
  }
  for (Group& group : groups_) {  // several members can have the same neighbor
    std::ranges::sort(group.neighbors, {}, &Group::Neighbor::group);
    std::vector<Group::Neighbor> merged;
    for (const Group::Neighbor& neighbor : group.neighbors) {
      if (merged.empty() || merged.back().group != neighbor.group) {
        merged.push_back(neighbor);
      } else {
        merged.back().ours += neighbor.ours;
        merged.back().theirs += neighbor.theirs;
      }
    }
    group.neighbors = std::move(merged);
  }
}

Assignment Costs::current() const {
  Assignment assignment;
  for (const Group& group : groups_) {
    assignment.push_back(group.must_change ? Group::NO_CHANNEL : group.current);
  }
  return assignment;
}

double Costs::own(const Group& group, Group::Channel channel) const {
  if (const Group::Option* option = group.find_option(channel)) {
    return option->own();
  }
  return group.is_fixed ? 0 : OFF_AIR * static_cast<double>(group.members.size());
}

std::vector<double> Costs::of_options(std::size_t group, const Assignment& assignment) const {
  // Neighbors on one channel are added up first: there are fewer channels than neighbors.
  std::vector<Group::Neighbor> by_channel(channels_.size());
  std::vector<Group::Channel> used;
  for (const Group::Neighbor& neighbor : groups_[group].neighbors) {
    const Group::Channel channel = assignment[neighbor.group];
    if (channel == Group::NO_CHANNEL) {
      continue;
    }
    Group::Neighbor& sum = by_channel[channel];
    if (sum.ours == 0 && sum.theirs == 0) {
      used.push_back(channel);
    }
    sum.ours += neighbor.ours;
    sum.theirs += neighbor.theirs;
  }
  std::vector<double> costs;
  for (const Group::Option& option : groups_[group].options) {
    double cost = option.own();
    for (const Group::Channel channel : used) {
      cost += of_pair(option.channel, by_channel[channel], channel);
    }
    costs.push_back(cost);
  }
  return costs;
}

double Costs::of_group(std::size_t group, Group::Channel channel, const Assignment& assignment) const {
  double cost = own(groups_[group], channel);
  for (const Group::Neighbor& neighbor : groups_[group].neighbors) {
    cost += of_pair(channel, neighbor, assignment[neighbor.group]);
  }
  return cost;
}

double Costs::share_of_group(std::size_t group, const Assignment& assignment) const {
  const double alone = own(groups_[group], assignment[group]);
  return (alone + of_group(group, assignment[group], assignment)) / 2;
}

double Costs::of_all(const Assignment& assignment) const {
  double cost = 0;
  for (std::size_t group = 0; group < groups_.size(); ++group) {
    cost += share_of_group(group, assignment);
  }
  return cost;
}

std::vector<std::size_t> Costs::parts() const {
  constexpr std::size_t NONE = SIZE_MAX;
  std::vector<std::size_t> part_of(groups_.size(), NONE);
  for (std::size_t first = 0; first < groups_.size(); ++first) {
    if (part_of[first] != NONE) {
      continue;
    }
    std::vector<std::size_t> to_visit{first};
    part_of[first] = first;
    while (!to_visit.empty()) {
      const std::size_t group = to_visit.back();
      to_visit.pop_back();
      for (const Group::Neighbor& neighbor : groups_[group].neighbors) {
        if (part_of[neighbor.group] == NONE) {
          part_of[neighbor.group] = first;
          to_visit.push_back(neighbor.group);
        }
      }
    }
  }
  return part_of;
}

}  // namespace meshd::controller::cost
