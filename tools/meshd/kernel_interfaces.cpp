#include "tools/meshd/kernel_interfaces.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/ethtool.h>
#include <linux/if_link.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netpacket/packet.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <system_error>

#include "qel/net/file_descriptor.h"

namespace meshd {

namespace {

using qel::FileDescriptor;
using qel::MACAddress;

std::system_error failure(const std::string& interface) {
  return {errno, std::generic_category(), "interface " + interface};
}

ifreq request_for(const std::string& name) {
  ifreq request{};
  name.copy(static_cast<char*>(request.ifr_name), sizeof(request.ifr_name) - 1);
  return request;
}

FileDescriptor open_query_socket() { return FileDescriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)); }

/// sysfs may show the interfaces of another network namespace; it is believed only about the very same interface.
std::string bridge_of(const std::string& name) {
  const std::filesystem::path folder = std::filesystem::path("/sys/class/net") / name;
  unsigned int index = 0;
  std::ifstream(folder / "ifindex") >> index;
  if (index == 0 || index != if_nametoindex(name.c_str())) {
    return {};
  }
  std::error_code error;
  return std::filesystem::read_symlink(folder / "brport" / "bridge", error).filename().string();
}

/// Mb/s; 0 when the driver does not know it.
std::uint16_t speed_of(const std::string& name) {
  const FileDescriptor query = open_query_socket();
  ifreq request = request_for(name);
  ethtool_cmd command{};
  command.cmd = ETHTOOL_GSET;
  request.ifr_data = reinterpret_cast<char*>(&command);
  if (ioctl(query.get(), SIOCETHTOOL, &request) < 0) {
    return 0;
  }
  const std::uint32_t speed = ethtool_cmd_speed(&command);
  if (speed == static_cast<std::uint32_t>(SPEED_UNKNOWN)) {
    return 0;
  }
  return static_cast<std::uint16_t>(std::min<std::uint32_t>(speed, std::numeric_limits<std::uint16_t>::max()));
}

}  // namespace

LocalInterface read_interface(const std::string& name) {
  if (name.size() >= IFNAMSIZ) {
    throw std::runtime_error("interface " + name + ": the name is too long");
  }
  const FileDescriptor query = open_query_socket();
  ifreq request = request_for(name);
  if (query.get() < 0 || ioctl(query.get(), SIOCGIFHWADDR, &request) < 0) {
    throw failure(name);
  }
  if (request.ifr_hwaddr.sa_family != ARPHRD_ETHER) {
    throw std::runtime_error("interface " + name + ": not an Ethernet");
  }
  LocalInterface interface { name, {}, bridge_of(name) };
  std::memcpy(interface.mac.octets().data(), static_cast<const char*>(request.ifr_hwaddr.sa_data),
              interface.mac.octets().size());
  return interface;
}

FileDescriptor open_packet_socket(const std::string& interface, unsigned short ethertype) {
  // Until it has an ethertype it receives nothing, so nothing of other interfaces either.
  FileDescriptor socket(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  sockaddr_ll address{};
  address.sll_family = AF_PACKET;
  address.sll_protocol = htons(ethertype);
  address.sll_ifindex = static_cast<int>(if_nametoindex(interface.c_str()));
  if (socket.get() < 0 || address.sll_ifindex == 0 ||
      bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    throw failure(interface);
  }
  return socket;
}

void accept_address(const qel::RawSock& socket, const MACAddress& address) {
  packet_mreq membership{};
  membership.mr_ifindex = static_cast<int>(if_nametoindex(socket.get_ifname().c_str()));
  membership.mr_type = (address.octets()[0] & 1U) != 0 ? PACKET_MR_MULTICAST : PACKET_MR_UNICAST;
  membership.mr_alen = static_cast<unsigned short>(address.octets().size());
  std::copy(address.octets().begin(), address.octets().end(), std::begin(membership.mr_address));
  if (setsockopt(socket.get_sock_fd(), SOL_PACKET, PACKET_ADD_MEMBERSHIP, &membership, sizeof(membership)) != 0) {
    throw failure(socket.get_ifname());
  }
}

const std::vector<InterfaceState>& StateReader::read() {
  const auto now = std::chrono::steady_clock::now();
  if (!states_.empty() && now - read_at_ < std::chrono::seconds(1)) {
    return states_;
  }
  read_at_ = now;
  states_.assign(names_.size(), {});
  for (InterfaceState& state : states_) {
    state.up = false;
  }
  ifaddrs* first = nullptr;
  if (getifaddrs(&first) != 0) {
    return states_;
  }
  const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> list(first, freeifaddrs);
  for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
    const auto place = std::find(names_.begin(), names_.end(), entry->ifa_name);
    if (place == names_.end() || entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_PACKET ||
        entry->ifa_data == nullptr) {
      continue;
    }
    rtnl_link_stats statistics;
    std::memcpy(&statistics, entry->ifa_data, sizeof(statistics));
    states_[static_cast<std::size_t>(place - names_.begin())] = {
        statistics.rx_packets, statistics.rx_errors, statistics.tx_packets,
        statistics.tx_errors,  speed_of(*place),     (entry->ifa_flags & IFF_RUNNING) != 0};
  }
  return states_;
}

}  // namespace meshd
