#pragma once

#include <optional>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/message.h"
#include "qel/ieee1905_1/message_type.h"
#include "tools/meshd/controller/mesh_model.h"
#include "tools/meshd/controller/policy.h"

// The messages that the controller sends to agents, each with a new identifier.
namespace meshd::controller {

/// A query without contents.
qel::ieee1905_1::Message query(qel::ieee1905_1::MessageType type);

///@{
/// Nothing if the agent has no BSS, or no radio, that the message could be about.
std::optional<qel::ieee1905_1::Message> metrics_query(const AgentModel& agent);
std::optional<qel::ieee1905_1::Message> policy_request(const AgentModel& agent, const Policy& policy);
///@}

/// Demands nothing, but an agent that gets it reports on which channels it operates. Nothing if that is known of all
/// radios.
std::optional<qel::ieee1905_1::Message> channels_query(const AgentModel& agent);

qel::ieee1905_1::Message client_capability_query(const qel::MACAddress& bssid, const qel::MACAddress& client);
qel::ieee1905_1::Message client_metrics_query(const qel::MACAddress& client);

/// Asks the client which BSSs of its SSID it hears on the channels that the mesh uses. Nothing if the client is nowhere
/// or no channel is known.
std::optional<qel::ieee1905_1::Message> beacon_query(const MeshModel& model, const qel::MACAddress& client);

/// Asks the agent for how it receives stations of others on this channel.
qel::ieee1905_1::Message unassociated_query(std::uint8_t opclass, std::uint8_t channel, const qel::MACAddress& client);

/// A mandate to ask the client to move, at once and only there. It is not disconnected if it refuses.
qel::ieee1905_1::Message steering_request(const MeshModel& model, const qel::MACAddress& client,
                                          const qel::MACAddress& from, const qel::MACAddress& to);

/// `seconds` of 0 lifts the block.
qel::ieee1905_1::Message block_request(const qel::MACAddress& bssid, const qel::MACAddress& client,
                                       std::uint16_t seconds);

}  // namespace meshd::controller
