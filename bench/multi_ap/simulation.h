#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "bench/event_queue.h"
#include "bench/multi_ap/world.h"
#include "qel/core/mac_address.h"
#include "tools/meshd/controller/controller.h"
#include "tools/meshd/multi_ap/mesh.h"

namespace meshd::simulation {

/// What a device sent and received. A message that does not fit into a frame takes several.
struct MultiApTraffic {
  std::uint64_t frames_sent = 0;
  std::uint64_t octets_sent = 0;
  std::uint64_t frames_received = 0;
  std::uint64_t octets_received = 0;

  MultiApTraffic operator-(const MultiApTraffic& earlier) const;
};

/// What a service costs the machine that simulates it.
struct MultiApCost {
  std::chrono::nanoseconds time{};  ///< of the processor, with encoding and decoding
  std::int64_t heap = 0;            ///< octets that it holds
};

/// A controller, and an agent at each access point of a world, in virtual time. Every message is encoded, carried as
/// frames, and decoded again. The entities are left out; their part is played here: topology queries and responses, and
/// which devices are there.
class MultiApSimulation {
 public:
  using TimePoint = multi_ap::TimePoint;

  struct Settings {
    World::Settings world{};
    controller::Config controller{};
    unsigned int lost_of_thousand = 1;   ///< frames that never arrive
    std::function<std::int64_t()> heap;  ///< octets that are in use; may be empty
  };

  /// All devices start within the first second.
  explicit MultiApSimulation(Settings settings);
  MultiApSimulation(const MultiApSimulation&) = delete;
  MultiApSimulation& operator=(const MultiApSimulation&) = delete;
  ~MultiApSimulation();

  void run(std::chrono::seconds time);
  /// Checks every second; returns false if the time runs out.
  bool run_until(const std::function<bool()>& is_done, std::chrono::seconds most);

  /// Since the start.
  std::chrono::seconds now() const;

  /// Whether the controller knows all radios with their preferences and channels, all BSSs with their load, and all
  /// clients that have been connected for ten seconds with their links.
  bool knows_all() const;

  World& world() { return world_; }
  const controller::Controller& controller() const;
  controller::Controller& controller();
  TimePoint time() const { return events_.now(); }

  const MultiApTraffic& controller_traffic() const;
  const MultiApCost& controller_cost() const;
  /// Of all agents together.
  MultiApTraffic agent_traffic() const;
  MultiApCost agent_cost() const;

  /// Messages that could not be encoded, and why.
  const std::set<std::string>& faults() const { return faults_; }

  static qel::MACAddress al_mac(std::size_t access_point);

 private:
  class Device;
  class AgentDevice;
  class ControllerDevice;
  using Octets = std::vector<std::uint8_t>;

  struct Event {
    enum class Type : std::uint8_t { TEND, RECEIVE, DELIVER, STEP };
    Type type;
    std::size_t device = 0;
    std::size_t from = 0;
    bool is_to_all = false;
    std::shared_ptr<const Octets> frame{};
  };

  void handle(const Event& event);
  void send(std::size_t from, std::size_t to, const std::shared_ptr<const Octets>& frame, bool is_to_all);
  std::size_t number_of(const qel::MACAddress& al_mac) const;

  const Settings settings_;
  World world_;
  std::vector<std::unique_ptr<Device>> devices_;  // the controller comes last
  EventQueue<Event> events_;
  std::uint64_t sent_ = 0;
  std::set<std::string> faults_;
};

}  // namespace meshd::simulation
