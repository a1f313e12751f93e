#include "tools/meshd/controller/plan_search.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <utility>

namespace meshd::controller::cost {

namespace {

constexpr double NOTHING = 1e-6;  ///< a gain that is only rounding

// The bounds of the work. Each step lowers the cost, so that they are reached only by contrived meshes.
constexpr std::size_t MOST_MOVES_OF_GROUP = 20;
constexpr std::size_t MOST_ROUNDS = 16;
constexpr std::size_t MOST_PAIRS = 4096;  ///< whose channels are chosen together; the strongest

/// Improves an assignment until no change of one group, and of one pair, pays for itself. What is found is not improved
/// again if the search starts there: a change that did not pay from the start does not pay from there.
class Search {
 public:
  Search(const Costs& costs, Assignment start)
      : costs_(costs), start_(std::move(start)), now_(start_), moves_(start_.size()) {
    for (std::size_t group = 0; group < now_.size(); ++group) {
      values_.push_back(costs_.of_options(group, now_));
      for (std::size_t option = 0; option < values_[group].size(); ++option) {
        const Group& its = costs_.groups()[group];
        values_[group][option] += its.options[option].channel == start_[group] ? 0 : its.move;
      }
    }
  }

  void run() {
    descend();
    const std::vector<Pair> pairs = strongest_pairs();
    for (std::size_t round = 0; round < MOST_ROUNDS && improve_pairs(pairs); ++round) {
      descend();
    }
  }

  const Assignment& result() const { return now_; }

 private:
  struct Move {
    double gain = 0;
    Group::Channel to = Group::NO_CHANNEL;
  };

  struct Pair {
    double weight = 0;
    std::size_t one = 0;
    const Group::Neighbor* other = nullptr;
  };

  bool is_movable(std::size_t group) const {
    return !costs_.groups()[group].is_fixed && now_[group] != Group::NO_CHANNEL;
  }

  /// Ties go to what comes first.
  Move best_move(std::size_t group) const {
    const auto& options = costs_.groups()[group].options;
    const std::vector<double>& values = values_[group];
    std::size_t best = 0;
    double today = 0;
    for (std::size_t option = 0; option < values.size(); ++option) {
      best = values[option] < values[best] - NOTHING ? option : best;
      today = options[option].channel == now_[group] ? values[option] : today;
    }
    return {today - values[best], options[best].channel};
  }

  void move(std::size_t group, Group::Channel to) {
    const Group::Channel from = std::exchange(now_[group], to);
    moves_[group].reset();
    for (const Group::Neighbor& neighbor : costs_.groups()[group].neighbors) {
      moves_[neighbor.group].reset();
      std::vector<double>& values = values_[neighbor.group];
      for (std::size_t option = 0; option < values.size(); ++option) {
        const Group::Channel its = costs_.groups()[neighbor.group].options[option].channel;
        values[option] += costs_.of_pair(to, neighbor, its) - costs_.of_pair(from, neighbor, its);
      }
    }
  }

  /// Makes the most rewarding single change again and again.
  void descend() {
    for (std::size_t left = MOST_MOVES_OF_GROUP * now_.size(); left > 0; --left) {
      std::size_t best = 0;
      for (std::size_t group = 0; group < now_.size(); ++group) {
        if (!moves_[group]) {
          moves_[group] = is_movable(group) ? best_move(group) : Move();
        }
        best = moves_[group]->gain > moves_[best]->gain + NOTHING ? group : best;
      }
      if (now_.empty() || moves_[best]->gain <= NOTHING) {
        return;
      }
      move(best, moves_[best]->to);
    }
  }

  std::vector<Pair> strongest_pairs() const {
    std::vector<Pair> pairs;
    for (std::size_t one = 0; one < now_.size(); ++one) {
      for (const Group::Neighbor& other : costs_.groups()[one].neighbors) {
        if (one < other.group && is_movable(one) && is_movable(other.group)) {
          pairs.push_back({other.ours + other.theirs, one, &other});
        }
      }
    }
    std::ranges::stable_sort(pairs, std::greater(), &Pair::weight);
    pairs.resize(std::min(pairs.size(), MOST_PAIRS));
    return pairs;
  }

  bool improve_pairs(const std::vector<Pair>& pairs) {
    bool is_better = false;
    for (const Pair& pair : pairs) {
      is_better |= improve(pair);
    }
    return is_better;
  }

