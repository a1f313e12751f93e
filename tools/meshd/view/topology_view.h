#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qel/core/basic_version.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/link_metric_information.h"
#include "qel/ieee1905_1/media_type.h"
#include "qel/ieee1905_1/vendor/qel_blocked_interface_list_tlv.h"
#include "tools/meshd/entity/entity.h"

namespace meshd {

/// What one node knows of the mesh: itself, its neighbours, and their neighbours by name.
struct TopologyView {
  struct Interface {
    qel::MACAddress mac;
    std::string name;  ///< of our own interfaces only
    qel::ieee1905_1::InterfaceType type;
    qel::ieee1905_1::_InterfaceMode mode;
  };

  struct Node {
    qel::MACAddress al_mac;
    bool is_self = false;
    bool has_answered = false;  ///< it told its interfaces
    std::optional<qel::BasicVersion> meshd_version;
    std::vector<Interface> interfaces;
    std::vector<qel::ieee1905_1::QELBlockedInterface> blocked;  ///< names made printable
  };

  /// A link as one of its ends tells it.
  struct Link {
    qel::MACAddress from;
    qel::MACAddress from_interface;
    qel::MACAddress to;
    std::optional<qel::MACAddress> to_interface;
    std::optional<qel::ieee1905_1::TransmitterLinkMetricInformation> transmitter;
    std::optional<qel::ieee1905_1::ReceiverLinkMetricInformation> receiver;
  };

  std::string name;         ///< of the daemon
  std::vector<Node> nodes;  ///< ourselves first
  std::vector<Link> links;  ///< by the node that tells them, in the order of the nodes
};

TopologyView view_topology(const std::string& name, const Entity& entity);

/// For people; ends with a line feed, like the others.
std::string to_text(const TopologyView& view);

/// One object in one line; the keys are described in meshctl(1).
std::string to_json(const TopologyView& view);

/// An undirected graph for Graphviz, with one edge for each link that both its ends or one of them told.
std::string to_dot(const TopologyView& view);

}  // namespace meshd
