#include "tools/meshd/ports/state_reader.h"

#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <system_error>

#include "qel/net/file_descriptor.h"

namespace meshd {

namespace {

/// Mb/s; 0 when the driver does not know it.
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

}  // namespace

InterfaceState StateReader::read(unsigned int index) {
  const auto now = std::chrono::steady_clock::now();
  const auto place = known_.find(index);
  if (place != known_.end() && now - place->second.read_at < std::chrono::seconds(1)) {
    return place->second.state;
  }
  InterfaceState state;
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
      }
    });
  } catch (const std::system_error&) {  // it has gone this moment
  }
  if (state.up) {
    known_[index] = {now, state};
  }
  return state;
}

}  // namespace meshd
