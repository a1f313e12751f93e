#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/entity/device.h"
#include "tools/meshd/entity/neighbor_table.h"

namespace meshd {

/// All other devices of the mesh: our neighbours, those that a device in the map reports, and for a while those that
/// sent a notification. Devices that never answered give way to others, and far devices to nearer ones.
class DeviceMap {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  using Devices = std::map<qel::MACAddress, Device>;
  using Agenda = std::set<std::pair<TimePoint, qel::MACAddress>>;

  /// Limit on devices that never answered among those that one device reports, and among those known only by
  /// notifications. More wait until some of these have answered, so invented devices keep out few real ones.
  static constexpr std::size_t MOST_UNPROVEN = 64;

  /// A device known only by its notification is forgotten unless another device reports it within this time.
  static constexpr std::chrono::seconds NOTICE_TIME{30};

  /// The memory of one device on average, in octets, including what it reported.
  static constexpr std::size_t DEVICE_SIZE = 4096;

  /// The part of it that each device has for itself. The rest is shared by devices that report more: one may take a
  /// quarter of what is left.
  static constexpr std::size_t OWN_SIZE = DEVICE_SIZE / 4 * 3;

  /// `self` is our AL MAC. There is room for `most` devices and DEVICE_SIZE octets for each.
  DeviceMap(const qel::MACAddress& self, std::size_t most) : self_(self), most_(most) {}

  /// All devices, in the order of their AL MACs.
  const Devices& all() const { return devices_; }
  Devices& all() { return devices_; }

  /// Finds a device by its AL MAC; null if there is none.
  Device* find(const qel::MACAddress& al_mac);
  const Device* find(const qel::MACAddress& al_mac) const;

  /// All devices by the time at which their inquiries are due. After a lack of memory it may contain the address of a
  /// device that is not in the map.
  Agenda& agenda() { return agenda_; }

  /// Call this after a change of the device's inquiry.
  void schedule(const qel::MACAddress& al_mac, Device& device);

  /// Adds a device that was discovered as a neighbour on the interface. Null if other neighbours leave no room.
  Device* take_neighbor(const qel::MACAddress& al_mac, std::size_t interface);

  /// Adds a device whose notification came on the interface. Null if it is unknown and there is no room.
  Device* take_notifier(const qel::MACAddress& al_mac, std::size_t interface, TimePoint now);

  /// Replaces the previous report of a device in the map, as far as there is memory; see ToldByDevice::fit_into().
  void take_told(Device& device, ToldByDevice told);

  /// Replaces the metrics that a device of the map reported for its links to the neighbour; null keeps the previous
  /// ones. Metrics are left out if the device has no such neighbour, or if there is no memory for them.
  void take_metrics(Device& device, const qel::MACAddress& neighbor,
                    const qel::ieee1905_1::TransmitterLinkMetricTLV* transmitter,
                    const qel::ieee1905_1::ReceiverLinkMetricTLV* receiver);

  void take_blocked(Device& device, std::vector<qel::ieee1905_1::QELBlockedInterface> blocked);

  /// Adds the neighbours that this device of the map reports. Returns the new ones.
  std::vector<qel::MACAddress> take_neighbors_of(const qel::MACAddress& al_mac);

  /// Walks from our neighbours to the devices that they report, and on; forgets the devices that it does not meet.
  /// Required after a device no longer reports another, or a link of ours is gone. Returns the forgotten devices that
  /// were `is_found`.
  std::vector<qel::MACAddress> walk(const NeighborTable& neighbors, TimePoint now);

  /// How many times a part of a report was left out for lack of memory.
  std::uint64_t count_truncated() const { return truncated_; }

  /// Whether another walk should follow soon: devices that were left out have room by now, or wait to be reported.
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
  std::size_t room_for_told() const;
  void note_truncated(Device& device);

  qel::MACAddress self_;
  std::size_t most_;
  Devices devices_;
  Agenda agenda_;
  std::size_t spare_taken_ = 0;  // octets, of all devices
  std::uint64_t truncated_ = 0;
  std::size_t notifiers_ = 0;  // devices known only by a notification, as of the last walk
  std::uint32_t walk_ = 0;
  bool is_waiting_ = false;
  bool is_crowded_ = false;  // some devices had no room
};

}  // namespace meshd
