#include <algorithm>
#include <iomanip>
#include <map>
#include <ostream>
#include <utility>
#include <vector>

#include "tools/meshd/view/topology_view.h"

namespace meshd {

namespace {

using qel::MACAddress;
using qel::ieee1905_1::QELBlockedInterface;
using Node = TopologyView::Node;
using Interface = TopologyView::Interface;
using Hosts = TopologyView::Hosts;
using Link = TopologyView::Link;
using State = TopologyView::State;

std::string state_of(const TopologyView& view, const Node& node) {
  if (node.is_self) {
    return "this node";
  }
  const std::string truncated = node.is_truncated ? ", truncated" : "";
  const std::string ago = node.age ? ' ' + std::to_string(node.age->count()) + " s ago" : "";
  if (node.state == State::ANSWERED) {
    return "answered" + ago + truncated;
  }
  std::string text = node.state == State::UNREACHABLE ? "unreachable" : "heard of";
  text += (ago.empty() ? "" : ", answered" + ago) + truncated;
  const char* before = ", reported by ";
  for (const MACAddress& teller : node.reported_by) {
    const std::string name = view.name_of(teller);
    text += std::exchange(before, ", ") + (name.empty() ? teller.to_string() : name);
  }
  return text;
}

/// Prints each node with its interfaces, and what each interface is connected to.
class Text {
 public:
  Text(std::ostream& os, const TopologyView& view) : os_(os), view_(view) {
    for (const Link& link : view.links) {
      links_[{link.from, link.from_interface}].push_back(&link);
    }
    for (const Node& node : view.nodes) {
      print(node);
    }
  }

 private:
  void print(const Node& node) {
    const std::string name = view_.name_of(node.al_mac);
    os_ << (node.is_self ? "node " : "\nnode ") << node.al_mac;
    if (node.is_self) {
      os_ << " (" << name << ", this node)";
    } else if (!name.empty()) {
      os_ << " (" << name << ')';
    }
    if (node.meshd_version) {
      os_ << ", meshd " << *node.meshd_version;
    }
    os_ << (node.is_self ? "" : ", " + state_of(view_, node)) << '\n';
    for (const Interface& interface : node.interfaces) {
      os_ << "  interface " << interface.mac << ' ' << interface.type << ' '
          << interface_mode_to_string(interface.type, interface.mode);
      const std::string interface_name = view_.name_of(interface.mac);
      os_ << (interface_name.empty() ? "" : ' ' + interface_name);
      os_ << (interface.wlan ? ", " + wlan_text(interface) : "");
      for (std::size_t i = 0; i < node.bridges.size(); ++i) {
        if (std::ranges::find(node.bridges[i], interface.mac) != node.bridges[i].end()) {
          os_ << ", bridge " << i + 1;
        }
      }
      os_ << '\n';
      print_at(node, interface.mac);
    }
    for (const MACAddress& mac : interfaces_not_told(node)) {
      os_ << "  interface " << mac << '\n';
      print_at(node, mac);
    }
  }

  /// Interfaces that the node has not reported but that something is connected to.
  std::vector<MACAddress> interfaces_not_told(const Node& node) const {
    std::vector<MACAddress> macs;
    for (auto place = links_.lower_bound({node.al_mac, MACAddress()});
         place != links_.end() && place->first.first == node.al_mac; ++place) {
      macs.push_back(place->first.second);
    }
    std::ranges::transform(node.blocked, std::back_inserter(macs), &QELBlockedInterface::get_mac_address);
    std::ranges::transform(node.hosts, std::back_inserter(macs), &Hosts::interface);
    std::ranges::sort(macs);
    macs.erase(std::unique(macs.begin(), macs.end()), macs.end());
    std::erase_if(macs, [&](const MACAddress& mac) {
      return std::ranges::find(node.interfaces, mac, &Interface::mac) != node.interfaces.end();
    });
    return macs;
  }

