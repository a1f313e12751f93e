#include "tests/net/private_network.h"

#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace qel::test {

namespace {

bool write_file(const char* path, const std::string& text) { return bool(std::ofstream(path) << text << std::flush); }

std::string try_to_enter_private_network() {
  const std::string user = std::to_string(::geteuid());
  const std::string group = std::to_string(::getegid());
  if (::unshare(CLONE_NEWNET) == 0 ||
      (::unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0 && write_file("/proc/self/setgroups", "deny") &&
       write_file("/proc/self/uid_map", "0 " + user + " 1") && write_file("/proc/self/gid_map", "0 " + group + " 1"))) {
    return {};
  }
  return std::string("no network namespace to be had: ") + std::strerror(errno);
}

}  // namespace

const std::string& enter_private_network() {
  static const std::string reason = try_to_enter_private_network();
  return reason;
}

void ip(const std::string& arguments) {
  const std::string command = "PATH=$PATH:/usr/sbin:/sbin ip " + arguments;
  if (std::system(command.c_str()) != 0) {
    throw std::runtime_error("failed: " + command);
  }
}

/// The end that was up first gets its carrier from the second. The kernel takes up to a second to notice, and drops
/// without an error what is sent there in the meantime.
void add_veth_pair(const std::string& name, const std::string& peer) {
  ip("link add " + name + " up type veth peer name " + peer);
  ip("link set " + peer + " up");
  const std::string drops = "PATH=$PATH:/usr/sbin:/sbin ip -o link show " + name + " | grep -q 'qdisc noop '";
  for (int tries = 0; tries < 500 && std::system(drops.c_str()) == 0; ++tries) {
    ::usleep(10'000);
  }
}

void remove_interface(const std::string& name) { ip("link del " + name); }

FileDescriptor open_packet_socket(const std::string& interface, unsigned short ethertype) {
  FileDescriptor socket(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0));
  sockaddr_ll address{};
  address.sll_family = AF_PACKET;
  address.sll_protocol = htons(ethertype);
  address.sll_ifindex = static_cast<int>(::if_nametoindex(interface.c_str()));
  if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    throw std::system_error(errno, std::generic_category(), interface);
  }
  return socket;
}

int next_descriptor() { return FileDescriptor(::dup(STDERR_FILENO)).get(); }

}  // namespace qel::test
