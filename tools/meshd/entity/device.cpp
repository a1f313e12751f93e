#include "tools/meshd/entity/device.h"

#include <algorithm>

namespace meshd {

namespace {

using qel::MACAddress;

template <class T>
std::size_t cost_of(const std::vector<T>& list) {
  return list.capacity() * sizeof(T);
}

}  // namespace

bool ToldByDevice::has_interface(const MACAddress& mac) const {
  return std::ranges::any_of(interfaces, [&](const auto& interface) { return interface.get_mac() == mac; });
}

std::vector<MACAddress> ToldByDevice::neighbor_al_macs() const {
  std::vector<MACAddress> al_macs;
  for (const auto& tlv : neighbors) {
    for (const auto& neighbor : tlv.get_AL_MAC_neighbor_vector()) {
      al_macs.push_back(neighbor.get_AL_MAC());
    }
  }
  std::ranges::sort(al_macs);
  al_macs.erase(std::unique(al_macs.begin(), al_macs.end()), al_macs.end());
  return al_macs;
}

std::size_t ToldByDevice::cost() const {
  std::size_t cost = name.capacity() + cost_of(interfaces) + cost_of(bridges) + cost_of(neighbors) + cost_of(hosts) +
                     cost_of(blocked_interfaces) + cost_of(transmitter_metrics) + cost_of(receiver_metrics);
  for (const auto& tuple : bridges) {
    cost += cost_of(tuple.get_mac_address_vector());
  }
  for (const auto& tlv : neighbors) {
    cost += cost_of(tlv.get_AL_MAC_neighbor_vector());
  }
  for (const auto& tlv : hosts) {
    cost += cost_of(tlv.get_MAC_address_vector());
  }
  for (const auto& interface : blocked_interfaces) {
    cost += interface.get_name().capacity();
  }
  for (const auto& tlv : transmitter_metrics) {
    cost += cost_of(tlv.get_transmitter_link_metric_vector());
  }
  for (const auto& tlv : receiver_metrics) {
    cost += cost_of(tlv.get_receiver_link_metric_vector());
  }
  return cost;
}

}  // namespace meshd
