#include "tools/meshd/ports/state_reader.h"

#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <system_error>

#include "qel/net/file_descriptor.h"

namespace meshd {

namespace {

/// Mb/s; 0 if the driver does not know it.
std::uint16_t speed_of(const std::string& name) {
  const qel::FileDescriptor query(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  ifreq request{};
  name.copy(static_cast<char*>(request.ifr_name), sizeof(request.ifr_name) - 1);
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

/// Percent; 100 if the speed is unknown.
std::uint16_t unused_share(std::uint16_t speed, std::uint64_t octets, std::chrono::steady_clock::duration time) {
  const double possible = speed * 1e6 / 8 * std::chrono::duration<double>(time).count();
  const double used = possible > 0 ? std::min(static_cast<double>(octets) / possible, 1.0) : 0;
  return static_cast<std::uint16_t>(std::lround(100 * (1 - used)));
}

}  // namespace

InterfaceState StateReader::read(unsigned int index) {
  const auto now = std::chrono::steady_clock::now();
  const auto place = known_.find(index);
  if (place != known_.end() && now - place->second.read_at < std::chrono::seconds(1)) {
    return place->second.state;
  }
  InterfaceState state;
  std::uint64_t sent_octets = 0;
  state.up = false;
  if (index == 0) {
    return state;
  }
  try {
    socket_.ask(index);
    socket_.receive(false, [&](LinkSocket::Event, const Link& link) {
      if (link.index == index) {
        state = link.state;
        state.speed = state.up ? speed_of(link.name) : 0;
        sent_octets = link.sent_octets;
      }
    });
  } catch (const std::system_error&) {  // it has just disappeared
  }
  if (state.up) {
    if (place != known_.end() && sent_octets >= place->second.sent_octets) {
      state.availability =
          unused_share(state.speed, sent_octets - place->second.sent_octets, now - place->second.read_at);
    }
    known_[index] = {now, sent_octets, state};
  }
  return state;
}

}  // namespace meshd
