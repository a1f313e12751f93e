#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/entity/device.h"
#include "tools/meshd/entity/neighbor_table.h"

namespace meshd {

/// All other devices of the mesh: our neighbours, those that are told of by a device in the map, and for a while those
/// that told of themselves in a notification. Devices that never answered give way to others, and so do those far away
/// to nearer ones.
class DeviceMap {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  using Devices = std::map<qel::MACAddress, Device>;

  /// Devices that never answered and that one device told of, or that told of themselves. More wait until some of these
  /// have answered: who invents devices keeps out few.
  static constexpr std::size_t MOST_UNPROVEN = 64;

  /// A device that only its notification told of is told of by another one in the meantime, or it is forgotten.
  static constexpr std::chrono::seconds NOTICE_TIME{30};

  /// What one device takes of memory on average, what it told included.
  static constexpr std::size_t DEVICE_SIZE = 4096;

  /// What of it each device has for itself. The rest is spare for those that tell more: one may take a quarter of what
  /// is left of it.
  static constexpr std::size_t OWN_SIZE = DEVICE_SIZE / 4 * 3;

  /// `self` is our AL MAC. There is room for `most` devices and DEVICE_SIZE octets for each.
  DeviceMap(const qel::MACAddress& self, std::size_t most) : self_(self), most_(most) {}

  /// In the order of their AL MACs.
  const Devices& all() const { return devices_; }
  Devices& all() { return devices_; }

  /// By the AL MAC; null when there is none.
  Device* find(const qel::MACAddress& al_mac);
  const Device* find(const qel::MACAddress& al_mac) const;

  /// A device was discovered as neighbour on the interface; null when there is no room beside other neighbours.
  Device* take_neighbor(const qel::MACAddress& al_mac, std::size_t interface);

  /// A device told of itself in a notification that came on the interface; null when it is unknown and has no room.
  Device* take_notifier(const qel::MACAddress& al_mac, std::size_t interface, TimePoint now);

  /// What a device of the map told replaces what it told before, as far as there is memory for it: the hosts are left
  /// out first, then the metrics, then all.
  void take_told(Device& device, ToldByDevice told);

  /// What a device of the map measured on its links to the neighbour; what it measured there before goes. Null when it
  /// told nothing. It is left out when the device has no such neighbour, or when there is no memory for it.
  void take_metrics(Device& device, const qel::MACAddress& neighbor,
                    const qel::ieee1905_1::TransmitterLinkMetricTLV* transmitter,
                    const qel::ieee1905_1::ReceiverLinkMetricTLV* receiver);

  void take_blocked(Device& device, std::vector<qel::ieee1905_1::QELBlockedInterface> blocked);

  /// Those that this device of the map tells of are taken in. Returns those that are new.
  std::vector<qel::MACAddress> take_neighbors_of(const qel::MACAddress& al_mac);

  /// Goes from our neighbours to what they tell of, and on: who is not met is forgotten. Has to follow when a device
  /// tells no more of another or a link of ours is gone. Returns the devices forgotten that were `is_found`.
  std::vector<qel::MACAddress> walk(const NeighborTable& neighbors, TimePoint now);

  /// Some were not taken in though there is room by now, or wait to be told of: another walk is to follow soon.
  bool is_waiting() const { return is_waiting_ || (is_crowded_ && devices_.size() < most_); }

 private:
  class Recount;

  struct Way {
    unsigned int hops;
    std::size_t interface;
    qel::MACAddress told_by;
  };

  std::vector<qel::MACAddress> meet_neighbors_of(const qel::MACAddress& al_mac, std::vector<qel::MACAddress>* met);
  std::vector<qel::MACAddress> forget(TimePoint now);
  static void lead(Device& device, const Way& way);
  Device* add(const qel::MACAddress& al_mac, const Way& way);
  bool make_room(unsigned int hops);
  Devices::iterator erase(Devices::iterator place);
  static std::size_t excess(const ToldByDevice& told);
  bool has_memory_for(const ToldByDevice& told) const;

  qel::MACAddress self_;
  std::size_t most_;
  Devices devices_;
  std::size_t spare_taken_ = 0;  // octets, by all
  std::size_t notifiers_ = 0;    // known by nothing else, as of the last walk
  std::uint32_t walk_ = 0;
  bool is_waiting_ = false;
  bool is_crowded_ = false;  // some had no room
};

}  // namespace meshd
