#pragma once

#include <bitset>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "qel/core/basic_version.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/link_metric_tlvs.h"
#include "qel/ieee1905_1/message.h"
#include "qel/ieee1905_1/neighbor_tlvs.h"
#include "qel/ieee1905_1/vendor/qel_blocked_interface_list_tlv.h"
#include "tools/meshd/entity/local_interface.h"
#include "tools/meshd/entity/neighbor_table.h"

// The messages that the entity sends. Requests take a new message identifier, answers that of the request; each ends
// with the End-of-message TLV, and none has a TLV that does not fit a frame.
namespace meshd {

/// What a node tells about itself. States and hosts are those of the interfaces, in the same order.
struct OwnDevice {
  qel::MACAddress al_mac;
  qel::BasicVersion version;
  const std::vector<LocalInterface>& interfaces;  ///< borrowed
  std::vector<InterfaceState> states;
  std::vector<std::vector<qel::MACAddress>> hosts;
  std::vector<qel::ieee1905_1::QELBlockedInterface> blocked;
  const NeighborTable& neighbors;  ///< borrowed
};

/// What a link metric query asks for.
struct MetricQuestion {
  std::optional<qel::MACAddress> neighbor;  ///< all of them without
  qel::ieee1905_1::LinkMetricQuery metric;

  bool operator==(const MetricQuestion&) const = default;
};

/// To be sent from the interface with the address `interface` (IEEE 1905.1-2013, 6.3.1).
qel::ieee1905_1::Message topology_discovery(const qel::MACAddress& al_mac, const qel::MACAddress& interface);

/// To be relayed through the mesh: the device's topology is no longer as it was (6.3.2).
qel::ieee1905_1::Message topology_notification(const qel::MACAddress& al_mac);

qel::ieee1905_1::Message topology_query();

/// One of the interfaces must be there at least (6.3.4). Beside what the standard has it tells our version and what we
/// block, in vendor-specific TLVs; of hosts it tells a thousand at most.
qel::ieee1905_1::Message topology_response(std::uint16_t message_id, const OwnDevice& device);

/// Both directions of the receiver's links to one neighbour (6.3.5). The form for all neighbours has as many octets in
/// this system, and fewer in others, which misread it.
qel::ieee1905_1::Message link_metric_query(const qel::MACAddress& neighbor);

/// The body of a link metric query TLV: eight octets as ours, or two where all neighbours are meant, as the standard is
/// read by others. Nothing for another one.
std::optional<MetricQuestion> read_link_metric_query(std::span<const std::uint8_t> body);

/// States are those of the interfaces, in the same order (6.3.6).
qel::ieee1905_1::Message link_metric_response(std::uint16_t message_id, const MetricQuestion& question,
                                              const qel::MACAddress& al_mac,
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

/// What the lists of a message name.
std::vector<qel::ieee1905_1::QELBlockedInterface> read_blocked_interfaces(const qel::ieee1905_1::Message& message);

/// What we measure on our links to `neighbor`.
qel::ieee1905_1::TransmitterLinkMetricTLV transmitter_metrics(const qel::MACAddress& al_mac, const Neighbor& neighbor,
                                                              const std::vector<LocalInterface>& interfaces,
                                                              const std::vector<InterfaceState>& states);
qel::ieee1905_1::ReceiverLinkMetricTLV receiver_metrics(const qel::MACAddress& al_mac, const Neighbor& neighbor,
                                                        const std::vector<LocalInterface>& interfaces,
                                                        const std::vector<InterfaceState>& states);

/// Ports of one bridge make a tuple; a bridge with one of our interfaces alone joins nothing that we could tell of.
qel::ieee1905_1::DeviceBridgingCapabilityTLV bridging_capability(const std::vector<LocalInterface>& interfaces);

/// The media type of an interface.
qel::ieee1905_1::InterfaceInformation interface_information(const LocalInterface& interface,
                                                            const InterfaceState& state);

}  // namespace meshd
