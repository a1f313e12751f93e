#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "qel/core/basic_version.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/link_metric_information.h"
#include "qel/ieee1905_1/media_specific_information.h"
#include "qel/ieee1905_1/media_type.h"
#include "qel/ieee1905_1/vendor/qel_blocked_interface_list_tlv.h"
#include "tools/meshd/entity/entity.h"
#include "tools/meshd/view/names.h"

namespace meshd {

/// What one node knows of the mesh: itself and all devices that it has heard of.
struct TopologyView {
  /// Limit on the nodes. Devices that others report beyond it appear only as ends of links.
  static constexpr std::size_t MOST_NODES = 16384;

  /// The number of hosts that text and graph list at one interface; they count the rest.
  static constexpr std::size_t MOST_HOSTS = 8;

  struct Interface {
    qel::MACAddress mac;
    qel::ieee1905_1::InterfaceType type;
    qel::ieee1905_1::_InterfaceMode mode;
    std::optional<qel::ieee1905_1::WLANSpecificInformation> wlan = {};  ///< of a radio
  };

  /// Devices without 1905.1 behind an interface.
  struct Hosts {
    qel::MACAddress interface;
    std::vector<qel::MACAddress> macs;
  };

  using State = DeviceState;

  struct Node {
    qel::MACAddress al_mac;
    bool is_self = false;
    bool has_answered = false;  ///< it has reported its interfaces
    State state = State::HEARD_OF;
    std::optional<std::chrono::seconds> age;   ///< since its last response; nothing if it never responded
    std::vector<qel::MACAddress> reported_by;  ///< AL MACs of the devices that report it as a neighbour
    std::optional<qel::BasicVersion> meshd_version;
    std::vector<Interface> interfaces;
    std::vector<std::vector<qel::MACAddress>> bridges;          ///< the interfaces of each
    std::vector<qel::ieee1905_1::QELBlockedInterface> blocked;  ///< names made printable
    std::vector<Hosts> hosts;
    bool is_truncated = false;  ///< it reported more than there was memory for
  };

  /// A link as one of its ends reports it.
  struct Link {
    qel::MACAddress from;
    qel::MACAddress from_interface;
    qel::MACAddress to;
    std::optional<qel::MACAddress> to_interface;
    bool is_bridged = false;  ///< there is a bridge without 1905.1 on it
    std::optional<qel::ieee1905_1::TransmitterLinkMetricInformation> transmitter;
    std::optional<qel::ieee1905_1::ReceiverLinkMetricInformation> receiver;
  };

  std::string name;         ///< of the daemon
  std::vector<Node> nodes;  ///< ourselves first
  std::vector<Link> links;  ///< by the node that reports them, in the order of the nodes
  Names names;              ///< the known names of nodes, interfaces and hosts

  /// Empty if it is unknown.
  std::string name_of(const qel::MACAddress& mac) const;
};

/// `names` are the names that users have given.
TopologyView view_topology(const std::string& name, const Entity& entity, Entity::TimePoint now, Names names = {});

std::string enum_to_string(TopologyView::State state);

/// The width in MHz, such as "80" or "80+80"; empty for a value that the standard does not have.
std::string width_text(const qel::ieee1905_1::WLANSpecificInformation& wlan);
/// The interface's role, its BSSID unless it is its own address, and its channel, such as "AP, 80 MHz around channel
/// 42". Leaves out what is not set.
std::string wlan_text(const TopologyView::Interface& interface);

/// Text for people; ends with a line feed, like the other formats.
void print_text(std::ostream& os, const TopologyView& view);

/// Text for meshes with many nodes: one line for each node.
void print_brief_text(std::ostream& os, const TopologyView& view);

/// One object in one line; the keys are described in meshctl(1).
void print_json(std::ostream& os, const TopologyView& view);

/// An undirected graph for Graphviz: nodes with their interfaces, plain switches, and the links between them.
void print_dot(std::ostream& os, const TopologyView& view);

}  // namespace meshd
