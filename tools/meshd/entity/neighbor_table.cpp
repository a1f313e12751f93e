#include "tools/meshd/entity/neighbor_table.h"

#include <algorithm>
#include <map>

namespace meshd {

namespace {

using qel::MACAddress;

/// Whether it told of an interface with this address.
bool has_told_of(const Neighbor& neighbor, const MACAddress& mac) {
  if (!neighbor.device) {
    return false;
  }
  const auto& interfaces = neighbor.device->get_interface_information_vector();
  return std::any_of(interfaces.begin(), interfaces.end(),
                     [&](const qel::ieee1905_1::InterfaceInformation& told) { return told.get_mac() == mac; });
}

bool has_link_to(const Neighbor& neighbor, const MACAddress& mac) {
  return std::any_of(neighbor.links.begin(), neighbor.links.end(),
                     [&](const NeighborLink& link) { return link.mac == mac; });
}

/// For an address that is nobody's AL MAC.
bool may_send_from(const Neighbor& neighbor, const MACAddress& source) {
  return has_link_to(neighbor, source) || has_told_of(neighbor, source);
}

bool is_claim(const Neighbor& neighbor, const NeighborLink& link) { return !has_told_of(neighbor, link.mac); }

}  // namespace

void Questions::ask(std::uint16_t message_id) {
  if (message_ids_.size() == MOST) {
    message_ids_.erase(message_ids_.begin());
  }
  message_ids_.push_back(message_id);
}

bool Questions::answer(std::uint16_t message_id) {
  const auto place = std::find(message_ids_.begin(), message_ids_.end(), message_id);
  if (place == message_ids_.end()) {
    return false;
  }
  message_ids_.erase(message_ids_.begin(), place + 1);
  return true;
}

bool NeighborTable::contradicts(const MACAddress& al_mac, const MACAddress& mac) const {
  return std::any_of(neighbors_.begin(), neighbors_.end(), [&](const Neighbor& neighbor) {
    return neighbor.al_mac != al_mac &&
           (neighbor.al_mac == mac || (has_link_to(neighbor, al_mac) && has_told_of(neighbor, al_mac)));
  });
}

std::vector<MACAddress> NeighborTable::drop_claims_to(const MACAddress& al_mac) {
  return drop([&](const Neighbor& neighbor, const NeighborLink& link) {
    return link.mac == al_mac && neighbor.al_mac != al_mac;
  });
}

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
  if (count_links() >= most_links_) {
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

void NeighborTable::hear(const MACAddress& al_mac, std::size_t interface, TimePoint now) {
  if (Neighbor* neighbor = find(al_mac)) {
    for (NeighborLink& link : neighbor->links) {
      // An interface that a device does not tell of lives by its own word: it may have another address by now.
      const bool is_withdrawn = neighbor->device && is_claim(*neighbor, link);
      if (link.interface == interface && !is_withdrawn) {
        link.last_heard = now;
      }
    }
  }
}

std::vector<MACAddress> NeighborTable::expire(TimePoint limit) {
  return drop([limit](const Neighbor&, const NeighborLink& link) { return link.last_heard < limit; });
}

std::vector<MACAddress> NeighborTable::disconnect(std::size_t interface) {
  return drop([interface](const Neighbor&, const NeighborLink& link) { return link.interface == interface; });
}

template <class Predicate>
std::vector<MACAddress> NeighborTable::drop(Predicate is_gone) {
  std::vector<MACAddress> shrunk;
  for (Neighbor& neighbor : neighbors_) {
    if (std::erase_if(neighbor.links, [&](const NeighborLink& link) { return is_gone(neighbor, link); }) != 0) {
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
  if (Neighbor* exact = find(source)) {
    return exact;
  }
  Neighbor* sender = nullptr;
  for (Neighbor& neighbor : neighbors_) {
    if (may_send_from(neighbor, source)) {
      if (sender != nullptr) {
        return nullptr;
      }
      sender = &neighbor;
    }
  }
  return sender;
}

NeighborLink* NeighborTable::find_link(const MACAddress& source, std::size_t interface) {
  if (Neighbor* sender = find_sender(source)) {
    for (NeighborLink& link : sender->links) {
      if (link.interface == interface) {
        return &link;
      }
    }
  }
  return nullptr;
}

Neighbor* NeighborTable::take_answer(const MACAddress& source, Questions Neighbor::*questions,
                                     std::uint16_t message_id) {
  Neighbor* exact = find(source);
  for (Neighbor& neighbor : neighbors_) {
    if ((exact != nullptr ? exact == &neighbor : may_send_from(neighbor, source)) &&
        (neighbor.*questions).answer(message_id)) {
      return &neighbor;
    }
  }
  return nullptr;
}

std::size_t NeighborTable::count_links() const {
  std::size_t count = 0;
  for (const Neighbor& neighbor : neighbors_) {
    count += neighbor.links.size();
  }
  return count;
}

}  // namespace meshd
