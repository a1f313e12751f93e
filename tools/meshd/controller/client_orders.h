#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/controller/followups.h"
#include "tools/meshd/controller/learning.h"
#include "tools/meshd/controller/mesh_model.h"
#include "tools/meshd/controller/policy.h"
#include "tools/meshd/controller/result.h"
#include "tools/meshd/controller/steering.h"
#include "tools/meshd/multi_ap/courier.h"

namespace meshd::controller {

/// Carries out what concerns a client: to move, to be refused, to tell what it hears. An order that makes no sense
/// throws std::invalid_argument and is not sent.
class ClientOrders {
 public:
  /// How long the other access points refuse a client that has agreed to move.
  static constexpr std::uint16_t HELD_SECONDS = 20;

  /// Everything is borrowed.
  ClientOrders(MeshModel& model, Learning& learning, multi_ap::Courier& courier, Followups& followups,
               const Policy& policy)
      : model_(model), learning_(learning), courier_(courier), followups_(followups), policy_(policy) {}

  /// Asks the client to move to the BSS `to`, which first stops refusing it if that follows an earlier move. If the
  /// client agrees and `is_held`, other access points that it hears refuse it for a while.
  void steer(const qel::MACAddress& client, const qel::MACAddress& to, bool is_held, TimePoint now, OnResult on_result);

  /// Has the BSSs refuse the client; without any, all but the one where it is. `seconds` of 0 lifts the block.
  void block(const qel::MACAddress& client, std::vector<qel::MACAddress> bssids, std::uint16_t seconds, TimePoint now,
             const OnResult& on_result);

  /// Asks the client for the BSSs that it hears; the model has them afterwards.
  void ask_what_it_hears(const qel::MACAddress& client, TimePoint now, OnResult on_result);

  /// Whether it was asked to move, or for what it hears, and has not answered.
  bool is_busy(const qel::MACAddress& client) const { return moves_.contains(client) || listening_.contains(client); }
  std::size_t count_moves() const { return moves_.size(); }

  void on_joined(const qel::MACAddress& client, const qel::MACAddress& bssid, TimePoint now);
  /// The BSS that the client has left has noticed.
  void on_gone(const qel::MACAddress& client, const qel::MACAddress& bssid, TimePoint now);
  void tend(TimePoint now);

 private:
  struct Move {
    SteeringOrder order;
    qel::MACAddress agent;                ///< of the BSS where the client is
    std::vector<qel::MACAddress> others;  ///< BSSs that refuse the client once it has agreed
    TimePoint since;
    TimePoint due;
    std::optional<std::uint8_t> status;
    std::optional<TimePoint> answered_at;
    bool is_there = false;
    bool is_held;
    Followups::Number report = 0;
    OnResult on_result;
  };
  using Moves = std::map<qel::MACAddress, Move>;

  /// The move with this report, unless it is over.
  Moves::iterator find_move(const qel::MACAddress& client, Followups::Number report);
  void ask_to_move(Moves::iterator place, TimePoint now);
  void on_report(const qel::MACAddress& client, const qel::ieee1905_1::Message* message, TimePoint now);
  void end(Moves::iterator place, TimePoint now, bool is_success, const std::string& text);
  void end_there(Moves::iterator place, TimePoint now);
  void record_status(const qel::MACAddress& client, const std::optional<std::uint8_t>& status, TimePoint now);
  /// Has the BSS refuse the client for a while.
  void hold_off(const qel::MACAddress& client, const qel::MACAddress& bssid, TimePoint now);
  void ask_to_hold_off(const qel::MACAddress& client, const qel::MACAddress& bssid, TimePoint now);
  /// Where else the client could go: what it hears, and the other BSSs of its agent.
  std::vector<qel::MACAddress> find_others(const SteeringOrder& order) const;

  MeshModel& model_;
  Learning& learning_;
  multi_ap::Courier& courier_;
  Followups& followups_;
  const Policy& policy_;
  Moves moves_;
  std::set<qel::MACAddress> listening_;
};

}  // namespace meshd::controller
