#include "tools/meshd/entity/neighbor_table.h"

#include <algorithm>
#include <map>
#include <utility>

namespace meshd {

namespace {

using qel::MACAddress;

/// Frames other than discoveries keep a link alive for this many hold times.
constexpr int UNDISCOVERED_HOLD_TIMES = 3;
/// And at least for this long, since others may send discoveries less often than we do.
constexpr std::chrono::seconds LEAST_UNDISCOVERED_TIME{180};

bool has_link_to(const Neighbor& neighbor, const MACAddress& mac) {
  return std::any_of(neighbor.links.begin(), neighbor.links.end(),
                     [&](const NeighborLink& link) { return link.mac == mac; });
}

bool is_claim(const NeighborLink& link) { return link.standing != NeighborLink::Standing::PROVEN; }

/// The position of the device, or where to insert it.
template <class Neighbors>
auto place_of(Neighbors& neighbors, const MACAddress& al_mac) {
  return std::ranges::lower_bound(neighbors, al_mac, {}, &Neighbor::al_mac);
}

}  // namespace

const NeighborLink& Neighbor::best_link() const {
  return *std::ranges::max_element(links, {}, &NeighborLink::last_heard);
}

bool NeighborTable::contradicts(const MACAddress& al_mac, const MACAddress& mac) const {
  return std::any_of(neighbors_.begin(), neighbors_.end(), [&](const Neighbor& neighbor) {
    return neighbor.al_mac != al_mac &&
           (neighbor.al_mac == mac || std::ranges::any_of(neighbor.links, [&](const NeighborLink& link) {
              return link.mac == al_mac && !is_claim(link);
            }));
  });
}

std::vector<MACAddress> NeighborTable::drop_claims_to(const MACAddress& al_mac) {
  return drop([&](const Neighbor& neighbor, const NeighborLink& link) {
    return link.mac == al_mac && neighbor.al_mac != al_mac;
  });
}

NeighborTable::Discovery NeighborTable::discover(const MACAddress& al_mac, std::size_t interface, const MACAddress& mac,
                                                 TimePoint now) {
  Neighbor* neighbor = entry(al_mac);
  if (neighbor != nullptr) {
    for (NeighborLink& link : neighbor->links) {
      if (link.interface == interface && link.mac == mac) {
        link.last_heard = link.last_discovered = now;
        return Discovery::REFRESHED;
      }
    }
  }
  if (count_links() >= most_links_) {
    return Discovery::TABLE_FULL;
  }
  const NeighborLink link{interface, mac, now, now};
  if (neighbor != nullptr) {
    neighbor->links.push_back(link);
    return Discovery::NEW_LINK;
  }
  neighbors_.insert(place_of(neighbors_, al_mac), {al_mac, {link}});
  return Discovery::NEW_NEIGHBOR;
}

void NeighborTable::prove(const MACAddress& al_mac, const ToldByDevice& told) {
  if (Neighbor* neighbor = entry(al_mac)) {
    for (NeighborLink& link : neighbor->links) {
      using enum NeighborLink::Standing;
      link.standing = told.has_interface(link.mac) ? PROVEN : WITHDRAWN;
    }
  }
}

std::vector<MACAddress> NeighborTable::make_room(std::size_t interface) {
  struct Held {
    std::size_t claims = 0;
    std::size_t links = 0;
  };
  std::map<std::size_t, Held> held;
  const Held& ours = held[interface];
  for (const Neighbor& neighbor : neighbors_) {
    for (const NeighborLink& link : neighbor.links) {
      ++held[link.interface].links;
      held[link.interface].claims += is_claim(link) ? 1U : 0U;
    }
  }
  const auto most = [&](std::size_t Held::*count) {
    return *std::max_element(held.begin(), held.end(), [count](const auto& left, const auto& right) {
      return left.second.*count < right.second.*count;
    });
  };
  const auto claimed = most(&Held::claims);
  if (claimed.second.claims >= ours.claims + 2) {
    return drop_oldest([&](const NeighborLink& link) { return link.interface == claimed.first && is_claim(link); });
  }
  const auto full = most(&Held::links);
  if (ours.claims == 0 && full.second.links > most_links_ / held.size() && full.second.links >= ours.links + 2) {
    return drop_oldest([&](const NeighborLink& link) { return link.interface == full.first; });
  }
  return {};
}

template <class Predicate>
std::vector<MACAddress> NeighborTable::drop_oldest(Predicate may_go) {
  const NeighborLink* oldest = nullptr;
  for (const Neighbor& neighbor : neighbors_) {
    for (const NeighborLink& link : neighbor.links) {
      if (may_go(link) && (oldest == nullptr || std::pair(!is_claim(link), link.last_heard) <
                                                    std::pair(!is_claim(*oldest), oldest->last_heard))) {
        oldest = &link;
      }
    }
  }
  return drop([oldest](const Neighbor&, const NeighborLink& link) { return &link == oldest; });
}

void NeighborTable::hear(const MACAddress& al_mac, std::size_t interface, TimePoint now) {
  if (Neighbor* neighbor = entry(al_mac)) {
    const bool has_direct = std::ranges::any_of(neighbors_, [interface](const Neighbor& other) {
      return std::ranges::any_of(other.links, [interface](const NeighborLink& link) {
        return link.interface == interface && !link.is_bridged;
      });
    });
    for (NeighborLink& link : neighbor->links) {
      // Two kinds of links are kept alive by discoveries alone: one whose interface the device does not report, since
      // it may have a new address by now; and one over a bridge beside a direct one, since the device is behind the
      // direct neighbour.
      if (link.interface == interface && link.standing != NeighborLink::Standing::WITHDRAWN &&
          !(link.is_bridged && has_direct)) {
        link.last_heard = now;
      }
    }
  }
}

bool NeighborTable::hear_unbridged(const MACAddress& al_mac, std::size_t interface, const MACAddress& mac,
                                   std::optional<TimePoint> until) {
  if (Neighbor* neighbor = entry(al_mac)) {
    for (NeighborLink& link : neighbor->links) {
      if (link.interface == interface && link.mac == mac) {
        link.unbridged_until = until.value_or(TimePoint());
        const bool was_bridged = std::exchange(link.is_bridged, !until);
        return was_bridged != link.is_bridged;
      }
    }
  }
  return false;
}

std::vector<MACAddress> NeighborTable::expire(TimePoint now, std::chrono::milliseconds hold_time) {
  const auto undiscovered_time =
      std::max<std::chrono::milliseconds>(UNDISCOVERED_HOLD_TIMES * hold_time, LEAST_UNDISCOVERED_TIME);
  return drop([&](const Neighbor&, const NeighborLink& link) {
    return now - link.last_heard > hold_time || now - link.last_discovered > undiscovered_time;
  });
}

bool NeighborTable::expire_unbridged(TimePoint now) {
  bool has_changed = false;
  for (Neighbor& neighbor : neighbors_) {
    for (NeighborLink& link : neighbor.links) {
      if (!link.is_bridged && now > link.unbridged_until) {
        link.is_bridged = has_changed = true;
      }
    }
  }
  return has_changed;
}

std::vector<MACAddress> NeighborTable::disconnect(std::size_t interface) {
  return drop([interface](const Neighbor&, const NeighborLink& link) { return link.interface == interface; });
}

template <class Predicate>
std::vector<MACAddress> NeighborTable::drop(Predicate is_gone) {
  const auto is_gone_from = [&](const Neighbor& neighbor) {
    return [&](const NeighborLink& link) { return is_gone(neighbor, link); };
  };
  std::vector<MACAddress> shrunk;  // filled before anything changes, since there may be no memory
  for (const Neighbor& neighbor : neighbors_) {
    if (std::ranges::any_of(neighbor.links, is_gone_from(neighbor))) {
      shrunk.push_back(neighbor.al_mac);
    }
  }
  for (const MACAddress& al_mac : shrunk) {
    Neighbor& neighbor = *entry(al_mac);
    std::erase_if(neighbor.links, is_gone_from(neighbor));
  }
  std::erase_if(neighbors_, [](const Neighbor& neighbor) { return neighbor.links.empty(); });
  return shrunk;
}

Neighbor* NeighborTable::entry(const MACAddress& al_mac) {
  const auto place = place_of(neighbors_, al_mac);
  return place == neighbors_.end() || place->al_mac != al_mac ? nullptr : &*place;
}

const Neighbor* NeighborTable::find(const MACAddress& al_mac) const {
  const auto place = place_of(neighbors_, al_mac);
  return place == neighbors_.end() || place->al_mac != al_mac ? nullptr : &*place;
}

const Neighbor* NeighborTable::find_sender(const MACAddress& source) const {
  if (const Neighbor* exact = find(source)) {
    return exact;
  }
  const Neighbor* sender = nullptr;
  for (const Neighbor& neighbor : neighbors_) {
    if (has_link_to(neighbor, source)) {
      if (sender != nullptr) {
        return nullptr;
      }
      sender = &neighbor;
    }
  }
  return sender;
}

NeighborLink* NeighborTable::find_link(const MACAddress& source, std::size_t interface) {
  const Neighbor* sender = find_sender(source);
  if (sender == nullptr) {
    return nullptr;
  }
  std::vector<NeighborLink>& links = neighbors_[static_cast<std::size_t>(sender - neighbors_.data())].links;
  const auto place = std::ranges::find(links, interface, &NeighborLink::interface);
  return place == links.end() ? nullptr : &*place;
}

std::vector<std::size_t> NeighborTable::interfaces() const {
  std::vector<std::size_t> interfaces;
  for (const Neighbor& neighbor : neighbors_) {
    for (const NeighborLink& link : neighbor.links) {
      interfaces.push_back(link.interface);
    }
  }
  std::ranges::sort(interfaces);
  interfaces.erase(std::unique(interfaces.begin(), interfaces.end()), interfaces.end());
  return interfaces;
}

std::size_t NeighborTable::count_links() const {
  std::size_t count = 0;
  for (const Neighbor& neighbor : neighbors_) {
    count += neighbor.links.size();
  }
  return count;
}

}  // namespace meshd
