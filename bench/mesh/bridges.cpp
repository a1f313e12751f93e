#include "bench/mesh/bridges.h"

#include <utility>

namespace meshd::simulation {

namespace {

constexpr std::size_t NONE = static_cast<std::size_t>(-1);

}  // namespace

void Bridges::plan(std::size_t devices, const std::vector<Cable>& cables, const std::vector<bool>& plugged_in) {
  cables_ = cables;
  std::vector<std::vector<std::size_t>> cables_of(devices);
  for (std::size_t cable = 0; cable < cables.size(); ++cable) {
    if (plugged_in[cable]) {
      cables_of[cables[cable].left].push_back(cable);
      cables_of[cables[cable].right].push_back(cable);
    }
  }
  places_.assign(devices, {NONE, NONE, NONE, 0});
  std::vector<std::size_t> reached;
  for (std::size_t root = 0; root < devices; ++root) {
    if (places_[root].root != NONE) {
      continue;
    }
    places_[root].root = root;
    reached.assign(1, root);
    for (std::size_t next = 0; next < reached.size(); ++next) {
      const std::size_t device = reached[next];
      for (const std::size_t cable : cables_of[device]) {
        const std::size_t other = cables[cable].left == device ? cables[cable].right : cables[cable].left;
        if (places_[other].root == NONE) {
          places_[other] = {root, device, cable, places_[device].depth + 1};
          reached.push_back(other);
        }
      }
    }
  }
}

bool Bridges::is_in_tree(std::size_t cable) const {
  return places_[cables_[cable].left].cable == cable || places_[cables_[cable].right].cable == cable;
}

const Bridges::Way& Bridges::find_way(std::size_t sender, std::size_t cable, std::size_t destination) {
  way_.bridges.clear();
  way_.last_cable = cable;
  way_.arrives = true;
  const std::size_t first = cables_[cable].left == sender ? cables_[cable].right : cables_[cable].left;
  if (first == destination) {
    return way_;  // even where its bridge blocks: the node receives frames before the bridge
  }
  // A cable outside the tree is blocked at the end that is farther from the root.
  const bool is_blocked =
      !is_in_tree(cable) && std::pair(places_[first].depth, first) > std::pair(places_[sender].depth, sender);
  way_.arrives = !is_blocked && places_[first].root == places_[destination].root;
  if (!way_.arrives) {
    return way_;
  }
  // Up from both ends until they meet.
  std::size_t up = first;
  std::size_t down = destination;
  std::size_t cable_up = NONE;
  std::size_t cable_down = NONE;
  while (up != down) {
    if (places_[up].depth >= places_[down].depth) {
      way_.bridges.push_back(up);
      cable_up = places_[up].cable;
      up = places_[up].parent;
    } else {
      if (down != destination) {
        way_.bridges.push_back(down);
      }
      cable_down = places_[down].cable;
      down = places_[down].parent;
    }
  }
  if (up != destination) {
    way_.bridges.push_back(up);
  }
  way_.last_cable = cable_down == NONE ? cable_up : places_[destination].cable;
  const std::size_t onward = first == up ? cable_down : places_[first].cable;
  way_.arrives = onward != cable;  // a bridge hands nothing back
  return way_;
}

}  // namespace meshd::simulation
