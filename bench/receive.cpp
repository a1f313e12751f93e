#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/daemon/mainloop.h"
#include "qel/ieee1905_1/cmdu.h"
#include "qel/ieee1905_1/device_information_tlv.h"
#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/message.h"
#include "qel/ieee1905_1/neighbor_tlvs.h"
#include "qel/net/ether_header.h"
#include "qel/net/raw_sock.h"
#include "tests/net/private_network.h"
#include "tests/platform/private_bus.h"

/// Compares the frames per second on the whole path, from a veth through RawSock and the main loop into a Message, with
/// a program that only reads the same frames from a packet socket. Another process sends as fast as it can all the
/// while. Both sides take short turns, and the ratio is the median over the pairs of turns. The network namespace and
/// the message bus are private.

namespace {

using Clock = std::chrono::steady_clock;
using Octets = std::vector<unsigned char>;
using qel::MACAddress;
using qel::RawSock;
using qel::daemon::Mainloop;
using namespace qel::ieee1905_1;

constexpr const char* NEAR = "receive0";
constexpr const char* FAR = "receive1";

constexpr int PAIRS_OF_TURNS = 9;
constexpr auto TURN = std::chrono::milliseconds(300);
constexpr unsigned long FRAMES_IN_A_TURN = 2'000'000;  // at most
constexpr unsigned int SENDER_LIFE_S = 60;             // at most

struct Rate {
  double frames_per_second;
  double cpu_us_per_frame;
};

MACAddress address(std::uint8_t last) { return MACAddress({0x02, 0x51, 0x4C, 0x00, 0x00, last}); }

Octets make_frame(MessageType type, std::vector<std::unique_ptr<TLV>> tlvs) {
  Message message(MessageHead(MessageVersion::IEEE1905_1, type, 1, 0, true, false));
  for (std::unique_ptr<TLV>& tlv : tlvs) {
    message.get_list().add_TLV(tlv);
  }
  message.get_list().add_TLV(std::make_unique<EndOfMessageTLV>());
  qel::serialization::MemoryOStream os;
  qel::serialization::SerializationContext context;
  message.serialize_impl(os, context);

  Octets frame = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x13, 0x02, 0x51, 0x4C, 0x00, 0x00, 0x02, 0x89, 0x3A};
  frame.resize(std::max<std::size_t>(sizeof(qel::EtherHeader) + os.octets().size(), 60));
  std::copy(os.octets().begin(), os.octets().end(), frame.begin() + sizeof(qel::EtherHeader));
  return frame;
}

Octets topology_discovery() {
  std::vector<std::unique_ptr<TLV>> tlvs;
  tlvs.push_back(std::make_unique<MACAddressTLVCommon<TLVType::AL_MAC_ADDRESS>>(address(1)));
  tlvs.push_back(std::make_unique<MACAddressTLVCommon<TLVType::MAC_ADDRESS>>(address(2)));
  return make_frame(MessageType::TOPOLOGY_DISCOVERY_MESSAGE, std::move(tlvs));
}

/// From a node with four Ethernet ports and a neighbour on two of them.
Octets topology_response() {
  std::vector<std::unique_ptr<TLV>> tlvs;
  auto device = std::make_unique<DeviceInformationTLV>(address(1));
  for (std::uint8_t port = 2; port <= 5; ++port) {
    device->add_interface_information(InterfaceInformation(address(port), InterfaceType::ETHERNET, 1));
  }
  tlvs.push_back(std::move(device));
  for (std::uint8_t port = 2; port <= 3; ++port) {
    auto neighbors = std::make_unique<IEEE1905NeighborDeviceTLV>(address(port));
    neighbors->add_AL_MAC_neighbor(ALMAC19051Neighbor(address(0x10), IEEE802_1_Bridge::NO_IEEE802_1_BRIDGE));
    tlvs.push_back(std::move(neighbors));
  }
  return make_frame(MessageType::TOPOLOGY_RESPONSE_MESSAGE, std::move(tlvs));
}

