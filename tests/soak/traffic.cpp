/// Loads one interface with 1905.1 frames: messages of every kind, half of them truncated, mutated or partly random.
/// Modes:
///
///   mixed   as fast as possible
///   paced   as fast as possible without loss: after some frames it waits until the daemon at the other end of the
///   link,
///           given by process and AL MAC, has read them. Also predicts, with an entity of its own, how many of them
///           that daemon should reject, and how many a daemon behind it that receives the relayed frames.
///
/// Ends after some seconds or on SIGTERM. Message identifiers continue after the given one, the last of the previous
/// traffic, so that no frame is a duplicate of one that the daemon remembers.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include "qel/net/raw_sock.h"
#include "tests/support/captures.h"
#include "tools/meshd/entity/entity.h"

namespace {

using Clock = std::chrono::steady_clock;
using Octets = std::vector<std::uint8_t>;
using meshd::ETHER_HEADER_SIZE;
using qel::MACAddress;
using qel::ieee1905_1::CMDU_ETHERTYPE;
using qel::ieee1905_1::CMDU_MULTICAST_ADDRESS;

constexpr MACAddress OURS({0x02, 0x19, 0x05, 0xDD, 0x00, 0xFA});
constexpr std::size_t TYPE = ETHER_HEADER_SIZE + 2;
constexpr std::size_t IDENTIFIER = ETHER_HEADER_SIZE + 4;
constexpr std::size_t FLAGS = ETHER_HEADER_SIZE + 7;
constexpr std::uint8_t LAST_FRAGMENT = 0x80;
constexpr std::uint8_t RELAY = 0x40;
constexpr std::size_t LONGEST = 1514;  // on a link with the usual MTU
constexpr int FRAMES_AT_ONCE = 40;     // a packet socket holds about 90 of the longest
// Minimum values in paced traffic: otherwise identifiers would repeat while the daemon remembers them, and one
// originator would have more messages to relay than the daemon can remember.
constexpr auto TIME_BETWEEN_FRAMES = std::chrono::microseconds(50);
constexpr unsigned long long FRAMES_FOR_A_RELAYED_ONE = 300;
constexpr auto PATIENCE = std::chrono::seconds(10);

volatile std::sig_atomic_t is_ended = 0;

/// Frames from which traffic is made, from the fuzzer's corpus and the captures, each as one message to all; a test of
/// meshdump checks that the corpus has every class. Those of the corpus are ours, those of the captures keep their
/// source.
std::vector<Octets> read_seeds(const std::string& test_data) {
  std::vector<Octets> seeds;
  for (const auto& entry : std::filesystem::directory_iterator(test_data + "/corpus/message")) {
    Octets frame(12);
    std::ranges::copy(OURS.octets(), frame.begin() + 6);
    frame.insert(frame.end(), {CMDU_ETHERTYPE >> 8U, CMDU_ETHERTYPE & 0xFFU});
    std::ifstream file(entry.path(), std::ios::binary);
    frame.insert(frame.end(), std::istreambuf_iterator<char>(file), {});
    seeds.push_back(std::move(frame));
  }
  for (const char* capture : {"two-nodes-1905.pcap", "gateway-and-repeater-multiap.pcap"}) {
    std::ranges::move(qel::test::frames_of_capture(test_data + "/captures/" + capture), std::back_inserter(seeds));
  }
  std::erase_if(seeds, [](const Octets& frame) { return frame.size() <= FLAGS || frame.size() > LONGEST; });
  for (Octets& frame : seeds) {
    std::ranges::copy(CMDU_MULTICAST_ADDRESS.octets(), frame.begin());
    frame[FLAGS - 1] = 0;  // the fragment number
    frame[FLAGS] = LAST_FRAGMENT;
  }
  return seeds;
}

/// Predicts what a daemon with this AL MAC and three interfaces, loaded on the last, does with frames. A daemon behind
/// it does the same with those that are relayed. A damaged frame cannot contain the AL MAC of either by chance, as long
/// as these are unlike all in the seeds.
class Oracle final : private meshd::Ports {
 public:
  explicit Oracle(const MACAddress& al_mac) : entity_(configure(al_mac), *this) {}

  void take(const Octets& frame) { entity_.receive(2, frame, Clock::now()); }
  std::uint64_t rejected() const { return entity_.counts().rejected; }
  std::uint64_t rejected_behind() const { return rejected_behind_; }

 private:
  static meshd::Entity::Config configure(const MACAddress& al_mac) {
    meshd::Entity::Config config;
    config.al_mac = al_mac;
    config.hold_time = std::chrono::seconds(3);
    for (const char* name : {"one", "two", "three"}) {
      config.interfaces.push_back({name, {}, ""});
    }
    return config;
  }
  void send(std::size_t, std::span<const std::uint8_t>) override {}
  meshd::InterfaceState read_state(std::size_t) override { return {}; }
  void on_rejected(const meshd::Frame& frame, const std::string&) override {
    rejected_behind_ += frame.head.get_relay_indicator() && frame.destination == CMDU_MULTICAST_ADDRESS ? 1U : 0U;
  }

