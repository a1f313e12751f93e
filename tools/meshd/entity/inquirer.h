#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/message.h"
#include "tools/meshd/entity/device_map.h"
#include "tools/meshd/entity/limits.h"
#include "tools/meshd/entity/neighbor_table.h"
#include "tools/meshd/entity/ports.h"
#include "tools/meshd/entity/sender.h"
#include "tools/meshd/entity/token_bucket.h"

namespace meshd {

/// Learns the mesh. Queries our neighbours, then the devices that they report, and so on: each for its topology and for
/// its metrics to its neighbours, one after another.
///
/// A device is queried when it is first heard of, after each of its notifications, and from time to time: neighbours
/// with each of our announcements, others about every REFRESH_HOLD_TIMES hold times, each at its own time.
class Inquirer {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// Limits on queries to all devices beyond the neighbours.
  static constexpr int QUESTIONS_A_SECOND = 64;
  static constexpr int QUESTIONS_AT_ONCE = 64;

  static constexpr int REFRESH_HOLD_TIMES = 2;

  /// The rate at which the whole mesh queries one device for the same cause; in a large mesh each node waits for its
  /// turn.
  static constexpr std::size_t QUESTIONS_TO_ONE_A_SECOND = 64;

  /// Neighbours, sender and ports are borrowed.
  Inquirer(const qel::MACAddress& self, const Limits& limits, std::chrono::milliseconds hold_time,
           const NeighborTable& neighbors, Sender& sender, Ports& ports);

  const DeviceMap& devices() const { return devices_; }
  DeviceMap& devices() { return devices_; }

  /// A neighbour was discovered: queries it at once.
  void meet(const qel::MACAddress& al_mac, TimePoint now);

  /// Queries all neighbours again.
  void ask_neighbors(TimePoint now);

  /// A link to a neighbour is gone: what was behind it will be forgotten soon.
  void on_link_lost() { is_to_walk_ = true; }

  /// Forgets at once the devices that can no longer be reached.
  void forget();

  /// The device has notified a topology change. It is queried later, so that many notifications cause few queries.
  /// Returns false if the device is unknown and was not taken in.
  bool on_notification(const qel::MACAddress& al_mac, std::size_t interface, TimePoint now);

  /// A response that came from `source`; a topology response has its device information TLV. Returns the device that
  /// was queried; null if none was, or if this is not its response.
  Device* take_topology(const qel::MACAddress& source, std::size_t interface, const qel::ieee1905_1::Message& message,
                        TimePoint now);
  /// The same; returns its AL MAC.
  std::optional<qel::MACAddress> take_metrics(const qel::MACAddress& source, const qel::ieee1905_1::Message& message,
                                              TimePoint now);

  /// Forgets the devices that are gone, and queries those that are due.
  void tend(TimePoint now);

 private:
  /// The device has sent us something over the interface.
  static void learn_way(Device& device, std::size_t interface);
  bool ask(const qel::MACAddress& al_mac, Device& device, TimePoint now);
  bool put_question(const qel::MACAddress& al_mac, Device& device, TimePoint now);
  std::vector<std::size_t> interfaces_to(const qel::MACAddress& al_mac, const Device& device) const;
  void give_up(const qel::MACAddress& al_mac, Device& device, TimePoint now);
  void end_row(const qel::MACAddress& al_mac, Device& device, TimePoint now) const;
  void rest(const qel::MACAddress& al_mac, Device& device, TimePoint now) const;
  std::vector<qel::MACAddress> choose_neighbors(const qel::MACAddress& al_mac, Device& device, TimePoint now) const;
  bool tells_of_itself(const qel::MACAddress& al_mac) const;
  void walk(TimePoint now);
  bool sends_from(const qel::MACAddress& al_mac, const ToldByDevice& told, const qel::MACAddress& source) const;
  int share_of(const qel::MACAddress& al_mac) const;

  const qel::MACAddress self_;
  const std::chrono::milliseconds hold_time_;
  const NeighborTable& neighbors_;
  Sender& sender_;
  Ports& ports_;
  DeviceMap devices_;
  TokenBucket<QUESTIONS_A_SECOND, QUESTIONS_AT_ONCE> questions_;
  TimePoint last_tended_;
  bool is_to_walk_ = false;
};

}  // namespace meshd
