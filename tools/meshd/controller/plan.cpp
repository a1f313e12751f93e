#include "tools/meshd/controller/plan.h"

#include <algorithm>
#include <limits>
#include <set>
#include <utility>

#include "tools/meshd/controller/plan_cost.h"
#include "tools/meshd/controller/plan_search.h"
#include "tools/meshd/controller/plan_words.h"

namespace meshd::controller {

namespace {

using cost::Assignment;
using cost::Costs;
using cost::Found;
using cost::Group;
using cost::Radar;
using qel::ieee1905_1::ChannelScore;
using qel::ieee1905_1::PrimaryChannel;

constexpr std::size_t MOST_REJECTED = 3;  ///< channels that cost more, as many with other reasons, and unusable ones
constexpr double LITTLE = 0.05;           ///< less is not worth a word, and is printed as 0.0

/// Decides, and finds the words for it.
class Planner {
 public:
  Planner(const PlanInput& input, const PlanPolicy& policy)
      : input_(input), policy_(policy), costs_(input, policy), found_(cost::search(costs_, policy)) {}

  Plan plan() const {
    Plan plan;
    plan.cost_before = costs_.of_all(costs_.current());
    plan.cost_after = costs_.of_all(found_.planned);
    plan.stays.resize(input_.radios.size());
    plan.rejected.resize(input_.radios.size());
    for (const std::size_t group : cost::order_of_changes(costs_, found_.planned)) {
      plan.changes.push_back({leader(group), costs_.channel(found_.planned[group]), why_change(group)});
    }
    for (std::size_t group = 0; group < costs_.groups().size(); ++group) {
      const Group& its = costs_.groups()[group];
      if (!is_changed(group)) {
        plan.stays[leader(group)] = why_stay(group);
      }
      for (std::size_t index = 1; index < its.members.size(); ++index) {
        plan.stays[its.members[index]] =
            "it follows " + name_of(input_.radios[leader(group)]) + ", to which it is linked";
      }
      plan.rejected[leader(group)] = rejected(group, plan.cost_after);
    }
    plan.verdict = verdict(plan);
    return plan;
  }

 private:
  /// What a channel costs a group, by cause.
  struct Causes {
    double air = 0;
    double score = 0;
    double neighbors = 0;
    std::size_t worst = SIZE_MAX;  ///< the group that it shares most with
    double of_worst = 0;
    double sum() const { return air + score + neighbors; }
  };

  Causes causes(std::size_t group, Group::Channel channel, const Assignment& assignment) const {
    const Group& its = costs_.groups()[group];
    Causes causes;
    if (const Group::Option* option = its.find_option(channel)) {
      causes.air = option->air;
      causes.score = option->score;
    }
    for (const Group::Neighbor& neighbor : its.neighbors) {
      const double cost = costs_.of_pair(channel, neighbor, assignment[neighbor.group]);
      causes.neighbors += cost;
      if (cost > causes.of_worst) {
        causes.of_worst = cost;
        causes.worst = neighbor.group;
      }
    }
    return causes;
  }

  std::size_t leader(std::size_t group) const { return costs_.groups()[group].members.front(); }
  const PlanRadio& radio(std::size_t group) const { return input_.radios[leader(group)]; }
  bool is_changed(std::size_t group) const { return found_.planned[group] != costs_.current()[group]; }

  ChannelScore score(std::size_t group, Group::Channel channel) const {
    const auto found = radio(group).scores.find(costs_.channel(channel));
    return found == radio(group).scores.end() ? ChannelScore() : found->second;
  }

  std::string price(std::size_t group) const {
    std::size_t clients = 0;
    for (const std::size_t member : costs_.groups()[group].members) {
      clients += input_.radios[member].clients;
    }
    return "moving it" + (clients == 0 ? "" : " and its " + count(clients, "client")) + " costs " +
           number(costs_.groups()[group].move);
  }

  std::string why_homeless(std::size_t group) const {
    const std::optional<PrimaryChannel>& current = radio(group).current;
    if (!current) {
      return "it is on no channel";
    }
    const auto score = radio(group).scores.find(*current);
    return "it must leave its channel: " + (score == radio(group).scores.end()
                                                ? "the channel is not among those that it can use"
                                                : meaning_of(score->second.reason));
  }

