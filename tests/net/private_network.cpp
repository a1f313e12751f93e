#include "tests/net/private_network.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_link.h>
#include <linux/if_packet.h>
#include <linux/rtnetlink.h>
#include <linux/veth.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <system_error>

namespace qel::test {

namespace {

[[noreturn]] void throw_error(int error, const std::string& what) {
  throw std::system_error(error, std::generic_category(), what);
}

void require(bool succeeded, const std::string& what) {
  if (!succeeded) {
    throw_error(errno, what);
  }
}

void write_file(const char* path, const std::string& text) {
  const FileDescriptor file(::open(path, O_WRONLY | O_CLOEXEC));
  require(::write(file.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()), path);
}

std::string try_to_enter_private_network() {
  if (::unshare(CLONE_NEWNET) == 0) {
    return {};
  }
  const std::string without_user_namespace = std::strerror(errno);
  const uid_t user = ::geteuid();
  const gid_t group = ::getegid();
  if (::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
    return "no network namespace to be had: " + without_user_namespace +
           "; with a user namespace: " + std::strerror(errno);
  }
  try {
    write_file("/proc/self/setgroups", "deny");
    write_file("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
    write_file("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
  } catch (const std::system_error& error) {
    return std::string("the user namespace cannot be set up: ") + error.what();
  }
  return {};
}

/// An attribute with a text (rtnetlink(7)); its size is a multiple of four.
template <std::size_t SIZE>
struct TextAttribute {
  rtattr head;
  char text[SIZE];

  void set(unsigned short type, const std::string& value) {
    head = {sizeof(*this), type};
    value.copy(text, SIZE - 1);
  }
};

/// The kernel's request for a pair; attributes that hold others reach to its end.
struct VethRequest {
  nlmsghdr header;
  ifinfomsg any_interface;
  TextAttribute<IFNAMSIZ> name;
  rtattr info;
  TextAttribute<8> kind;
  rtattr data;
  rtattr peer;
  ifinfomsg any_peer;
  TextAttribute<IFNAMSIZ> peer_name;
};

ifreq flags_of(int socket, const std::string& name) {
  ifreq request{};
  name.copy(request.ifr_name, IFNAMSIZ - 1);
  require(::ioctl(socket, SIOCGIFFLAGS, &request) == 0, name);
  return request;
}

}  // namespace

const std::string& enter_private_network() {
  static const std::string reason = try_to_enter_private_network();
  return reason;
}

void add_veth_pair(const std::string& name, const std::string& peer) {
  VethRequest request{};
  const auto to_the_end = [&request](const rtattr& attribute, unsigned short type) {
    const auto* end = reinterpret_cast<const char*>(&request + 1);
    return rtattr{static_cast<unsigned short>(end - reinterpret_cast<const char*>(&attribute)), type};
  };
  request.header = {sizeof(request), RTM_NEWLINK, NLM_F_REQUEST | NLM_F_ACK | NLM_F_CREATE | NLM_F_EXCL, 0, 0};
  request.name.set(IFLA_IFNAME, name);
  request.info = to_the_end(request.info, IFLA_LINKINFO);
  request.kind.set(IFLA_INFO_KIND, "veth");
  request.data = to_the_end(request.data, IFLA_INFO_DATA);
  request.peer = to_the_end(request.peer, VETH_INFO_PEER);
  request.peer_name.set(IFLA_IFNAME, peer);

  const FileDescriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
  struct {
    nlmsghdr header;
    nlmsgerr error;
    std::array<std::uint8_t, 1024> rest;
  } answer{};
  require(::send(socket.get(), &request, sizeof(request), 0) >= 0 &&
              ::recv(socket.get(), &answer, sizeof(answer), 0) > static_cast<ssize_t>(sizeof(answer.header)),
          "netlink");
  if (answer.error.error != 0) {
    throw_error(-answer.error.error, "cannot add " + name + " and " + peer);
  }
  change_interface_flags(name, IFF_UP, 0);
  change_interface_flags(peer, IFF_UP, 0);
}

void remove_interface(const std::string& name) {
  const ifinfomsg any_interface{};
  NetlinkRequest request(RTM_DELLINK, 0);
  request.append(&any_interface, sizeof(any_interface));
  request.append_attribute(IFLA_IFNAME, name);
  if (const int error = request.send(); error != 0) {
    throw_error(error, "cannot remove " + name);
  }
}

void change_interface_flags(const std::string& name, unsigned int set, unsigned int cleared) {
  const FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  ifreq request = flags_of(socket.get(), name);
  request.ifr_flags = static_cast<short>((static_cast<unsigned short>(request.ifr_flags) & ~cleared) | set);
  require(::ioctl(socket.get(), SIOCSIFFLAGS, &request) == 0, name);
}

unsigned int interface_flags(const std::string& name) {
  const FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  return static_cast<unsigned short>(flags_of(socket.get(), name).ifr_flags);
}

FileDescriptor open_packet_socket(const std::string& interface, unsigned short ethertype) {
  FileDescriptor socket(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0));
  sockaddr_ll address{};
  address.sll_family = AF_PACKET;
  address.sll_protocol = htons(ethertype);
  address.sll_ifindex = static_cast<int>(::if_nametoindex(interface.c_str()));
  require(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0, interface);
  return socket;
}

}  // namespace qel::test
