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

// The messages that the entity sends. A query takes a new message identifier, a response that of its query. Each
// message ends with the End-of-message TLV, and each TLV fits into a frame.
namespace meshd {

/// Declared in services.h.
class Services;

/// What a node reports about itself. States and hosts are those of the interfaces, in the same order.
struct OwnDevice {
  qel::MACAddress al_mac;
  qel::BasicVersion version;
  const std::vector<LocalInterface>& interfaces;  ///< borrowed
  std::vector<InterfaceState> states;
  std::vector<std::vector<qel::MACAddress>> hosts;
  std::vector<qel::ieee1905_1::QELBlockedInterface> blocked;
  const NeighborTable& neighbors;      ///< borrowed
  const Services* services = nullptr;  ///< borrowed; null for none
};

/// What a link metric query asks for.
struct MetricQuestion {
  std::optional<qel::MACAddress> neighbor;  ///< all neighbours if absent
  qel::ieee1905_1::LinkMetricQuery metric;

  bool operator==(const MetricQuestion&) const = default;
};

/// To be sent from the interface with the address `interface` (IEEE 1905.1-2013, 6.3.1).
qel::ieee1905_1::Message topology_discovery(const qel::MACAddress& al_mac, const qel::MACAddress& interface);

/// To be relayed through the mesh: the topology of the device has changed (6.3.2).
qel::ieee1905_1::Message topology_notification(const qel::MACAddress& al_mac);

qel::ieee1905_1::Message topology_query();

/// At least one of the interfaces must exist (6.3.4). Vendor-specific TLVs add our version and our blocked interfaces.
/// Lists at most 1024 hosts.
qel::ieee1905_1::Message topology_response(std::uint16_t message_id, const OwnDevice& device);

/// Asks for both directions of the receiver's links to one neighbour (6.3.5). The form for all neighbours is not used:
/// it has eight octets in this system but two in others, which misread ours.
qel::ieee1905_1::Message link_metric_query(const qel::MACAddress& neighbor);

/// Reads the body of a link metric query TLV: eight octets, or the two that other systems send to ask for all
/// neighbours. Returns nothing for any other body.
std::optional<MetricQuestion> read_link_metric_query(std::span<const std::uint8_t> body);

/// States are those of the interfaces, in the same order (6.3.6).
qel::ieee1905_1::Message link_metric_response(std::uint16_t message_id, const MetricQuestion& question,
                                              const qel::MACAddress& al_mac,
                                              const std::vector<LocalInterface>& interfaces,
                                              const std::vector<InterfaceState>& states,
                                              const NeighborTable& neighbors);

/// The vendor-specific message with the version of this daemon.
qel::ieee1905_1::Message meshd_version(const qel::BasicVersion& version);

/// The filter actions of an interface that we block. Bit 0: what it receives is dropped; bit 1: nothing is sent on it.
inline constexpr std::bitset<16> BLOCKED_BOTH_WAYS{0b11};

/// The vendor-specific message that lists the interfaces that we block. An empty list cannot be encoded: if no
/// interface is blocked, the message has only its type.
qel::ieee1905_1::Message blocked_interface_list(const std::vector<qel::ieee1905_1::QELBlockedInterface>& blocked);

/// The interfaces that the lists of a message name.
std::vector<qel::ieee1905_1::QELBlockedInterface> read_blocked_interfaces(const qel::ieee1905_1::Message& message);

/// What we measure on our links to `neighbor`.
qel::ieee1905_1::TransmitterLinkMetricTLV transmitter_metrics(const qel::MACAddress& al_mac, const Neighbor& neighbor,
                                                              const std::vector<LocalInterface>& interfaces,
                                                              const std::vector<InterfaceState>& states);
qel::ieee1905_1::ReceiverLinkMetricTLV receiver_metrics(const qel::MACAddress& al_mac, const Neighbor& neighbor,
                                                        const std::vector<LocalInterface>& interfaces,
                                                        const std::vector<InterfaceState>& states);

/// The ports of one bridge make a tuple. A bridge with only one of our interfaces has none, since it joins nothing that
/// we could report.
qel::ieee1905_1::DeviceBridgingCapabilityTLV bridging_capability(const std::vector<LocalInterface>& interfaces);

/// The media type of an interface, with what belongs to it.
qel::ieee1905_1::InterfaceInformation interface_information(const LocalInterface& interface,
                                                            const InterfaceState& state);

}  // namespace meshd
