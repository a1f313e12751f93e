#include "tools/meshd/entity/device_map.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace meshd {

namespace {

using qel::MACAddress;
using qel::ieee1905_1::QELBlockedInterface;
using qel::ieee1905_1::ReceiverLinkMetricTLV;
using qel::ieee1905_1::TransmitterLinkMetricTLV;

/// A device known only by its notification counts as farther away than all whose distance we know.
unsigned int distance(unsigned int hops) { return hops == 0 ? std::numeric_limits<unsigned int>::max() : hops; }

/// The overhead of a device in the map and in the agenda.
constexpr std::size_t NODE_SIZE = 6 * sizeof(void*) + 6 * sizeof(void*) + sizeof(DeviceMap::Agenda::value_type);

bool was_proven(const Device& device) { return device.answered_at.has_value(); }

/// Starts after our own AL MAC, so that two nodes that hear of the same devices at once query them in different orders.
std::vector<MACAddress> neighbors_of(const Device& device, const MACAddress& self) {
  std::vector<MACAddress> al_macs = device.told.neighbor_al_macs();
  std::rotate(al_macs.begin(), std::ranges::upper_bound(al_macs, self), al_macs.end());
  std::erase_if(al_macs,
                [&](const MACAddress& al_mac) { return al_mac == self || !is_valid_individual_mac_address(al_mac); });
  return al_macs;
}

}  // namespace

/// Keeps the memory count correct while the report of the device changes, even if an exception is thrown.
class DeviceMap::Recount {
 public:
  Recount(DeviceMap& map, const Device& device) : map_(map), device_(device) {
    map_.spare_taken_ -= excess(device_.told);
  }
  ~Recount() { map_.spare_taken_ += excess(device_.told); }
  Recount(const Recount&) = delete;
  Recount& operator=(const Recount&) = delete;

 private:
  DeviceMap& map_;
  const Device& device_;
};

Device* DeviceMap::find(const MACAddress& al_mac) {
  const auto place = devices_.find(al_mac);
  return place == devices_.end() ? nullptr : &place->second;
}

const Device* DeviceMap::find(const MACAddress& al_mac) const {
  const auto place = devices_.find(al_mac);
  return place == devices_.end() ? nullptr : &place->second;
}

void DeviceMap::schedule(const MACAddress& al_mac, Device& device) {
  const TimePoint due = device.inquiry.next_step();
  if (device.scheduled_for == due) {
    return;
  }
  auto entry = agenda_.extract({device.scheduled_for.value_or(TimePoint()), al_mac});
  entry.value().first = due;
  agenda_.insert(std::move(entry));
  device.scheduled_for = due;
}

Device* DeviceMap::take_neighbor(const MACAddress& al_mac, std::size_t interface) {
  const Way way{1, interface, self_};
  Device* device = find(al_mac);
  if (device == nullptr) {
    device = add(al_mac, way);
  } else {
    device->hops = way.hops;
    device->interface = way.interface;
    device->told_by = way.told_by;
  }
  return device;
}

Device* DeviceMap::take_notifier(const MACAddress& al_mac, std::size_t interface, TimePoint now) {
  Device* device = find(al_mac);
  if (device == nullptr && notifiers_ < MOST_UNPROVEN && is_valid_individual_mac_address(al_mac)) {
    device = add(al_mac, {0, interface, {}});
    notifiers_ += device != nullptr ? 1U : 0U;
    is_waiting_ = is_waiting_ || device != nullptr;
  }
  if (device != nullptr) {
    device->noticed_at = now;
  }
  return device;
}

void DeviceMap::take_told(Device& device, ToldByDevice told) {
  const Recount recount(*this, device);
  device.is_truncated = false;
  if (told.fit_into(room_for_told())) {
    note_truncated(device);
  }
  device.told = std::move(told);
}

void DeviceMap::take_metrics(Device& device, const MACAddress& neighbor, const TransmitterLinkMetricTLV* transmitter,
                             const ReceiverLinkMetricTLV* receiver) {
  const std::vector<MACAddress> neighbors = device.told.neighbor_al_macs();
  if (!std::ranges::binary_search(neighbors, neighbor)) {
    return;
  }
  const Recount recount(*this, device);
  const auto take = [&]<class TLV>(std::vector<TLV>& known, const TLV* told) {
    if (told == nullptr) {
      return;
    }
    std::erase_if(known, [&](const TLV& tlv) { return tlv.get_neighbor_AL_MAC() == neighbor; });
    known.push_back(*told);
    if (device.told.cost() > room_for_told()) {
      known.pop_back();
      known.shrink_to_fit();
      note_truncated(device);
    }
  };
  take(device.told.transmitter_metrics, transmitter);
  take(device.told.receiver_metrics, receiver);
}

void DeviceMap::take_blocked(Device& device, std::vector<QELBlockedInterface> blocked) {
  const Recount recount(*this, device);
  device.told.blocked_interfaces = std::move(blocked);
  if (device.told.cost() > room_for_told()) {
    std::vector<QELBlockedInterface>().swap(device.told.blocked_interfaces);
    note_truncated(device);
  }
}

std::vector<MACAddress> DeviceMap::take_neighbors_of(const MACAddress& al_mac) {
  return meet_neighbors_of(al_mac, nullptr);
}

