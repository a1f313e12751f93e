#include "tools/meshd/ports/link_socket.h"

#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>

namespace meshd {

namespace {

/// As much as the kernel puts into one datagram, if there is room.
constexpr std::size_t DATAGRAM_SIZE = 16384;

void require(bool succeeded) {
  if (!succeeded) {
    throw std::system_error(errno, std::generic_category(), "netlink");
  }
}

using Octets = std::span<const std::byte>;

/// Visits the messages of a datagram or the attributes of a message: each header, and the octets behind it.
template <class Header, auto LENGTH, class Visit>
void for_each(Octets octets, Visit visit) {
  constexpr std::size_t ALIGNMENT = 4;
  while (octets.size() >= sizeof(Header)) {
    Header header;
    std::memcpy(&header, octets.data(), sizeof(header));
    const std::size_t length = header.*LENGTH;
    if (length < sizeof(header) || length > octets.size()) {
      return;
    }
    visit(header, octets.subspan(sizeof(header), length - sizeof(header)));
    octets = octets.subspan(std::min(octets.size(), (length + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT));
  }
}

template <class Visit>
void for_each_attribute(Octets octets, Visit visit) {
  for_each<rtattr, &rtattr::rta_len>(
      octets, [&](const rtattr& header, Octets value) { visit(header.rta_type & NLA_TYPE_MASK, value); });
}

/// With zeros for octets that are missing.
template <class T>
T value_of(Octets octets) {
  T value{};
  std::memcpy(&value, octets.data(), std::min(octets.size(), sizeof(value)));
  return value;
}

/// Up to the first NUL.
std::string_view text_of(Octets octets) {
  const std::string_view text(reinterpret_cast<const char*>(octets.data()), octets.size());
  return text.substr(0, text.find('\0'));
}

bool is_port_of_bridge(Octets information) {
  bool is_port = false;
  for_each_attribute(information, [&](int type, Octets value) {
    is_port = is_port || (type == IFLA_INFO_SLAVE_KIND && text_of(value) == "bridge");
  });
  return is_port;
}

void set_counts(InterfaceState& state, const rtnl_link_stats& counts) {
  state.received_packets = counts.rx_packets;
  state.receive_errors = counts.rx_errors;
  state.sent_packets = counts.tx_packets;
  state.send_errors = counts.tx_errors;
}

/// Nothing for a message that does not describe a link: what a bridge tells of its ports, and events of wireless.
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
  for_each_attribute(message.subspan(sizeof(head)), [&](int type, Octets value) {
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
        is_port = is_port_of_bridge(value);
        break;
      case IFLA_STATS:
        set_counts(link.state, value_of<rtnl_link_stats>(value));
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

LinkSocket::LinkSocket(bool with_changes) : socket_(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE)) {
  require(socket_.get() >= 0);
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = with_changes ? RTMGRP_LINK : 0;
  require(::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0);
}

void LinkSocket::ask(unsigned int index) { send_request(index, NLM_F_REQUEST); }

void LinkSocket::ask_all() {
  is_interrupted_ = false;
  send_request(0, NLM_F_REQUEST | NLM_F_DUMP);
}

void LinkSocket::send_request(unsigned int index, unsigned short flags) {
  struct {
    nlmsghdr head;
    ifinfomsg body;
  } request{};
  request.head.nlmsg_len = sizeof(request);
  request.head.nlmsg_type = RTM_GETLINK;
  request.head.nlmsg_flags = flags;
  request.body.ifi_index = static_cast<int>(index);
  require(::send(socket_.get(), &request, sizeof(request), 0) == sizeof(request));
}

void LinkSocket::take(const nlmsghdr& header, std::span<const std::byte> message, const Handler& handle) {
  is_interrupted_ = is_interrupted_ || (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
  switch (header.nlmsg_type) {
    case RTM_NEWLINK:
    case RTM_DELLINK:
      if (const std::optional<Link> link = parse(message)) {
        handle(header.nlmsg_type == RTM_NEWLINK ? Event::LINK : Event::LINK_GONE, *link);
      }
      break;
    case NLMSG_DONE:
    case NLMSG_ERROR:  // both begin with an errno, negative or 0
      if (const int error = value_of<int>(message); error < 0) {
        throw std::system_error(-error, std::generic_category(), "netlink");
      }
      handle(is_interrupted_ ? Event::INTERRUPTED : Event::ALL_TOLD, {});
      break;
    default:
      break;
  }
}

LinkSocket::Result LinkSocket::receive(bool waits, const Handler& handle) {
  std::byte octets[DATAGRAM_SIZE];
  sockaddr_nl sender{};
  socklen_t sender_size = sizeof(sender);
  const ssize_t size = ::recvfrom(socket_.get(), octets, sizeof(octets), waits ? 0 : MSG_DONTWAIT,
                                  reinterpret_cast<sockaddr*>(&sender), &sender_size);
  if (size < 0 && errno == ENOBUFS) {
    return Result::OVERRUN;
  }
  if (size < 0 && errno == EAGAIN) {
    return Result::NOTHING;
  }
  require(size >= 0 || errno == EINTR);
  if (size >= 0 && sender.nl_pid == 0) {  // only the kernel is believed
    for_each<nlmsghdr, &nlmsghdr::nlmsg_len>(
        Octets(octets, static_cast<std::size_t>(size)),
        [&](const nlmsghdr& header, Octets message) { take(header, message, handle); });
  }
  return Result::RECEIVED;
}

}  // namespace meshd
