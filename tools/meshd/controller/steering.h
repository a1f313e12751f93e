#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/controller/mesh_model.h"
#include "tools/meshd/controller/policy.h"

namespace meshd::controller {

/// A client is to be asked to move.
struct SteeringOrder {
  qel::MACAddress client;
  qel::MACAddress from;  ///< BSSID
  qel::MACAddress to;    ///< BSSID
  std::string why;
};

/// What a client hears is to be asked before it can be steered.
struct BeaconOrder {
  qel::MACAddress client;
  qel::MACAddress bssid;  ///< where it is
  std::string why;
};

struct SteeringRound {
  std::vector<SteeringOrder> orders{};
  std::vector<BeaconOrder> questions{};
};

/// The time between two rounds. It lets the responses to one round arrive before the next.
inline constexpr std::chrono::seconds STEERING_ROUND{5};

/// The policy's limit on requests in a round holds for a mesh of so many agents and smaller ones.
inline constexpr std::size_t AGENTS_PER_LIMIT = 20;
/// The limit for this mesh: of a larger one, it grows with the agents that are there.
std::size_t most_at_once(const MeshModel& model, const SteeringPolicy& policy);

/// Decides which clients are asked to move, by how their access points receive them, how they hear others, and load.
/// The same model gives the same round. Decides only: what is done, and what comes of it, is recorded with the
/// functions below.
SteeringRound steer(const MeshModel& model, const SteeringPolicy& policy, TimePoint now);

/// The order was sent.
void record_asked(SteeringRecord& record, const SteeringOrder& order, const SteeringPolicy& policy, TimePoint now);
/// The response to it: the status code, or nothing if there was none.
void record_answer(SteeringRecord& record, const std::optional<std::uint8_t>& status, const SteeringPolicy& policy,
                   TimePoint now);
/// The question was sent, whatever comes of it.
void record_question(SteeringRecord& record, TimePoint now);

/// Whether a BSS may be a target for a client of another: the same SSID, of another radio, of an agent that is there.
bool may_be_target(const MeshModel& model, const qel::MACAddress& from, const qel::MACAddress& to);

}  // namespace meshd::controller
