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

/// A netlink message that is put together piece by piece (rtnetlink(7)).
class NetlinkRequest {
 public:
  NetlinkRequest(std::uint16_t type, std::uint16_t flags) : octets_{} {
    header().nlmsg_type = type;
    header().nlmsg_flags = flags;
    header().nlmsg_len = NLMSG_HDRLEN;
  }

  /// Appends octets, and zeros up to the next multiple of four.
  void append(const void* data, std::size_t size) {
    std::memcpy(octets_.data() + header().nlmsg_len, data, size);
    header().nlmsg_len += static_cast<std::uint32_t>(NLMSG_ALIGN(size));
  }
  void append_attribute(std::uint16_t type, const std::string& text) {
    const rtattr attribute{static_cast<std::uint16_t>(RTA_LENGTH(text.size() + 1)), type};
    append(&attribute, sizeof(attribute));
    append(text.c_str(), text.size() + 1);
  }
  /// An attribute around what `content` appends.
  template <class Content>
  void nest(std::uint16_t type, Content content) {
    const std::uint32_t begin = header().nlmsg_len;
    rtattr attribute{0, type};
    append(&attribute, sizeof(attribute));
    content();
    attribute.rta_len = static_cast<std::uint16_t>(header().nlmsg_len - begin);
    std::memcpy(octets_.data() + begin, &attribute, sizeof(attribute));
  }

  /// Sends it, and returns the kernel's answer: 0, or an errno.
  int send() {
    const FileDescriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    header().nlmsg_flags |= NLM_F_REQUEST | NLM_F_ACK;
    require(::send(socket.get(), octets_.data(), header().nlmsg_len, 0) >= 0, "netlink");
    struct {
      nlmsghdr header;
      nlmsgerr error;
      std::array<std::uint8_t, 1024> rest;
    } answer{};
    require(::recv(socket.get(), &answer, sizeof(answer), 0) >=
                static_cast<ssize_t>(sizeof(answer.header) + sizeof(answer.error)),
            "netlink");
    return -answer.error.error;
  }

 private:
  nlmsghdr& header() { return *static_cast<nlmsghdr*>(static_cast<void*>(octets_.data())); }

  alignas(nlmsghdr) std::array<std::uint8_t, 1024> octets_;
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
  const ifinfomsg any_interface{};
  NetlinkRequest request(RTM_NEWLINK, NLM_F_CREATE | NLM_F_EXCL);
  request.append(&any_interface, sizeof(any_interface));
  request.append_attribute(IFLA_IFNAME, name);
  request.nest(IFLA_LINKINFO, [&] {
    request.append_attribute(IFLA_INFO_KIND, "veth");
    request.nest(IFLA_INFO_DATA, [&] {
      request.nest(VETH_INFO_PEER, [&] {
        request.append(&any_interface, sizeof(any_interface));
        request.append_attribute(IFLA_IFNAME, peer);
      });
    });
  });
  if (const int error = request.send(); error != 0) {
    throw_error(error, "cannot add " + name + " and " + peer);
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
