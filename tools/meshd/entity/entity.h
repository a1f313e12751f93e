#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "qel/core/basic_version.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/message.h"
#include "tools/meshd/entity/duplicate_filter.h"
#include "tools/meshd/entity/frame.h"
#include "tools/meshd/entity/limits.h"
#include "tools/meshd/entity/local_interface.h"
#include "tools/meshd/entity/neighbor_table.h"
#include "tools/meshd/entity/ports.h"
#include "tools/meshd/entity/token_bucket.h"

namespace meshd {

/// What became of the frames received. Each is counted once, but the last three are counted beside.
struct FrameCounts {
  std::uint64_t processed = 0;
  std::uint64_t ignored = 0;     ///< nothing that we answer or keep, or not for us
  std::uint64_t own = 0;         ///< came back to us
  std::uint64_t duplicates = 0;  ///< came before
  std::uint64_t rejected = 0;    ///< not to be decoded
  std::uint64_t relayed = 0;
  std::uint64_t unrelayed = 0;   ///< to be relayed, but dropped: there were too many to remember
  std::uint64_t unanswered = 0;  ///< questions above the limits; they are among those ignored
};

/// A 1905.1 abstraction layer entity: discovers its neighbours, asks and answers questions about topology and links,
/// and relays. It knows neither sockets nor timers: whoever owns it hands over what comes in and the time.
class Entity {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// An answer about this many interfaces fits a frame.
  static constexpr std::size_t MAX_INTERFACES = 16;

  /// Who forges a question has the answer, which is many times as long, sent to somebody else: so each link to a
  /// neighbour has its own limit, all others that ask on one interface have one of the same size together, and these
  /// are the limits in all.
  static constexpr int ANSWERS_A_SECOND = 64;
  static constexpr int ANSWERS_AT_ONCE = 128;

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

  /// To be called at start and then at regular intervals: announces us on all interfaces and asks all neighbours again,
  /// so that what we know of them does not grow old and that those alive are heard of.
  void announce(TimePoint now);

  /// To be called once a second or so: drops links that have grown too old, tells the mesh when our links have changed,
  /// and asks the neighbours that said the same.
  void tend(TimePoint now);

  /// Takes a frame that was received on an interface: of the ethertype of 1905.1 or of LLDP, others are ignored.
  void receive(std::size_t interface, std::span<const std::uint8_t> octets, TimePoint now);

  const Config& config() const { return config_; }
  const NeighborTable& neighbors() const { return neighbors_; }
  const FrameCounts& counts() const { return counts_; }

  /// Takes up an interface at the lowest number that is free, and announces us there. Throws std::invalid_argument for
  /// one without a name or one too many.
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
  bool is_blocked(std::size_t interface) const { return slots_[interface].is_blocked; }
  std::vector<qel::ieee1905_1::QELBlockedInterface> blocked_interfaces() const;

  /// Of all interfaces, by their numbers.
  std::vector<InterfaceState> read_states() const;

 private:
  struct Received;

  /// What belongs to the number of an interface.
  struct Slot {
    bool is_blocked = false;
    TokenBucket stranger_answers{NeighborLink::ANSWERS_A_SECOND, NeighborLink::ANSWERS_AT_ONCE};
  };

  /// There is such an interface, and we do not block it.
  bool is_usable(std::size_t interface) const;
  void relay(const Received& received, bool has_room);
  void process(const Received& received);
  /// False for a message that means nothing to us; the handlers below likewise.
  bool dispatch(const Received& received, const qel::ieee1905_1::Message& message);

  bool on_topology_discovery(const Received& received, const qel::ieee1905_1::Message& message);
  bool on_topology_notification(const qel::ieee1905_1::Message& message);
  bool on_topology_query(const Received& received);
  bool on_topology_response(const Received& received, const qel::ieee1905_1::Message& message);
  bool on_link_metric_query(const Received& received, const qel::ieee1905_1::Message& message);
  bool on_link_metric_response(const Received& received, const qel::ieee1905_1::Message& message);
  bool on_vendor_specific(const Received& received, const qel::ieee1905_1::Message& message);

  bool is_for_us(const Received& received) const;
  bool is_to_be_relayed(const Received& received) const;
  bool may_answer(const Received& received);
  void announce_on(std::size_t interface);
  void ask(Neighbor& neighbor);
  Neighbor* take_answer(const Received& received, Questions Neighbor::*questions);
  void tell_blocked_interfaces(const Neighbor& neighbor);
  void on_links_lost(const std::vector<qel::MACAddress>& al_macs);
  void send(std::size_t interface, const qel::MACAddress& destination, const qel::ieee1905_1::Message& message);

  Config config_;
  Ports& ports_;
  Codec codec_;
  DuplicateFilter duplicates_;
  NeighborTable neighbors_;
  FrameCounts counts_;
  std::vector<Slot> slots_;  // one for each number of an interface
  TokenBucket answers_{ANSWERS_A_SECOND, ANSWERS_AT_ONCE};
  bool has_changed_ = false;  // our links, since the mesh was told
};

}  // namespace meshd