  void print_at(const Node& node, const MACAddress& interface) {
    for (const QELBlockedInterface& blocked : node.blocked) {
      if (blocked.get_mac_address() == interface) {
        os_ << "    blocked " << blocked.get_type() << ' ' << blocked.get_name() << ", filter actions "
            << blocked.get_filter_actions() << '\n';
      }
    }
    if (const auto links = links_.find({node.al_mac, interface}); links != links_.end()) {
      for (const Link* link : links->second) {
        print(*link);
      }
    }
    for (const Hosts& hosts : node.hosts) {
      if (hosts.interface == interface) {
        const std::size_t shown = std::min(hosts.macs.size(), TopologyView::MOST_HOSTS);
        for (std::size_t i = 0; i < shown; ++i) {
          os_ << "    host " << named(hosts.macs[i]) << '\n';
        }
        if (shown < hosts.macs.size()) {
          os_ << "    and " << hosts.macs.size() - shown << " more hosts\n";
        }
      }
    }
  }

  void print(const Link& link) {
    os_ << "    link to " << named(link.to);
    if (link.to_interface) {
      os_ << " at " << *link.to_interface;
    }
    os_ << (link.is_bridged ? " over a bridge" : "");
    if (link.transmitter) {
      os_ << ": " << link.transmitter->get_phy_rate() << " Mb/s, " << link.transmitter->get_link_availability()
          << " % available, sent " << link.transmitter->get_transmitted_packets() << " packets with "
          << link.transmitter->get_packet_erros() << " errors";
    }
    if (link.receiver) {
      os_ << (link.transmitter ? ", " : ": ") << "received " << link.receiver->get_packets_received()
          << " packets with " << link.receiver->get_packet_erros() << " errors";
      constexpr int STRONGEST = 220;  // the rest is reserved
      if (const int rcpi = link.receiver->get_RCPI(); rcpi <= STRONGEST) {
        os_ << " at " << rcpi / 2 - 110 << " dBm";
      }
    }
    os_ << '\n';
  }

  /// The address, and its name if it has one.
  std::string named(const MACAddress& mac) const {
    const std::string name = view_.name_of(mac);
    return mac.to_string() + (name.empty() ? "" : " (" + name + ')');
  }

  std::ostream& os_;
  const TopologyView& view_;
  std::map<std::pair<MACAddress, MACAddress>, std::vector<const Link*>> links_;  // by node and interface
};

}  // namespace

std::string enum_to_string(TopologyView::State state) {
  switch (state) {
    case State::ANSWERED:
      return "answered";
    case State::HEARD_OF:
      return "heard_of";
    case State::UNREACHABLE:
      return "unreachable";
  }
  return "";
}

void print_text(std::ostream& os, const TopologyView& view) { Text(os, view); }

void print_brief_text(std::ostream& os, const TopologyView& view) {
  std::map<MACAddress, std::size_t> links;
  for (const Link& link : view.links) {
    ++links[link.from];
  }
  std::size_t width = 4;
  for (const Node& node : view.nodes) {
    width = std::max(width, view.name_of(node.al_mac).size());
  }
  const auto print = [&](const auto& al_mac, const std::string& name, const auto& version, const auto& interfaces,
                         const auto& told_links, const auto& hosts, const std::string& state) {
    os << std::left << std::setw(19) << al_mac << std::setw(static_cast<int>(width) + 2) << name << std::setw(7)
       << version << std::right << std::setw(10) << interfaces << std::setw(7) << told_links << std::setw(7) << hosts
       << "  " << state << '\n';
  };
  print("AL MAC", "NAME", "MESHD", "INTERFACES", "LINKS", "HOSTS", "STATE");
  for (const Node& node : view.nodes) {
    const std::string name = view.name_of(node.al_mac);
    std::size_t hosts = 0;
    for (const Hosts& some : node.hosts) {
      hosts += some.macs.size();
    }
    print(node.al_mac.to_string(), name.empty() ? "-" : name,
          node.meshd_version ? node.meshd_version->to_string() : "-", node.interfaces.size(), links[node.al_mac], hosts,
          state_of(view, node));
  }
}

}  // namespace meshd