/// A process that sends one frame repeatedly; it exits with this object, with its parent, or after a minute.
class Sender {
 public:
  explicit Sender(const Octets& frame) : process_(::fork()) {
    if (process_ < 0) {
      throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (process_ == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      ::alarm(SENDER_LIFE_S);
      const qel::FileDescriptor socket = qel::test::open_packet_socket(FAR, qel::ieee1905_1::CMDU_ETHERTYPE);
      // There is no need to wait when the queue is full.
      while (::write(socket.get(), frame.data(), frame.size()) >= 0 || errno == ENOBUFS) {
      }
      ::_exit(1);
    }
  }
  Sender(const Sender&) = delete;
  Sender& operator=(const Sender&) = delete;
  ~Sender() {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }

 private:
  pid_t process_;
};

double cpu_seconds() {
  rusage usage;
  ::getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Runs `receive`, which returns the number of frames received, for one turn.
template <class Receive>
Rate run_turn(Receive receive) {
  constexpr int CALLS_BETWEEN_LOOKS_AT_THE_CLOCK = 64;
  const double cpu_before = cpu_seconds();
  const Clock::time_point begin = Clock::now();
  unsigned long frames = 0;
  do {
    for (int call = 0; call < CALLS_BETWEEN_LOOKS_AT_THE_CLOCK; ++call) {
      frames += receive();
    }
  } while (Clock::now() - begin < TURN && frames < FRAMES_IN_A_TURN);
  if (frames == 0) {
    throw std::runtime_error("no frame came");
  }
  const auto count = static_cast<double>(frames);
  return {count / std::chrono::duration<double>(Clock::now() - begin).count(),
          (cpu_seconds() - cpu_before) * 1e6 / count};
}

Rate read_bare() {
  const qel::FileDescriptor socket = qel::test::open_packet_socket(NEAR, qel::ieee1905_1::CMDU_ETHERTYPE);
  const timeval patience{1, 0};
  ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
  Octets buffer(RawSock::MAX_FRAME_SIZE);
  return run_turn([&] { return ::read(socket.get(), buffer.data(), buffer.size()) > 0 ? 1UL : 0UL; });
}

Rate receive_messages(Mainloop& loop, std::size_t tlvs_of_a_message) {
  qel::serialization::MemoryIStream is;
  qel::serialization::SerializationContext context;
  unsigned long frames = 0;
  unsigned long tlvs = 0;
  const auto sock = std::make_shared<RawSock>(
      NEAR,
      [&](const unsigned char* data, unsigned int length) {
        is.reset(std::span(data, length).subspan(sizeof(qel::EtherHeader)));
        Message message;
        message.deserialize_impl(is, context);
        tlvs += message.get_list().get_TLV_list().size();
        ++frames;
      },
      nullptr, qel::ieee1905_1::CMDU_ETHERTYPE);
  loop.add_watch(sock);
  const Rate rate = run_turn([&] {
    const unsigned long before = frames;
    loop.run(std::chrono::seconds(1));
    return frames - before;
  });
  loop.remove_watch(sock);
  if (tlvs != frames * tlvs_of_a_message) {
    throw std::runtime_error("a frame was decoded wrongly");
  }
  return rate;
}

double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + PAIRS_OF_TURNS / 2, values.end());
  return values[PAIRS_OF_TURNS / 2];
}

void measure(Mainloop& loop, const char* name, const Octets& frame, std::size_t tlvs) {
  const Sender sender(frame);
  std::vector<double> bare_rates, bare_cpu, library_rates, library_cpu, ratios;
  for (int pair = 0; pair < PAIRS_OF_TURNS; ++pair) {
    const Rate bare = read_bare();
    const Rate library = receive_messages(loop, tlvs);
    bare_rates.push_back(bare.frames_per_second);
    bare_cpu.push_back(bare.cpu_us_per_frame);
    library_rates.push_back(library.frames_per_second);
    library_cpu.push_back(library.cpu_us_per_frame);
    ratios.push_back(library.frames_per_second / bare.frames_per_second);
  }
  std::printf("%-20s %6zu %12.0f %13.0f %8.2f %10.2f %12.2f\n", name, frame.size(), median(bare_rates),
              median(library_rates), median(ratios), median(bare_cpu), median(library_cpu));
}

}  // namespace

int main() {
  if (const std::string& reason = qel::test::enter_private_network(); !reason.empty()) {
    std::fprintf(stderr, "receive: %s\n", reason.c_str());
    return EXIT_FAILURE;
  }
  try {
    qel::test::add_veth_pair(NEAR, FAR);
    const PrivateBus bus;
    Mainloop loop("bench_receive", false);
    std::printf("%-20s %6s %12s %13s %8s %10s %12s\n", "frame", "octets", "bare [1/s]", "library [1/s]", "ratio",
                "bare [us]", "library [us]");
    measure(loop, "topology discovery", topology_discovery(), 3);
    measure(loop, "topology response", topology_response(), 4);
    std::puts("ratio: library to bare, the goal is 0.70 or more; us: CPU time a frame on the receiving side");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "receive: %s\n", error.what());
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