std::vector<MACAddress> DeviceMap::walk(const NeighborTable& neighbors, TimePoint now) {
  ++walk_;
  is_waiting_ = false;
  is_crowded_ = false;
  std::vector<MACAddress> met;
  for (const Neighbor& neighbor : neighbors.all()) {
    if (Device* device = take_neighbor(neighbor.al_mac, neighbor.best_link().interface)) {
      device->walk = walk_;
      met.push_back(neighbor.al_mac);
    }
  }
  for (std::size_t place = 0; place < met.size(); ++place) {
    meet_neighbors_of(MACAddress(met[place]), &met);
  }
  return forget(now);
}

/// Forgets the devices that the walk has not met.
std::vector<MACAddress> DeviceMap::forget(TimePoint now) {
  std::vector<MACAddress> lost;
  notifiers_ = 0;
  for (auto place = devices_.begin(); place != devices_.end();) {
    Device& device = place->second;
    if (device.walk == walk_) {
      ++place;
    } else if (device.hops == 0 && device.noticed_at && now - *device.noticed_at < NOTICE_TIME) {
      is_waiting_ = true;
      notifiers_ += was_proven(device) ? 0U : 1U;
      ++place;
    } else {
      if (device.is_found) {
        lost.push_back(place->first);
      }
      place = erase(place);
    }
  }
  return lost;
}

/// Appends the devices that the walk, if there is one, meets here for the first time.
std::vector<MACAddress> DeviceMap::meet_neighbors_of(const MACAddress& al_mac, std::vector<MACAddress>* met) {
  std::vector<MACAddress> added;
  const Device* const teller = find(al_mac);
  if (teller == nullptr) {  // it was removed in favour of others
    return added;
  }
  const Way way{teller->hops == 0 ? 0 : teller->hops + 1, teller->interface, al_mac};
  const std::vector<MACAddress> told = neighbors_of(*teller, self_);
  auto unproven = static_cast<std::size_t>(std::ranges::count_if(told, [&](const MACAddress& neighbor) {
    const Device* device = find(neighbor);
    return device != nullptr && device->told_by == al_mac && !was_proven(*device);
  }));
  bool has_room = true;
  for (const MACAddress& neighbor : told) {
    Device* device = find(neighbor);
    bool is_first = met != nullptr;
    if (device != nullptr) {
      is_first = is_first && device->walk != walk_;
      if (is_first || distance(way.hops) < distance(device->hops)) {
        lead(*device, way);
      }
    } else if (unproven >= MOST_UNPROVEN) {
      is_waiting_ = true;
    } else if (has_room && (device = add(neighbor, way)) != nullptr) {
      ++unproven;
      added.push_back(neighbor);
    } else {
      has_room = false;  // no room for a device so far away
    }
    if (device != nullptr && is_first) {
      device->walk = walk_;
      met->push_back(neighbor);
    }
  }
  return added;
}

/// Keeps an interface on which the device has sent us something, because another path may be blocked somewhere. Also
/// keeps the interface while a query is open, so that its repetitions leave no interface out.
void DeviceMap::lead(Device& device, const Way& way) {
  device.hops = way.hops;
  device.told_by = way.told_by;
  if (!device.is_way_proven && !device.inquiry.is_open()) {
    device.interface = way.interface;
  }
}

Device* DeviceMap::add(const MACAddress& al_mac, const Way& way) {
  if (devices_.size() >= most_ && !make_room(way.hops)) {
    is_crowded_ = true;
    return nullptr;
  }
  constexpr TimePoint AT_ONCE{};
  agenda_.emplace(AT_ONCE, al_mac);
  Device& device = devices_[al_mac];
  device.scheduled_for = AT_ONCE;
  device.hops = way.hops;
  device.interface = way.interface;
  device.told_by = way.told_by;
  spare_taken_ += excess(device.told);
  return &device;
}

/// Makes room for a device at this distance. Of the devices that never answered, the farthest gives way to any
/// neighbour and to nearer devices; of the others, the farthest gives way only to nearer devices.
bool DeviceMap::make_room(unsigned int hops) {
  const auto worth = [](const Devices::value_type& entry) {
    return std::pair(was_proven(entry.second) || entry.second.hops == 1, ~distance(entry.second.hops));
  };
  const auto least = std::ranges::min_element(devices_, {}, worth);
  if (least == devices_.end() || distance(least->second.hops) <= distance(hops)) {
    return false;
  }
  erase(least);
  return true;
}

DeviceMap::Devices::iterator DeviceMap::erase(Devices::iterator place) {
  agenda_.erase({place->second.scheduled_for.value_or(TimePoint()), place->first});
  spare_taken_ -= excess(place->second.told);
  return devices_.erase(place);
}

/// The memory that a device with this report takes beyond its own.
std::size_t DeviceMap::excess(const ToldByDevice& told) {
  const std::size_t size = sizeof(Devices::value_type) + NODE_SIZE + told.cost();
  return size - std::min(size, OWN_SIZE);
}

/// Its own memory, and a quarter of the spare memory that is left.
std::size_t DeviceMap::room_for_told() const {
  const std::size_t spare = most_ * (DEVICE_SIZE - OWN_SIZE);
  return OWN_SIZE - sizeof(Devices::value_type) - NODE_SIZE + (spare - std::min(spare, spare_taken_)) / 4;
}

void DeviceMap::note_truncated(Device& device) {
  device.is_truncated = true;
  ++truncated_;
}

}  // namespace meshd