  std::string why_change(std::size_t group) const {
    if (costs_.groups()[group].must_change) {
      const Causes then = causes(group, found_.planned[group], found_.planned);
      return why_homeless(group) + "; on the new channel, " + neighbors_text(then);
    }
    const Group::Channel from = found_.start[group];
    const Group::Channel to = found_.planned[group];
    const Causes now = causes(group, from, found_.start);
    const Causes then = causes(group, to, found_.planned);
    std::vector<std::pair<double, std::string>> gains;
    gains.emplace_back(now.neighbors - then.neighbors,
                       neighbors_text(now) + ", and " + number(then.neighbors) + " on the new channel");
    gains.emplace_back(now.air - then.air,
                       "its traffic takes " + number(now.air) + ", and " + number(then.air) + " at the new width");
    gains.emplace_back(now.score - then.score, "its channel has a drawback: " + drawback(group, from));
    std::ranges::stable_sort(gains, std::greater(), &std::pair<double, std::string>::first);
    if (gains.front().first < LITTLE) {
      return "it makes room for its neighbors; " + price(group);
    }
    return gains.front().second + "; " + price(group);
  }

  std::string neighbors_text(const Causes& causes) const {
    if (causes.neighbors < LITTLE) {
      return "no neighbor disturbs it";
    }
    return "it and its neighbors, most of all " + name_of(radio(causes.worst)) + ", take " + number(causes.neighbors) +
           " from each other";
  }

  static std::string why_score(const ChannelScore& score) {
    return score.reason == qel::ieee1905_1::ChannelPreferenceReasonCode::UNSPECIFIED
               ? ""
               : " (" + meaning_of(score.reason) + ")";
  }

  /// What speaks against a channel that may be used.
  std::string drawback(std::size_t group, Group::Channel channel) const {
    const ChannelScore its = score(group, channel);
    const Radar radar = cost::radar_on(costs_.channel(channel), its);
    if (radar != Radar::NONE && (its.score == ChannelScore::HIGHEST || cost::is_about_radar(its.reason))) {
      return radar == Radar::FREE || channel == costs_.groups()[group].current ? "it must be left if radar appears"
                                                                               : "it must first be checked for radar";
    }
    return its.score == ChannelScore::HIGHEST ? "most networks use 1, 6 and 11"
                                              : "its score is " + std::to_string(its.score) + why_score(its);
  }

  std::string too_little(std::size_t group) const {
    return "the gain around it would be " + number(found_.gain[group]) + " %, less than the " +
           std::to_string(policy_.least_gain) + " % of the policy";
  }

  std::string why_stay(std::size_t group) const {
    const Group& its = costs_.groups()[group];
    if (its.is_fixed) {
      return why_fixed(its);
    }
    if (its.options.empty()) {
      return why_homeless(group) + ", but there is no other that it may use";
    }
    if (found_.wanted[group] != found_.planned[group]) {
      return too_little(group);
    }
    const std::vector<double> values = costs_.of_options(group, found_.planned);
    double today = 0;
    std::optional<std::size_t> next;
    for (std::size_t option = 0; option < values.size(); ++option) {
      if (its.options[option].channel == found_.planned[group]) {
        today = values[option];
      } else if (!next || values[option] < values[*next]) {
        next = option;
      }
    }
    if (!next) {
      return "it may use no other channel";
    }
    const std::string name = name_of(costs_.channel(its.options[*next].channel));
    const double more = values[*next] - today;
    if (more < -LITTLE) {
      return name + " would save " + number(-more) + ", but " + price(group);
    }
    return more < LITTLE ? "no channel is better; " + name + " is as good"
                         : "no channel is better; the next best, " + name + ", costs " + number(more) + " more";
  }

  std::string why_fixed(const Group& group) const {
    for (const std::size_t member : group.members) {
      const PlanRadio& its = input_.radios[member];
      if (its.is_fixed) {
        return member == group.members.front() ? its.fixed_why
                                               : name_of(its) + " follows it, which stays: " + its.fixed_why;
      }
    }
    return "";
  }

