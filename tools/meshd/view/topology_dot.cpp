#include <algorithm>
#include <ostream>
#include <set>

#include "tools/meshd/view/segments.h"
#include "tools/meshd/view/topology_view.h"

namespace meshd {

namespace {

using qel::MACAddress;
using Node = TopologyView::Node;
using State = TopologyView::State;

/// Escaped for an HTML-like label of Graphviz.
std::string escaped(const std::string& text) {
  std::string result;
  for (const char character : text) {
    switch (character) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += character;
    }
  }
  return result;
}

bool is_blocked(const Node& node, const MACAddress& interface) {
  return std::ranges::any_of(node.blocked, [&](const auto& blocked) { return blocked.get_mac_address() == interface; });
}

class Drawing {
 public:
  Drawing(std::ostream& os, const TopologyView& view) : os_(os), view_(view) {
    for (const Node& node : view.nodes) {
      nodes_[node.al_mac] = &node;
    }
    os_ << "graph mesh {\n"
           "  graph [rankdir=LR, ranksep=1.2];\n"
           "  node [shape=plain, fontname=\"sans-serif\", fontsize=11];\n"
           "  edge [fontname=\"sans-serif\", fontsize=9];\n";
    std::ranges::for_each(view.nodes, [this](const Node& node) { add(node); });
    std::ranges::for_each(find_segments(view), [this](const Segment& segment) { add(segment); });
    os_ << "}\n";
  }

 private:
  void add(const Node& node) {
    const bool is_there = node.state == State::ANSWERED;
    os_ << "  \"" << node.al_mac << "\" [label=<<table border=\"" << (node.is_self ? 3 : 1)
        << "\" cellborder=\"0\" cellspacing=\"0\" style=\"rounded" << (is_there ? "" : ",dashed") << "\"><tr><td><b>"
        << named(node.al_mac, "<br/>") << "</b>";
    if (node.meshd_version) {
      os_ << "<br/>meshd " << *node.meshd_version;
    }
    if (!is_there) {
      os_ << "<br/><i>" << (node.state == State::HEARD_OF ? "heard of" : "unreachable") << "</i>";
    }
    os_ << "</td></tr>";
    for (std::size_t i = 0; i < node.interfaces.size(); ++i) {
      const TopologyView::Interface& interface = node.interfaces[i];
      const bool blocked = is_blocked(node, interface.mac);
      os_ << "<hr/><tr><td port=\"i" << i << "\" align=\"left\"" << (blocked ? " bgcolor=\"#f4c7c3\"" : "") << '>'
          << named(interface.mac, " ") << "  " << interface_mode_to_string(interface.type, interface.mode)
          << (interface.wlan ? ' ' + wlan_text(interface) : "") << bridge_of(node, interface.mac)
          << (blocked ? ", blocked" : "") << "</td></tr>";
    }
    os_ << "</table>>];\n";
    for (const TopologyView::Hosts& hosts : node.hosts) {
      add(node, hosts);
    }
  }

  /// The devices without 1905.1 behind an interface.
  void add(const Node& node, const TopologyView::Hosts& hosts) {
    const std::string name = "\"hosts " + hosts.interface.to_string() + '"';
    os_ << "  " << name << " [shape=box, style=filled, fillcolor=\"#eeeeee\", color=\"#bbbbbb\", label=<";
    for (std::size_t i = 0; i < std::min(hosts.macs.size(), TopologyView::MOST_HOSTS); ++i) {
      os_ << named(hosts.macs[i], " ") << "<br/>";
    }
    if (hosts.macs.size() > TopologyView::MOST_HOSTS) {
      os_ << "and " << hosts.macs.size() - TopologyView::MOST_HOSTS << " more<br/>";
    }
    os_ << ">];\n  " << end({node.al_mac, hosts.interface}) << " -- " << name << " [color=\"#999999\"];\n";
  }

  void add(const Segment& segment) {
    if (!segment.is_switch) {
      const auto& [left, right] = std::pair(*segment.ports.begin(), *segment.ports.rbegin());
      os_ << "  " << end(left.first) << " -- " << end(right.first) << " [label=\"" << speed(left.second, right.second)
          << '"' << style(left.first, right.first) << "];\n";
      return;
    }
    const std::string name = "switch" + std::to_string(++switches_);
    os_ << "  " << name << " [shape=ellipse, style=filled, fillcolor=\"#d6e4f5\", label=\"switch\"];\n";
    for (const auto& [port, information] : segment.ports) {
      os_ << "  " << end(port) << " -- " << name << " [label=\"" << speed(information, nullptr) << '"'
          << style(port, port) << "];\n";
    }
  }

  /// The address, after its name if it has one.
  std::string named(const MACAddress& mac, const char* between) const {
    const std::string name = view_.name_of(mac);
    return name.empty() ? mac.to_string() : escaped(name) + between + mac.to_string();
  }

  const Node* find(const MACAddress& al_mac) const {
    const auto place = nodes_.find(al_mac);
    return place == nodes_.end() ? nullptr : place->second;
  }

  /// The end of an edge: the interface if it is drawn.
  std::string end(const Port& port) const {
    std::string text = '"' + port.al_mac.to_string() + '"';
    if (const Node* node = find(port.al_mac)) {
      const auto place = std::ranges::find(node->interfaces, port.interface, &TopologyView::Interface::mac);
      if (place != node->interfaces.end()) {
        text += ":i" + std::to_string(place - node->interfaces.begin());
      }
    }
    return text;
  }

  /// The value that either end reported; the worse one if both did.
  static std::string speed(const qel::ieee1905_1::TransmitterLinkMetricInformation* left,
                           const qel::ieee1905_1::TransmitterLinkMetricInformation* right) {
    const auto* const best = left == nullptr ? right : left;
    if (best == nullptr) {
      return "";
    }
    const auto* const other = right == nullptr ? best : right;
    const int rate = std::min(best->get_phy_rate(), other->get_phy_rate());
    const int availability = std::min(best->get_link_availability(), other->get_link_availability());
    return (rate == 0 ? "" : std::to_string(rate) + " Mb/s, ") + std::to_string(availability) + " %";
  }

  /// Dashed if an end has not answered. Red if one is blocked.
  std::string style(const Port& left, const Port& right) const {
    bool is_unknown = false;
    bool is_cut = false;
    for (const Port& port : {left, right}) {
      const Node* node = find(port.al_mac);
      is_unknown = is_unknown || node == nullptr || node->state != State::ANSWERED || port.interface == MACAddress();
      is_cut = is_cut || (node != nullptr && is_blocked(*node, port.interface));
    }
    return std::string(is_unknown ? ", style=dashed" : "") + (is_cut ? ", color=\"#c0392b\"" : "");
  }

  /// The bridge of the node that the interface is in, if any.
  static std::string bridge_of(const Node& node, const MACAddress& interface) {
    for (std::size_t i = 0; i < node.bridges.size(); ++i) {
      if (std::ranges::find(node.bridges[i], interface) != node.bridges[i].end()) {
        return ", bridge " + std::to_string(i + 1);
      }
    }
    return "";
  }

  std::ostream& os_;
  const TopologyView& view_;
  std::map<MACAddress, const Node*> nodes_;
  int switches_ = 0;
};

}  // namespace

void print_dot(std::ostream& os, const TopologyView& view) { Drawing(os, view); }

}  // namespace meshd
