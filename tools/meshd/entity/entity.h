#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
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

namespace meshd {

/// A 1905.1 abstraction layer entity: discovers its neighbours, learns the mesh beyond them, answers questions about
/// topology and links, and relays. It knows neither sockets nor timers: whoever owns it hands over what comes in and
/// the time.
class Entity {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// So many are told of in one TLV of a frame.
  static constexpr std::size_t MAX_INTERFACES = 128;

  struct Config {
    qel::MACAddress al_mac;
    qel::BasicVersion version;
    std::vector<LocalInterface> interfaces;  ///< MAX_INTERFACES at most; none without a name at the start
    std::chrono::milliseconds hold_time;     ///< a link not heard of for so long is gone
    Limits limits = {};
  };

  /// Throws std::invalid_argument for too many interfaces, one without a name, or an AL MAC that is no individual
  /// address. The ports are borrowed.
  Entity(Config config, Ports& ports);
  Entity(const Entity&) = delete;
  Entity& operator=(const Entity&) = delete;
  ~Entity() = default;

  /// To be called at start and then at regular intervals, several in a hold time: announces us on all interfaces and
  /// asks all neighbours again, so that what we know of them does not grow old and that those alive are heard of.
  void announce(TimePoint now);

  /// To be called once a second or so: drops links that have grown too old, tells the mesh when our links have changed,
  /// and asks the devices whose time has come.
  void tend(TimePoint now);

  /// Takes a frame that was received on an interface: of the ethertype of 1905.1 or of LLDP, others are ignored.
  void receive(std::size_t interface, std::span<const std::uint8_t> octets, TimePoint now);

  const Config& config() const { return config_; }
  const NeighborTable& neighbors() const { return neighbors_; }
  const DeviceMap& devices() const { return inquirer_.devices(); }
  FrameCounts counts() const;

  /// Takes up an interface at the lowest number that is free, and announces us there. Throws std::invalid_argument for
  /// one without a name or one too many. One with the name of an interface that was blocked when it was removed is
  /// blocked again.
  std::size_t add_interface(LocalInterface added);

  /// The interface is no longer ours: its links are gone, and its number is free.
  void remove_interface(std::size_t interface);

  /// The interface has come to work, or has another name, address or bridge now: announces us there, and tells the mesh
  /// of another address. Throws std::out_of_range.
  void replace_interface(std::size_t interface, LocalInterface renewed);

  /// The interface has lost its carrier: its links are gone.
  void disconnect(std::size_t interface);

  /// Nothing is sent on a blocked interface, and what it receives is ignored: its links are gone. The neighbours are
  /// told before, so that those behind it know as well. None is blocked at first.
  void set_blocked(std::size_t interface, bool blocked);
  bool is_blocked(std::size_t interface) const { return blocked_[interface]; }
  std::vector<qel::ieee1905_1::QELBlockedInterface> blocked_interfaces() const;

  /// Of all interfaces, by their numbers.
  std::vector<InterfaceState> read_states() const;

  /// Of all interfaces, by their numbers: the hosts without 1905.1 behind them.
  std::vector<std::vector<qel::MACAddress>> find_hosts(TimePoint now) const;

 private:
  struct Received;
  struct Handler;

  /// The count at which a message is counted that a handler has taken.
  using Outcome = std::uint64_t FrameCounts::*;

  /// There is such an interface, and we do not block it.
  bool is_usable(std::size_t interface) const;

  Outcome take(const Received& received);
  Outcome take_lldp(std::size_t interface, std::span<const std::uint8_t> octets, TimePoint now);
  Outcome process(const Received& received);
  Outcome dispatch(const Handler& handler, const Received& received, std::span<const std::uint8_t> cmdu);
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
  mutable HostFinder hosts_;
  AnswerLimits limits_;
  FrameCounts counts_;
  std::vector<bool> blocked_;           // by the numbers of the interfaces
  std::set<std::string> gone_blocked_;  // names of interfaces that were blocked when they were removed
  bool has_changed_ = false;            // our links, since the mesh was told
};

}  // namespace meshd
