#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "qel/core/basic_version.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/lenient.h"
#include "qel/ieee1905_1/message.h"
#include "qel/ieee1905_1/reassembly.h"
#include "tools/meshd/entity/answer_limits.h"
#include "tools/meshd/entity/device_map.h"
#include "tools/meshd/entity/duplicate_filter.h"
#include "tools/meshd/entity/frame.h"
#include "tools/meshd/entity/frame_counts.h"
#include "tools/meshd/entity/host_finder.h"
#include "tools/meshd/entity/inquirer.h"
#include "tools/meshd/entity/limits.h"
#include "tools/meshd/entity/local_interface.h"
#include "tools/meshd/entity/messages.h"
#include "tools/meshd/entity/neighbor_table.h"
#include "tools/meshd/entity/ports.h"
#include "tools/meshd/entity/sender.h"
#include "tools/meshd/entity/services.h"
#include "tools/meshd/multi_ap/mesh.h"

namespace meshd {

/// A 1905.1 abstraction layer entity. It discovers its neighbours, learns the mesh beyond them, answers queries about
/// topology and links, and relays messages. It has no sockets and no timers: its owner passes in the received frames
/// and the time.
class Entity {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// As many as fit in one TLV of a frame.
  static constexpr std::size_t MAX_INTERFACES = 128;

  struct Config {
    qel::MACAddress al_mac;
    qel::BasicVersion version;
    std::vector<LocalInterface> interfaces;  ///< at most MAX_INTERFACES; each has a name
    std::chrono::milliseconds hold_time;     ///< a link not heard from for this long is gone
    Limits limits = {};
  };

  /// Throws std::invalid_argument for too many interfaces, one without a name, or an AL MAC that is not an individual
  /// address. The ports are borrowed.
  Entity(Config config, Ports& ports);
  Entity(const Entity&) = delete;
  Entity& operator=(const Entity&) = delete;
  ~Entity() = default;

  /// Call this at start and then at regular intervals, several within a hold time. Announces us on all interfaces and
  /// queries all neighbours again, which keeps what we know of them fresh and their links alive.
  void announce(TimePoint now);

  /// Call this about once a second. Drops links that are too old, notifies the mesh if our links have changed, and
  /// queries the devices that are due.
  void tend(TimePoint now);

  /// Handles a frame received on an interface. Frames of other ethertypes than those of 1905.1 and LLDP are ignored.
  void receive(std::size_t interface, std::span<const std::uint8_t> octets, TimePoint now);

  /// The service gets all messages that reach us from now on, and is told which devices are there. It is borrowed.
  void add_service(multi_ap::Service& service) { services_.add(service); }
  /// What the services send with.
  multi_ap::Mesh& mesh() { return services_; }

  /// Delivers what the services have sent to this device itself. receive() and tend() do so too.
  void deliver(TimePoint now) { services_.deliver_own(now); }

  const Config& config() const { return config_; }
  const NeighborTable& neighbors() const { return neighbors_; }
  const DeviceMap& devices() const { return inquirer_.devices(); }
  FrameCounts counts() const;

  /// Adds an interface at the lowest free number, and announces us there. If an interface of the same name was blocked
  /// when it was removed, the new one is blocked too. Throws std::invalid_argument if it has no name or there are
  /// MAX_INTERFACES already.
  std::size_t add_interface(LocalInterface added);

  /// Removes the interface and its links, and frees its number.
  void remove_interface(std::size_t interface);

  /// The interface came up, or something of it changed. Announces us there, and notifies the mesh of a new address and
  /// of what changed on a radio. Throws std::out_of_range.
  void replace_interface(std::size_t interface, LocalInterface renewed);

  /// Only the radio of the interface, or who is at its other end, changed. Notifies the mesh, once a second at most.
  /// Throws std::out_of_range.
  void set_wlan(std::size_t interface, std::optional<WlanInterface> wlan);

  /// The interface has lost its carrier: its links are gone.
  void disconnect(std::size_t interface);

  /// Nothing is sent on a blocked interface, what it receives is ignored, and its links are removed. The neighbours are
  /// told first, including those behind it. Initially no interface is blocked.
  void set_blocked(std::size_t interface, bool blocked);
  bool is_blocked(std::size_t interface) const { return blocked_[interface]; }
  std::vector<qel::ieee1905_1::QELBlockedInterface> blocked_interfaces() const;

  /// The state of each interface, by its number.
  std::vector<InterfaceState> read_states() const;

  /// The hosts without 1905.1 behind each interface, by its number.
  std::vector<std::vector<qel::MACAddress>> find_hosts(TimePoint now) const;

 private:
  struct Received;
  struct Handler;

  /// The counter for a message that a handler has accepted.
  using Outcome = std::uint64_t FrameCounts::*;

  /// True if the interface exists and is not blocked.
  bool is_usable(std::size_t interface) const;

  Outcome take(const Received& received);
  Outcome take_lldp(std::size_t interface, std::span<const std::uint8_t> octets, TimePoint now);
  Outcome process(const Received& received);
  Outcome dispatch(const Handler* handler, const Received& received, std::span<const std::uint8_t> cmdu);
  bool deliver(const Received& received, const qel::ieee1905_1::LenientMessage& message);
  void relay(const Received& received, bool has_room);

  static const Handler* find_handler(qel::ieee1905_1::MessageType type);
  Outcome on_topology_discovery(const Received& received, const qel::ieee1905_1::LenientMessage& message);
  Outcome on_topology_notification(const Received& received, const qel::ieee1905_1::LenientMessage& message);
  Outcome on_topology_query(const Received& received, const qel::ieee1905_1::LenientMessage& message);
  Outcome on_topology_response(const Received& received, const qel::ieee1905_1::LenientMessage& message);
  Outcome on_link_metric_query(const Received& received, const qel::ieee1905_1::LenientMessage& message);
  Outcome on_link_metric_response(const Received& received, const qel::ieee1905_1::LenientMessage& message);
  Outcome on_vendor_specific(const Received& received, const qel::ieee1905_1::LenientMessage& message);

  bool is_for_us(const Received& received) const;
  bool is_to_be_relayed(const Received& received) const;
  bool may_answer(const Received& received);
  qel::ieee1905_1::Message own_topology_response(std::uint16_t message_id, TimePoint now) const;
  template <class MakeAnswer>
  Outcome answer(const Received& received, MakeAnswer make_answer);
  void announce_on(std::size_t interface);
  void tell_about_us(const Neighbor& neighbor);
  void tell_blocked_interfaces(const Neighbor& neighbor);
  void on_links_lost(const std::vector<qel::MACAddress>& al_macs);

  Config config_;
  Ports& ports_;
  Codec codec_;
  Sender sender_;
  DuplicateFilter duplicates_;
  qel::ieee1905_1::Reassembly reassembly_;
  NeighborTable neighbors_;
  Inquirer inquirer_;
  Services services_;
  mutable HostFinder hosts_;
  AnswerLimits limits_;
  FrameCounts counts_;
  std::vector<bool> blocked_;           // by the numbers of the interfaces
  std::set<std::string> gone_blocked_;  // names of interfaces that were blocked when they were removed
  bool has_changed_ = false;            // whether our links changed since the last notification
};

}  // namespace meshd