  bool improve(const Pair& pair) {
    const auto& ones = costs_.groups()[pair.one].options;
    const auto& others = costs_.groups()[pair.other->group].options;
    const std::size_t other = pair.other->group;
    std::vector<double> of_one = values_[pair.one];
    std::vector<double> of_other = values_[other];
    for (std::size_t i = 0; i < of_one.size(); ++i) {
      of_one[i] -= costs_.of_pair(ones[i].channel, *pair.other, now_[other]);
    }
    for (std::size_t j = 0; j < of_other.size(); ++j) {
      of_other[j] -= costs_.of_pair(now_[pair.one], *pair.other, others[j].channel);
    }
    const double least_other = *std::ranges::min_element(of_other);
    double today = 0;
    const auto try_out = [&](std::size_t i, std::size_t j) {
      return of_one[i] + of_other[j] + costs_.of_pair(ones[i].channel, *pair.other, others[j].channel);
    };
    for (std::size_t i = 0; i < ones.size(); ++i) {
      for (std::size_t j = 0; j < others.size() && ones[i].channel == now_[pair.one]; ++j) {
        today = others[j].channel == now_[other] ? try_out(i, j) : today;
      }
    }
    double best = today - NOTHING;
    std::optional<std::pair<Group::Channel, Group::Channel>> to;
    for (std::size_t i = 0; i < ones.size(); ++i) {
      for (std::size_t j = 0; j < others.size() && of_one[i] + least_other < best; ++j) {
        const double cost = try_out(i, j);
        if (cost < best) {
          best = cost;
          to = {ones[i].channel, others[j].channel};
        }
      }
    }
    if (to) {
      move(pair.one, to->first);
      move(other, to->second);
    }
    return to.has_value();
  }

  const Costs& costs_;
  Assignment start_;
  Assignment now_;
  std::vector<std::vector<double>> values_;  ///< of each option of each group, with what a change costs
  std::vector<std::optional<Move>> moves_;   ///< the best of each group; nothing if it must be found again
};

/// Puts the groups that must change on a channel, those with the largest share of the air first.
Assignment place_homeless(const Costs& costs) {
  Assignment assignment = costs.current();
  std::vector<std::size_t> homeless;
  for (std::size_t group = 0; group < assignment.size(); ++group) {
    if (costs.groups()[group].must_change && !costs.groups()[group].options.empty()) {
      homeless.push_back(group);
    }
  }
  std::ranges::stable_sort(homeless, std::greater(),
                           [&](std::size_t group) { return costs.groups()[group].options.front().air; });
  for (const std::size_t group : homeless) {
    const std::vector<double> values = costs.of_options(group, assignment);
    const auto best = std::ranges::min_element(values) - values.begin();
    assignment[group] = costs.groups()[group].options[static_cast<std::size_t>(best)].channel;
  }
  return assignment;
}

}  // namespace

Found search(const Costs& costs, const PlanPolicy& policy) {
  const Assignment start = place_homeless(costs);
  Search search(costs, start);
  search.run();
  Found found{start, search.result(), search.result(), std::vector<double>(start.size())};

  // Parts of the mesh that do not disturb each other are judged each on its own.
  const std::vector<std::size_t> part_of = costs.parts();
  const auto cost_by_part = [&](const Assignment& assignment) {
    std::vector<double> sums(start.size());
    for (std::size_t group = 0; group < start.size(); ++group) {
      sums[part_of[group]] += costs.share_of_group(group, assignment);
    }
    return sums;
  };
  const std::vector<double> before = cost_by_part(start);
  const std::vector<double> after = cost_by_part(found.wanted);
  for (std::size_t group = 0; group < start.size(); ++group) {
    const std::size_t part = part_of[group];
    found.gain[group] = before[part] > 0 ? 100 * (before[part] - after[part]) / before[part] : 0;
    if (found.gain[group] < policy.least_gain) {
      found.planned[group] = start[group];
    }
  }
  return found;
}

std::vector<std::size_t> order_of_changes(const Costs& costs, const Assignment& planned) {
  Assignment now = costs.current();
  std::vector<std::size_t> pending;
  for (std::size_t group = 0; group < now.size(); ++group) {
    if (now[group] != planned[group]) {
      pending.push_back(group);
    }
  }
  std::vector<std::optional<double>> gains(now.size());
  std::vector<std::size_t> order;
  while (!pending.empty()) {
    for (const std::size_t group : pending) {
      if (!gains[group]) {
        gains[group] = costs.of_group(group, now[group], now) - costs.of_group(group, planned[group], now);
      }
    }
    const auto next = std::ranges::max_element(pending, {}, [&](std::size_t group) { return *gains[group]; });
    const std::size_t group = *next;
    pending.erase(next);
    order.push_back(group);
    now[group] = planned[group];
    for (const Group::Neighbor& neighbor : costs.groups()[group].neighbors) {
      gains[neighbor.group].reset();
    }
  }
  return order;
}

}  // namespace meshd::controller::cost
