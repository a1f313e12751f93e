#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <span>
#include <vector>

#include "bench/event_queue.h"
#include "bench/mesh/bridges.h"
#include "bench/mesh/shape.h"
#include "qel/core/mac_address.h"
#include "tools/meshd/entity/entity.h"

namespace meshd::simulation {

/// Why a node sends a frame. All but the last two are its own.
enum class Kind { ANNOUNCED, NOTIFIED, ASKED, ANSWERED, TOLD, RELAYED, BRIDGED };
inline constexpr std::size_t KINDS = 7;
inline constexpr std::array<const char*, KINDS> KIND_NAMES{"announced", "notified", "asked",  "answered",
                                                           "told",      "relayed",  "bridged"};

/// What a node sent, by kind.
struct Traffic {
  std::array<std::uint64_t, KINDS> frames{};
  std::array<std::uint64_t, KINDS> octets{};
  std::uint64_t to_ends = 0;  ///< own frames to the two ends of the spare cable alone

  void count(Kind kind, std::size_t size);
  std::uint64_t own_frames() const;
  std::uint64_t all_frames() const;
  std::uint64_t all_octets() const;
  Traffic operator-(const Traffic& earlier) const;
};

/// What a node costs the machine that simulates it.
struct Cost {
  std::chrono::nanoseconds time{};  ///< of the processor
  std::int64_t heap = 0;            ///< octets that it holds
};

/// Entities on virtual cables, in virtual time. The ports of each node are in one bridge, which forwards unicast frames
/// but neither discoveries nor LLDP. Each run is the same.
class Simulation {
 public:
  using TimePoint = Entity::TimePoint;

  struct Settings {
    std::chrono::seconds interval{60};  ///< of discovery
    std::chrono::seconds tending{1};
    unsigned lost_of_thousand = 0;       ///< frames that never arrive
    std::function<std::int64_t()> heap;  ///< octets that are in use; may be empty
  };

  /// All nodes start within the first second.
  Simulation(const Shape& shape, Settings settings);
  Simulation(const Simulation&) = delete;
  Simulation& operator=(const Simulation&) = delete;
  ~Simulation();

  void run(std::chrono::milliseconds time);

  /// Checks every second; returns false if the time runs out.
  bool run_until(const std::function<bool()>& is_done, std::chrono::seconds most);

  /// The cables are in the order of the shape, the spare one last. Both ends know at once, and so does the tree of the
  /// bridges.
  void set_plugged_in(std::size_t cable, bool plugged_in);

  /// Since the start.
  std::chrono::milliseconds now() const;

  /// Whether the node has had answers from all others, and whether it knows the metrics of all their links too.
  bool knows_all(std::size_t node) const;
  bool knows_all_metrics(std::size_t node) const;

  std::size_t nodes() const { return nodes_.size(); }
  const std::vector<Cable>& cables() const { return cables_; }
  std::size_t interfaces(std::size_t node) const { return cables_of_[node].size(); }
  const Entity& entity(std::size_t node) const;
  const Traffic& traffic(std::size_t node) const;
  const Cost& cost(std::size_t node) const;

  static qel::MACAddress al_mac(std::size_t node);
  static qel::MACAddress interface_mac(std::size_t node, std::size_t interface);

 private:
  class Node;
  using Octets = std::vector<std::uint8_t>;

  /// An event at a node.
  struct Event {
    enum class Type { ANNOUNCE, TEND, RECEIVE };
    Type type;
    std::size_t node;
    std::size_t interface;
    std::shared_ptr<const Octets> frame;
  };

  void post(std::chrono::microseconds delay, Event::Type type, std::size_t node, std::size_t interface = 0,
            std::shared_ptr<const Octets> frame = nullptr);
  void handle(const Event& event);
  void send(std::size_t node, std::size_t interface, std::span<const std::uint8_t> frame);
  void arrive(std::chrono::microseconds delay, std::size_t cable, std::size_t device,
              const std::shared_ptr<const Octets>& frame);
  std::size_t other_end(std::size_t cable, std::size_t device) const;
  std::size_t interface_at(std::size_t cable, std::size_t device) const;
  void plan_bridges();

  const Settings settings_;
  std::vector<Cable> cables_;
  std::vector<bool> plugged_in_;
  std::vector<std::vector<std::size_t>> cables_of_;  // of each device; the place of one is the number of the interface
  std::vector<Cable> interfaces_;                    // of each cable, at its ends
  Bridges bridges_;
  std::vector<std::unique_ptr<Node>> nodes_;
  EventQueue<Event> events_;
  std::minstd_rand numbers_{1};
};

}  // namespace meshd::simulation
