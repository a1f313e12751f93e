#include "tools/meshd/entity/device.h"

#include <algorithm>
#include <span>
#include <utility>

namespace meshd {

namespace {

using qel::MACAddress;
using qel::ieee1905_1::ALMAC19051Neighbor;
using qel::ieee1905_1::IEEE1905NeighborDeviceTLV;
using qel::ieee1905_1::InterfaceInformation;

template <class T>
std::size_t cost_of(const std::vector<T>& list) {
  return list.capacity() * sizeof(T);
}

/// Clears the list, which then holds no memory.
template <class T>
void release(std::vector<T>& list) {
  std::vector<T>().swap(list);
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

void ToldByDevice::limit_neighbors(std::size_t most) {
  for (IEEE1905NeighborDeviceTLV& list : neighbors) {
    const std::span entries(list.get_AL_MAC_neighbor_vector());
    if (entries.size() > most) {
      IEEE1905NeighborDeviceTLV part(list.get_local_MAC());
      std::ranges::for_each(entries.first(most), [&](const auto& entry) { part.add_AL_MAC_neighbor(entry); });
      list = IEEE1905NeighborDeviceTLV(std::as_const(part));  // a copy holds no spare memory
    }
    most -= list.get_AL_MAC_neighbor_vector().size();
  }
}

bool ToldByDevice::fit_into(std::size_t octets) {
  if (cost() <= octets) {
    return false;
  }
  release(hosts);
  if (cost() > octets) {
    release(transmitter_metrics);
    release(receiver_metrics);
  }
  if (cost() > octets) {
    std::size_t entries = 0;
    for (const auto& tlv : neighbors) {
      entries += cost_of(tlv.get_AL_MAC_neighbor_vector());
    }
    const std::size_t others = cost() - entries;
    limit_neighbors(others > octets ? 0 : (octets - others) / sizeof(ALMAC19051Neighbor));
  }
  if (cost() > octets) {
    std::vector<InterfaceInformation> first = std::move(interfaces);
    *this = {};
    interfaces = std::move(first);
    interfaces.resize(std::min(interfaces.size(), octets / sizeof(InterfaceInformation)));
    interfaces.shrink_to_fit();
  }
  return true;
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
