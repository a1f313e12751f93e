/// A slow link: a 1905.1 frame that arrives on either interface is sent on the other some milliseconds later. The
/// kernel can do this (netem), but not on every machine.
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <vector>

#include "tests/net/private_network.h"
#include "tools/meshd/entity/frame.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t MOST_HELD = 20'000;  ///< frames; further ones are lost

struct Held {
  Clock::time_point due;
  int socket;
  std::vector<std::uint8_t> octets;
};

[[noreturn]] void carry(const std::array<int, 2>& sockets, std::chrono::milliseconds delay) {
  std::deque<Held> held;
  for (;;) {
    std::array<pollfd, 2> ready{{{sockets[0], POLLIN, 0}, {sockets[1], POLLIN, 0}}};
    ::poll(ready.data(), ready.size(), held.empty() ? -1 : 1);
    for (const std::size_t end : {0U, 1U}) {
      std::array<std::uint8_t, meshd::MAX_FRAME_SIZE> frame{};
      for (ssize_t size = 0; (size = ::recv(sockets[end], frame.data(), frame.size(), MSG_DONTWAIT)) > 0;) {
        if (held.size() < MOST_HELD) {
          held.push_back({Clock::now() + delay, sockets[1 - end], {frame.begin(), frame.begin() + size}});
        }
      }
    }
    for (; !held.empty() && held.front().due <= Clock::now(); held.pop_front()) {
      ::send(held.front().socket, held.front().octets.data(), held.front().octets.size(), MSG_DONTWAIT);
    }
  }
}

}  // namespace

/// Takes the names of both interfaces and the delay in ms.
int main(int argc, char** argv) {
  if (argc == 4) {
    const qel::FileDescriptor left = qel::test::open_packet_socket(argv[1], qel::ieee1905_1::CMDU_ETHERTYPE);
    const qel::FileDescriptor right = qel::test::open_packet_socket(argv[2], qel::ieee1905_1::CMDU_ETHERTYPE);
    carry({left.get(), right.get()}, std::chrono::milliseconds(std::atoi(argv[3])));
  }
  return 2;
}
