#include "tools/meshd/neighbor_table.h"

#include <algorithm>
#include <map>

namespace meshd {

namespace {

using qel::MACAddress;

bool sends_from(const Neighbor& neighbor, const MACAddress& source) {
  return neighbor.al_mac == source || std::any_of(neighbor.links.begin(), neighbor.links.end(),
                                                  [&](const NeighborLink& link) { return link.mac == source; });
}

bool is_claim(const Neighbor& neighbor, const NeighborLink& link) {
  if (!neighbor.device) {
    return true;
  }
  const auto& interfaces = neighbor.device->get_interface_information_vector();
  return std::none_of(interfaces.begin(), interfaces.end(),
                      [&](const qel::ieee1905_1::InterfaceInformation& told) { return told.get_mac() == link.mac; });
}

}  // namespace

NeighborTable::Discovery NeighborTable::discover(const MACAddress& al_mac, std::size_t interface, const MACAddress& mac,
                                                 TimePoint now) {
  Neighbor* neighbor = find(al_mac);
  if (neighbor != nullptr) {
    for (NeighborLink& link : neighbor->links) {
      if (link.interface == interface && link.mac == mac) {
        link.last_heard = now;
        return Discovery::REFRESHED;
      }
    }
  }
  if (count_links() >= MAX_LINKS) {
    return Discovery::TABLE_FULL;
  }
  const bool is_known = neighbor != nullptr;
  if (!is_known) {
    neighbor = &neighbors_.emplace_back();
    neighbor->al_mac = al_mac;
  }
  neighbor->links.push_back({interface, mac, now});
  return is_known ? Discovery::NEW_LINK : Discovery::NEW_NEIGHBOR;
}

std::vector<MACAddress> NeighborTable::make_room(std::size_t interface) {
  std::map<std::size_t, std::size_t> claims;
  for (const Neighbor& neighbor : neighbors_) {
    for (const NeighborLink& link : neighbor.links) {
      claims[link.interface] += is_claim(neighbor, link) ? 1U : 0U;
    }
  }
  const auto most = std::max_element(claims.begin(), claims.end(),
                                     [](const auto& left, const auto& right) { return left.second < right.second; });
  if (most == claims.end() || most->second < claims[interface] + 2) {
    return {};
  }
  Neighbor* owner = nullptr;
  std::size_t place = 0;
  for (Neighbor& neighbor : neighbors_) {
    for (std::size_t i = 0; i < neighbor.links.size(); ++i) {
      const NeighborLink& link = neighbor.links[i];
      if (link.interface == most->first && is_claim(neighbor, link) &&
          (owner == nullptr || link.last_heard < owner->links[place].last_heard)) {
        owner = &neighbor;
        place = i;
      }
    }
  }
  const MACAddress al_mac = owner->al_mac;
  owner->links.erase(owner->links.begin() + static_cast<std::ptrdiff_t>(place));
  std::erase_if(neighbors_, [](const Neighbor& neighbor) { return neighbor.links.empty(); });
  return {al_mac};
}

void NeighborTable::hear(const MACAddress& source, std::size_t interface, TimePoint now) {
  if (Neighbor* neighbor = find_sender(source)) {
    for (NeighborLink& link : neighbor->links) {
      // An interface that a device does not tell of lives by its own word: it may have another address by now.
      const bool is_withdrawn = neighbor->device && is_claim(*neighbor, link);
      if (link.interface == interface && (link.mac == source || (neighbor->al_mac == source && !is_withdrawn))) {
        link.last_heard = now;
      }
    }
  }
}

std::vector<MACAddress> NeighborTable::expire(TimePoint limit) {
  return drop([limit](const NeighborLink& link) { return link.last_heard < limit; });
}

std::vector<MACAddress> NeighborTable::disconnect(std::size_t interface) {
  return drop([interface](const NeighborLink& link) { return link.interface == interface; });
}

template <class Predicate>
std::vector<MACAddress> NeighborTable::drop(Predicate is_gone) {
  std::vector<MACAddress> shrunk;
  for (Neighbor& neighbor : neighbors_) {
    if (std::erase_if(neighbor.links, is_gone) != 0) {
      shrunk.push_back(neighbor.al_mac);
    }
  }
  std::erase_if(neighbors_, [](const Neighbor& neighbor) { return neighbor.links.empty(); });
  return shrunk;
}

Neighbor* NeighborTable::find(const MACAddress& al_mac) {
  return const_cast<Neighbor*>(static_cast<const NeighborTable*>(this)->find(al_mac));
}

const Neighbor* NeighborTable::find(const MACAddress& al_mac) const {
  const auto place = std::find_if(neighbors_.begin(), neighbors_.end(),
                                  [&](const Neighbor& neighbor) { return neighbor.al_mac == al_mac; });
  return place == neighbors_.end() ? nullptr : &*place;
}

Neighbor* NeighborTable::find_sender(const MACAddress& source) {
  const auto place = std::find_if(neighbors_.begin(), neighbors_.end(),
                                  [&](const Neighbor& neighbor) { return sends_from(neighbor, source); });
  return place == neighbors_.end() ? nullptr : &*place;
}

std::size_t NeighborTable::count_links() const {
  std::size_t count = 0;
  for (const Neighbor& neighbor : neighbors_) {
    count += neighbor.links.size();
  }
  return count;
}

}  // namespace meshd
