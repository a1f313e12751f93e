#pragma once

#include <bitset>
#include <cstdint>
#include <vector>

#include "qel/core/basic_version.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/link_metric_tlvs.h"
#include "qel/ieee1905_1/message.h"
#include "qel/ieee1905_1/vendor/qel_blocked_interface_list_tlv.h"
#include "tools/meshd/entity/local_interface.h"
#include "tools/meshd/entity/neighbor_table.h"

// The messages that the entity sends. Requests take a new message identifier, answers that of the request; each is one
// fragment and ends with the End-of-message TLV.
namespace meshd {

/// To be sent from the interface with the address `interface` (IEEE 1905.1-2013, 6.3.1).
qel::ieee1905_1::Message topology_discovery(const qel::MACAddress& al_mac, const qel::MACAddress& interface);

/// To be relayed through the mesh: the device's topology is no longer as it was (6.3.2).
qel::ieee1905_1::Message topology_notification(const qel::MACAddress& al_mac);

qel::ieee1905_1::Message topology_query();

/// One of the interfaces must be there at least (6.3.4).
qel::ieee1905_1::Message topology_response(std::uint16_t message_id, const qel::MACAddress& al_mac,
                                           const std::vector<LocalInterface>& interfaces,
                                           const std::vector<InterfaceState>& states, const NeighborTable& neighbors);

/// Both directions of all links of the receiver (6.3.5).
qel::ieee1905_1::Message link_metric_query();

/// What `query` asks for (6.3.6). States are those of the interfaces, in the same order.
qel::ieee1905_1::Message link_metric_response(std::uint16_t message_id, const qel::MACAddress& al_mac,
                                              const qel::ieee1905_1::LinkMetricQueryTLV& query,
                                              const std::vector<LocalInterface>& interfaces,
                                              const std::vector<InterfaceState>& states,
                                              const NeighborTable& neighbors);

/// The vendor-specific message that tells which daemon runs here.
qel::ieee1905_1::Message meshd_version(const qel::BasicVersion& version);

/// The filter actions of an interface that we block. Bit 0: what it receives is dropped; bit 1: nothing is sent on it.
inline constexpr std::bitset<16> BLOCKED_BOTH_WAYS{0b11};

/// The vendor-specific message that tells which of our interfaces we block. A list without interfaces has no encoding:
/// when we block none, the message type stands alone.
qel::ieee1905_1::Message blocked_interface_list(const std::vector<qel::ieee1905_1::QELBlockedInterface>& blocked);

/// What we measure on our links to `neighbor`.
qel::ieee1905_1::TransmitterLinkMetricTLV transmitter_metrics(const qel::MACAddress& al_mac, const Neighbor& neighbor,
                                                              const std::vector<LocalInterface>& interfaces,
                                                              const std::vector<InterfaceState>& states);
qel::ieee1905_1::ReceiverLinkMetricTLV receiver_metrics(const qel::MACAddress& al_mac, const Neighbor& neighbor,
                                                        const std::vector<LocalInterface>& interfaces,
                                                        const std::vector<InterfaceState>& states);

/// The media type of an interface.
qel::ieee1905_1::InterfaceInformation interface_information(const LocalInterface& interface,
                                                            const InterfaceState& state);

}  // namespace meshd
