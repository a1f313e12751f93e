#include "tests/net/private_network.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace qel::test {

namespace {

void require(bool succeeded, const std::string& what) {
  if (!succeeded) {
    throw std::system_error(errno, std::generic_category(), what);
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

/// By ip(8), which inherits the namespace. User-mode qemu would not swap what is nested in netlink attributes.
void ip_link(const std::string& arguments) {
  if (std::system(("ip link " + arguments).c_str()) != 0) {
    throw std::runtime_error("failed: ip link " + arguments);
  }
}

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
  ip_link("add " + name + " up type veth peer name " + peer);
  change_interface_flags(peer, IFF_UP, 0);
}

void remove_interface(const std::string& name) { ip_link("delete " + name); }

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
