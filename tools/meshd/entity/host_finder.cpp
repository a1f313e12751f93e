#include "tools/meshd/entity/host_finder.h"

#include <algorithm>
#include <iterator>

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
    if (!interfaces[interface].is_there()) {
      continue;
    }
    const Way way = way_of(interface, neighbors);
    std::vector<MACAddress> here = way == Way::UNBRIDGED ? std::vector<MACAddress>() : ports.read_hosts(interface);
    const std::optional<WlanInterface>& wlan = interfaces[interface].wlan;
    if (here.empty() && (!wlan || wlan->peers.empty())) {
      continue;
    }
    learn(devices, now);
    if (way == Way::BRIDGED) {
      std::erase_if(here, [&](const MACAddress& mac) { return std::ranges::binary_search(hosts_of_others_, mac); });
    }
    if (wlan) {
      here.insert(here.end(), wlan->peers.begin(), wlan->peers.end());
    }
    std::vector<MACAddress>& found = hosts[reported_as(interfaces, interface)];
    std::copy_if(here.begin(), here.end(), std::back_inserter(found), [&](const MACAddress& mac) {
      return !std::ranges::binary_search(of_devices_, mac) && neighbors.find_sender(mac) == nullptr;
    });
    if (wlan) {  // a bridge learns the addresses of peers too
      std::sort(found.begin(), found.end());
      found.erase(std::unique(found.begin(), found.end()), found.end());
    }
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
