#include "tools/meshd/ports/link_socket.h"

#include <linux/if.h>
#include <linux/if_arp.h>

#include <cstdint>
#include <string_view>
#include <utility>

namespace meshd {

namespace {

using netlink::for_each_attribute;
using netlink::Octets;
using netlink::text_of;
using netlink::value_of;

/// Whether the kind of a link (IFLA_INFO_KIND) or of its master (IFLA_INFO_SLAVE_KIND) is a bridge.
bool is_bridge(int which, Octets information) {
  bool found = false;
  for_each_attribute(information,
                     [&](int type, Octets value) { found = found || (type == which && text_of(value) == "bridge"); });
  return found;
}

void set_counts(InterfaceState& state, const rtnl_link_stats& counts) {
  state.received_packets = counts.rx_packets;
  state.receive_errors = counts.rx_errors;
  state.sent_packets = counts.tx_packets;
  state.send_errors = counts.tx_errors;
}

/// Nothing if the message does not describe a link, as when a bridge reports its ports, or for wireless events.
std::optional<Link> parse(Octets message) {
  const auto head = value_of<ifinfomsg>(message);
  if (message.size() < sizeof(head) || head.ifi_family != AF_UNSPEC) {
    return std::nullopt;
  }
  Link link;
  link.index = static_cast<unsigned int>(head.ifi_index);
  link.state.up = (head.ifi_flags & IFF_LOWER_UP) != 0;
  bool is_described = true;
  bool is_port = false;
  for_each_attribute(netlink::attributes_behind<ifinfomsg>(message), [&](int type, Octets value) {
    switch (type) {
      case IFLA_IFNAME:
        link.name = text_of(value);
        break;
      case IFLA_ADDRESS:
        if (head.ifi_type == ARPHRD_ETHER) {
          link.mac = value_of<qel::MACAddress>(value);
        }
        break;
      case IFLA_MASTER:
        link.bridge = value_of<std::uint32_t>(value);
        break;
      case IFLA_LINKINFO:
        link.is_bridge = is_bridge(IFLA_INFO_KIND, value);
        is_port = is_bridge(IFLA_INFO_SLAVE_KIND, value);
        break;
      case IFLA_STATS:
        set_counts(link.state, value_of<rtnl_link_stats>(value));
        break;
      case IFLA_STATS64:
        link.sent_octets = value_of<rtnl_link_stats64>(value).tx_bytes;
        break;
      case IFLA_WIRELESS:
        is_described = false;
        break;
      default:
        break;
    }
  });
  link.bridge = is_port ? link.bridge : 0;
  return is_described ? std::optional(std::move(link)) : std::nullopt;
}

}  // namespace

LinkSocket::LinkSocket(bool with_changes) : socket_(with_changes ? RTMGRP_LINK : 0) {}

void LinkSocket::ask(unsigned int index) { send_request(index, 0); }

void LinkSocket::ask_all() {
  is_interrupted_ = false;
  send_request(0, NLM_F_DUMP);
}

void LinkSocket::send_request(unsigned int index, unsigned short flags) {
  ifinfomsg body{};
  body.ifi_index = static_cast<int>(index);
  socket_.send(netlink::Request(RTM_GETLINK, flags, body));
}

void LinkSocket::take(const nlmsghdr& header, netlink::Octets message, const Handler& handle) {
  is_interrupted_ = is_interrupted_ || (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
  switch (header.nlmsg_type) {
    case RTM_NEWLINK:
    case RTM_DELLINK:
      if (const std::optional<Link> link = parse(message)) {
        handle(header.nlmsg_type == RTM_NEWLINK ? Event::LINK : Event::LINK_GONE, *link);
      }
      break;
    case NLMSG_DONE:
    case NLMSG_ERROR:  // without an error, it also ends a response
      handle(is_interrupted_ ? Event::INTERRUPTED : Event::ALL_TOLD, {});
      break;
    default:
      break;
  }
}

LinkSocket::Result LinkSocket::receive(bool waits, const Handler& handle) {
  return socket_.receive(waits,
                         [&](const nlmsghdr& header, netlink::Octets message) { take(header, message, handle); });
}

}  // namespace meshd