  /// The best channels that were not taken, and some that may not be used.
  std::vector<Rejected> rejected(std::size_t group, double cost_after) const {
    const Group& its = costs_.groups()[group];
    std::vector<Rejected> list;
    if (its.is_fixed) {
      return list;
    }
    const Group::Channel taken = found_.planned[group];
    const std::vector<double> values = costs_.of_options(group, found_.planned);
    const Causes of_taken = causes(group, taken, found_.planned);
    std::vector<std::size_t> others;
    for (std::size_t option = 0; option < values.size(); ++option) {
      if (its.options[option].channel != taken) {
        others.push_back(option);
      }
    }
    std::ranges::stable_sort(others, {}, [&](std::size_t option) { return values[option]; });
    for (const std::size_t option : others) {
      const Group::Channel channel = its.options[option].channel;
      std::string why = why_rejected(group, channel, of_taken);
      // The cheapest, and then the cheapest of those that have another reason.
      if (list.size() < MOST_REJECTED ||
          (list.size() < 2 * MOST_REJECTED && std::ranges::find(list, why, &Rejected::why) == list.end())) {
        list.push_back({costs_.channel(channel), cost_after + values[option] - of_taken.sum(), std::move(why)});
      }
    }
    add_unusable(group, list);
    return list;
  }

  std::string why_rejected(std::size_t group, Group::Channel channel, const Causes& of_taken) const {
    const Causes causes = this->causes(group, channel, found_.planned);
    const double more = causes.sum() - of_taken.sum();
    if (more < -LITTLE) {
      return found_.wanted[group] != found_.planned[group] ? too_little(group) : price(group);
    }
    const double of_neighbors = causes.neighbors - of_taken.neighbors;
    const double of_score = causes.score - of_taken.score;
    const double of_air = causes.air - of_taken.air;
    const double most = std::max({of_neighbors, of_score, of_air});
    if (most < LITTLE) {
      return "it is as good";
    }
    if (most == of_neighbors) {
      return name_of(radio(causes.worst)) + " is there";
    }
    if (most == of_score) {
      return drawback(group, channel);
    }
    return "it is narrower";
  }

  /// Empty if a plan may choose it.
  std::string why_unusable(const PrimaryChannel& channel, const ChannelScore& score) const {
    const Radar radar = cost::radar_on(channel, score);
    if (!score.is_operable()) {
      return "it may not be used: " + meaning_of(score.reason);
    }
    if (cost::is_allowed(radar, policy_)) {
      return "";
    }
    return policy_.use_dfs ? "the policy excludes channels not yet checked for radar"
                           : "the policy excludes channels that need radar detection";
  }

  /// One channel for each reason, the widest.
  void add_unusable(std::size_t group, std::vector<Rejected>& list) const {
    std::vector<Rejected> found;
    for (const auto& [channel, score] : radio(group).scores) {
      const std::string why = why_unusable(channel, score);
      if (why.empty() || (score.is_operable() && channel == radio(group).current)) {
        continue;
      }
      const auto known = std::ranges::find(found, why, &Rejected::why);
      if (known == found.end()) {
        found.push_back({channel, std::numeric_limits<double>::quiet_NaN(), why});
      } else if (known->channel.width < channel.width) {
        known->channel = channel;
      }
    }
    found.resize(std::min(found.size(), MOST_REJECTED));
    list.insert(list.end(), found.begin(), found.end());
  }

  std::string verdict(const Plan& plan) const {
    if (input_.radios.empty()) {
      return "No radio is known.";
    }
    std::size_t homeless = 0;
    double most = 0;
    for (std::size_t group = 0; group < costs_.groups().size(); ++group) {
      homeless += costs_.groups()[group].must_change && is_changed(group) ? 1U : 0U;
      most = found_.wanted[group] == found_.planned[group] ? most : std::max(most, found_.gain[group]);
    }
    if (plan.changes.empty()) {
      return most > 0 ? "All radios stay: the best change gains " + number(most) + " %, less than the " +
                            std::to_string(policy_.least_gain) + " % of the policy."
                      : "All radios stay: no change is worth its cost.";
    }
    const bool is_one = plan.changes.size() == 1;
    std::string text = std::to_string(plan.changes.size()) + " of " + count(input_.radios.size(), "radio") +
                       (is_one ? " changes" : " change");
    if (homeless == plan.changes.size()) {
      text += is_one ? " because it must" : " because they must";
    } else if (homeless > 0) {
      text += homeless == 1 ? ", one of them because it must"
                            : ", " + std::to_string(homeless) + " of them because they must";
    }
    return text + ": the cost falls from " + number(plan.cost_before) + " to " + number(plan.cost_after) + ".";
  }

  const PlanInput& input_;
  const PlanPolicy& policy_;
  Costs costs_;
  Found found_;
};

}  // namespace

Plan make_plan(const PlanInput& input, const PlanPolicy& policy) { return Planner(input, policy).plan(); }

}  // namespace meshd::controller