  meshd::Entity entity_;
  std::uint64_t rejected_behind_ = 0;
};

class Traffic {
 public:
  Traffic(const std::string& interface, const std::string& test_data, const MACAddress& al_mac,
          const std::string& process, std::uint16_t identifier)
      : socket_(interface, qel::RawSock::DataCallback(), qel::RawSock::WritableCallback(), CMDU_ETHERTYPE),
        seeds_(read_seeds(test_data)),
        sockets_("/proc/" + process + "/net/packet"),
        oracle_(al_mac),
        identifier_(identifier) {}

  void run(bool is_paced, std::chrono::milliseconds duration) {
    if (is_paced) {
      std::this_thread::sleep_for(meshd::DuplicateFilter::MEMORY);  // until the previous traffic is forgotten
    }
    const auto begin = Clock::now();
    while (Clock::now() - begin < duration && is_ended == 0) {
      for (int count = 0; count < FRAMES_AT_ONCE; ++count) {
        Octets frame = make_frame();
        if (frame.size() > FLAGS) {
          const bool is_relayed = frames_ % (is_paced ? FRAMES_FOR_A_RELAYED_ONE : 8) == 0;
          frame[FLAGS] = static_cast<std::uint8_t>((frame[FLAGS] & ~RELAY) | (is_relayed ? RELAY : 0));
        }
        // No frame is a duplicate: an identifier repeats only after 65536 of them.
        put(frame, IDENTIFIER, ++identifier_);
        send(frame);
        ++frames_;
        if (is_paced) {
          oracle_.take(frame);
        }
      }
      if (is_paced) {
        wait_until_read();
        std::this_thread::sleep_until(begin + frames_ * TIME_BETWEEN_FRAMES);
      }
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    std::printf("frames %llu\nrate %.0f\nrejected %llu\nrejected_behind %llu\nidentifier %u\n", frames_,
                static_cast<double>(frames_) / seconds, static_cast<unsigned long long>(oracle_.rejected()),
                static_cast<unsigned long long>(oracle_.rejected_behind()), unsigned{identifier_});
  }

 private:
  static void put(Octets& frame, std::size_t place, std::uint_fast32_t number) {
    if (frame.size() > place + 1) {
      frame[place] = static_cast<std::uint8_t>(number >> 8U);
      frame[place + 1] = static_cast<std::uint8_t>(number);
    }
  }

  /// A message, often of a type whose TLVs the daemon decodes; half of them cut, changed, or random from an offset on
  /// with any length.
  Octets make_frame() {
    Octets frame = seeds_[random_() % seeds_.size()];
    const unsigned int kind = random_() % 4;
    if (kind == 1) {
      put(frame, TYPE, (random_() % 2 << 15U) + random_() % 0x38);  // any that there is
    } else if (kind > 1) {
      put(frame, TYPE, random_() % 7);
    }
    const std::size_t size = frame.size() - ETHER_HEADER_SIZE;
    const std::size_t begin = random_() % 2 == 0 ? FLAGS + 1 : ETHER_HEADER_SIZE;
    switch (random_() % 8) {
      case 0:
        frame.resize(ETHER_HEADER_SIZE + random_() % size);
        break;
      case 1:
        for (auto changes = 1 + random_() % 8; changes > 0; --changes) {
          frame[ETHER_HEADER_SIZE + random_() % size] = static_cast<std::uint8_t>(random_());
        }
        break;
      case 2:
      case 3:
        frame.resize(begin);
        std::generate_n(std::back_inserter(frame), random_() % (LONGEST - begin),
                        [this] { return static_cast<std::uint8_t>(random_()); });
        break;
      default:
        break;
    }
    return frame;
  }

  void send(const Octets& frame) {
    // There is no need to wait when the queue is full.
    while (const std::error_code error = socket_.send_data(frame.data(), static_cast<unsigned int>(frame.size()))) {
      if (error != std::errc::no_buffer_space && error != std::errc::resource_unavailable_try_again) {
        throw std::system_error(error, "cannot send");
      }
    }
  }

  /// Waits until the daemon's packet sockets are empty, as shown by the kernel (proc_pid_net(5)).
  void wait_until_read() const {
    for (const auto limit = Clock::now() + PATIENCE; Clock::now() < limit;) {
      std::ifstream file(sockets_);
      unsigned long unread = 0;
      for (std::string line; std::getline(file, line);) {
        unsigned long octets = 0;
        std::sscanf(line.c_str(), "%*s %*s %*s %*s %*s %*s %lu", &octets);
        unread += octets;
      }
      if (unread == 0) {
        return;
      }
    }
    throw std::runtime_error("the daemon does not read");
  }

  qel::RawSock socket_;
  const std::vector<Octets> seeds_;
  const std::string sockets_;
  Oracle oracle_;
  std::mt19937 random_{std::random_device()()};
  std::uint16_t identifier_;
  unsigned long long frames_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc == 7 ? argv[2] : "";
  if (mode != "mixed" && mode != "paced") {
    std::fprintf(stderr, "usage: soak_traffic INTERFACE mixed|paced SECONDS AL_MAC PROCESS IDENTIFIER\n");
    return 2;
  }
  std::signal(SIGTERM, [](int) { is_ended = 1; });
  try {
    Traffic traffic(argv[1], QEL_TEST_DATA, qel::MACAddress(argv[4]), argv[5],
                    static_cast<std::uint16_t>(std::atoi(argv[6])));
    traffic.run(mode == "paced", std::chrono::seconds(std::atoi(argv[3])));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "soak_traffic: %s\n", error.what());
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
