#include "tools/meshd/entity/host_finder.h"

#include <algorithm>

namespace meshd {

namespace {

using qel::MACAddress;

/// Going through all reports can take a second, so it is done now and then, not for each response.
constexpr std::chrono::seconds LEARNED_FOR{1};

enum class Way { NO_LINK, BRIDGED, UNBRIDGED };

Way way_of(std::size_t interface, const NeighborTable& neighbors) {
  Way way = Way::NO_LINK;
  for (const Neighbor& neighbor : neighbors.all()) {
    for (const NeighborLink& link : neighbor.links) {
      if (link.interface == interface) {
        way = std::max(way, link.is_bridged ? Way::BRIDGED : Way::UNBRIDGED);
      }
    }
  }
  return way;
}

bool has_neighbors_on(const ToldByDevice& told, const MACAddress& interface) {
  return std::ranges::any_of(told.neighbors, [&](const auto& tlv) {
    return tlv.get_local_MAC() == interface && !tlv.get_AL_MAC_neighbor_vector().empty();
  });
}

}  // namespace

std::vector<std::vector<MACAddress>> HostFinder::find(const std::vector<LocalInterface>& interfaces, Ports& ports,
                                                      const NeighborTable& neighbors, const DeviceMap& devices,
                                                      TimePoint now) {
  std::vector<std::vector<MACAddress>> hosts(interfaces.size());
  for (std::size_t interface = 0; interface < interfaces.size(); ++interface) {
    const Way way = way_of(interface, neighbors);
    if (!interfaces[interface].is_there() || way == Way::UNBRIDGED) {
      continue;
    }
    hosts[interface] = ports.read_hosts(interface);
    if (hosts[interface].empty()) {
      continue;
    }
    learn(devices, now);
    std::erase_if(hosts[interface], [&](const MACAddress& mac) {
      return std::ranges::binary_search(of_devices_, mac) ||
             (way == Way::BRIDGED && std::ranges::binary_search(hosts_of_others_, mac));
    });
  }
  return hosts;
}

void HostFinder::learn(const DeviceMap& devices, TimePoint now) {
  if (learned_at_ && now - *learned_at_ < LEARNED_FOR) {
    return;
  }
  of_devices_.clear();
  hosts_of_others_.clear();
  for (const auto& [al_mac, device] : devices.all()) {
    of_devices_.push_back(al_mac);
    for (const auto& interface : device.told.interfaces) {
      of_devices_.push_back(interface.get_mac());
    }
    for (const auto& tlv : device.told.hosts) {
      if (!has_neighbors_on(device.told, tlv.get_local_MAC())) {
        hosts_of_others_.insert(hosts_of_others_.end(), tlv.get_MAC_address_vector().begin(),
                                tlv.get_MAC_address_vector().end());
      }
    }
  }
  std::ranges::sort(of_devices_);
  std::ranges::sort(hosts_of_others_);
  learned_at_ = now;
}

}  // namespace meshd
