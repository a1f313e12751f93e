#include <algorithm>
#include <map>
#include <sstream>
#include <utility>

#include "tools/meshd/view/topology_view.h"

namespace meshd {

namespace {

using qel::MACAddress;
using qel::ieee1905_1::QELBlockedInterface;
using Node = TopologyView::Node;
using Link = TopologyView::Link;

/// The two devices, in one order whichever end tells the link.
using Ends = std::pair<MACAddress, MACAddress>;

Ends ends_of(const Link& link) { return std::minmax(link.from, link.to); }

void print(std::ostream& os, const Link& link) {
  os << "  link " << link.from_interface << " -> " << link.to;
  if (link.to_interface) {
    os << " (" << *link.to_interface << ")";
  }
  if (link.transmitter) {
    os << ": " << link.transmitter->get_phy_rate() << " Mb/s, " << link.transmitter->get_link_availability()
       << " % available, sent " << link.transmitter->get_transmitted_packets() << " packets with "
       << link.transmitter->get_packet_erros() << " errors";
  }
  if (link.receiver) {
    os << (link.transmitter ? ", " : ": ") << "received " << link.receiver->get_packets_received() << " packets with "
       << link.receiver->get_packet_erros() << " errors";
  }
  os << '\n';
}

/// As Graphviz reads it.
std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char character : text) {
    if (character == '\n') {
      result += "\\n";
      continue;
    }
    if (character == '"' || character == '\\') {
      result += '\\';
    }
    result += character;
  }
  return result + '"';
}

}  // namespace

std::string to_text(const TopologyView& view) {
  std::ostringstream os;
  for (const Node& node : view.nodes) {
    os << "node " << node.al_mac;
    if (node.is_self) {
      os << " (" << view.name << ", this node)";
    }
    if (node.meshd_version) {
      os << ", meshd " << *node.meshd_version;
    }
    if (!node.has_answered) {
      os << ", known by name only";
    }
    os << '\n';
    for (const TopologyView::Interface& interface : node.interfaces) {
      os << "  interface " << interface.mac << ' ' << interface.type << ' '
         << interface_mode_to_string(interface.type, interface.mode);
      if (!interface.name.empty()) {
        os << ' ' << interface.name;
      }
      os << '\n';
    }
    for (const QELBlockedInterface& interface : node.blocked) {
      os << "  blocked " << interface.get_mac_address() << ' ' << interface.get_type() << ' ' << interface.get_name()
         << ", filter actions " << interface.get_filter_actions() << '\n';
    }
    for (const Link& link : view.links) {
      if (link.from == node.al_mac) {
        print(os, link);
      }
    }
  }
  return os.str();
}

std::string to_dot(const TopologyView& view) {
  std::ostringstream os;
  os << "graph mesh {\n  node [shape=box, style=rounded, fontname=\"sans-serif\"];\n  edge "
        "[fontname=\"sans-serif\"];\n";
  for (const Node& node : view.nodes) {
    std::string label = node.al_mac.to_string();
    if (node.is_self) {
      label.insert(0, view.name + '\n');
    }
    if (node.meshd_version) {
      label += "\nmeshd " + node.meshd_version->to_string();
    }
    os << "  \"" << node.al_mac << "\" [label=" << quoted(label) << (node.is_self ? ", penwidth=2" : "")
       << (node.has_answered ? "" : ", style=\"rounded,dashed\"") << "];\n";
  }
  // Both ends may tell the same links, the one with and the other without metrics: as many edges are drawn as the end
  // that tells more of them does.
  std::map<Ends, std::map<MACAddress, std::vector<const Link*>>> told;
  for (const Link& link : view.links) {
    told[ends_of(link)][link.from].push_back(&link);
  }
  for (const auto& [ends, tellers] : told) {
    const auto most = std::max_element(tellers.begin(), tellers.end(), [](const auto& left, const auto& right) {
      return left.second.size() < right.second.size();
    });
    for (const Link* link : most->second) {
      os << "  \"" << ends.first << "\" -- \"" << ends.second << '"';
      if (link->transmitter) {
        os << " [label=\"" << link->transmitter->get_phy_rate() << " Mb/s\"]";
      }
      os << ";\n";
    }
  }
  os << "}\n";
  return os.str();
}

}  // namespace meshd
