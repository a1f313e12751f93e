/// Loads one interface with 1905.1 frames. Modes:
///
///   whole   well-formed frames of every kind, as fast as possible
///   mixed   these and damaged ones (truncated, mutated, random), as fast as possible
///   paced   the same mixture, as fast as possible without loss: after some frames it waits until the daemon at the
///           other end of the link, given by process and AL MAC, has read them. Also predicts, with an entity of its
///           own, how many of them that daemon should reject, and how many a daemon behind it that receives the
///           relayed frames.
///
/// Ends after some seconds or on SIGTERM. Message identifiers continue after the given one, the last of the previous
/// traffic, so that no frame is a duplicate of one that the daemon remembers.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include "qel/net/raw_sock.h"
#include "tests/soak/seeds.h"
#include "tools/meshd/entity/entity.h"

namespace soak {

namespace {

using Clock = std::chrono::steady_clock;
using meshd::ETHER_HEADER_SIZE;
using qel::MACAddress;

constexpr MACAddress OURS({0x02, 0x19, 0x05, 0xDD, 0x00, 0xFA});
constexpr std::size_t TYPE = ETHER_HEADER_SIZE + 2;
constexpr std::size_t IDENTIFIER = ETHER_HEADER_SIZE + 4;
constexpr std::size_t FLAGS = ETHER_HEADER_SIZE + 7;
constexpr std::uint8_t RELAY = 0x40;
constexpr std::size_t LONGEST = 1514;
constexpr int FRAMES_AT_ONCE = 40;  // a packet socket holds about 90 of the longest
// Minimum values in paced traffic: otherwise identifiers would repeat while the daemon remembers them, and one
// originator would have more messages to relay than the daemon can remember.
constexpr auto TIME_BETWEEN_FRAMES = std::chrono::microseconds(50);
constexpr unsigned long long FRAMES_FOR_A_RELAYED_ONE = 300;
constexpr auto PATIENCE = std::chrono::seconds(10);

volatile std::sig_atomic_t is_ended = 0;

/// The message types whose TLVs the daemon decodes; TLVs of every kind are also sent in messages of these types.
constexpr std::uint8_t DECODED_TYPES[] = {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06};

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
  std::vector<MACAddress> read_hosts(std::size_t) override { return {}; }
  void on_neighbor_found(const meshd::Neighbor&, std::size_t) override {}
  void on_neighbor_lost(const MACAddress&) override {}
  void on_device_found(const MACAddress&) override {}
  void on_device_lost(const MACAddress&) override {}
  void on_rejected(const meshd::Frame& frame, const std::string&) override {
    rejected_behind_ +=
        frame.head.get_relay_indicator() && frame.destination == qel::ieee1905_1::CMDU_MULTICAST_ADDRESS ? 1U : 0U;
  }

  meshd::Entity entity_;
  std::uint64_t rejected_behind_ = 0;
};

class Traffic {
 public:
  Traffic(const std::string& interface, const std::string& test_data, const MACAddress& al_mac,
          const std::string& process, std::uint16_t identifier)
      : socket_(interface, qel::RawSock::DataCallback(), qel::RawSock::WritableCallback(),
                qel::ieee1905_1::CMDU_ETHERTYPE),
        seeds_(read_seeds(test_data, Octets(OURS.octets().begin(), OURS.octets().end()))),
        sockets_("/proc/" + process + "/net/packet"),
        oracle_(al_mac),
        sieve_(al_mac),
        identifier_(identifier) {}

  void run(const std::string& mode, std::chrono::milliseconds duration) {
    const bool is_paced = mode == "paced";
    const bool is_damaged = is_paced || mode == "mixed";
    if (is_paced) {
      std::this_thread::sleep_for(meshd::DuplicateFilter::MEMORY);  // until the previous traffic is forgotten
    }
    const auto begin = Clock::now();
    while (Clock::now() - begin < duration && is_ended == 0) {
      for (int count = 0; count < FRAMES_AT_ONCE; ++count) {
        const bool is_whole = !is_damaged || random_() % 2 == 0;
        Octets frame = is_whole ? make_whole() : make_damaged();
        if (is_paced && frame.size() > FLAGS) {
          const bool is_relayed = (whole_ + damaged_) % FRAMES_FOR_A_RELAYED_ONE == 0;
          frame[FLAGS] = static_cast<std::uint8_t>((frame[FLAGS] & ~RELAY) | (is_relayed ? RELAY : 0));
        }
        send(frame);
        ++(is_whole ? whole_ : damaged_);
        if (is_paced) {
          consult(frame, is_whole);
        }
      }
      if (is_paced) {
        wait_until_read();
        std::this_thread::sleep_until(begin + (whole_ + damaged_) * TIME_BETWEEN_FRAMES);
      }
    }
    seconds_ = std::chrono::duration<double>(Clock::now() - begin).count();
  }

  void print() const {
    std::printf("whole %llu\ndamaged %llu\nrate %.0f\nrejected %llu\nrejected_behind %llu\n", whole_, damaged_,
                static_cast<double>(whole_ + damaged_) / seconds_, static_cast<unsigned long long>(oracle_.rejected()),
                static_cast<unsigned long long>(oracle_.rejected_behind()));
    std::printf("identifier %u\n", static_cast<unsigned int>(identifier_));
  }

 private:
  std::uint8_t octet() { return static_cast<std::uint8_t>(random_()); }

  /// An identifier repeats only after 65536 frames, so none is a duplicate.
  void stamp(Octets& frame) {
    if (frame.size() > IDENTIFIER + 1) {
      ++identifier_;
      frame[IDENTIFIER] = static_cast<std::uint8_t>(identifier_ >> 8U);
      frame[IDENTIFIER + 1] = static_cast<std::uint8_t>(identifier_ & 0xFFU);
    }
  }

  static void set_type(Octets& frame, unsigned int type) {
    frame[TYPE] = static_cast<std::uint8_t>(type >> 8U);
    frame[TYPE + 1] = static_cast<std::uint8_t>(type & 0xFFU);
  }

  /// A message that a node takes: one of another type may lack a TLV that its handler needs.
  Octets make_whole() {
    Octets frame;
    std::uint64_t before = 0;
    do {
      frame = make_well_formed();
      before = sieve_.rejected();
      sieve_.take(frame);
    } while (sieve_.rejected() != before);
    frame[FLAGS] = static_cast<std::uint8_t>(frame[FLAGS] | (random_() % 8 == 0 ? RELAY : 0));
    stamp(frame);
    return frame;
  }

  /// Not relayed, so that the sieve takes none for a duplicate.
  Octets make_well_formed() {
    Octets frame = seeds_.well_formed[next_++ % seeds_.well_formed.size()];
    switch (random_() % 4) {
      case 0:
        break;
      case 1:
        set_type(frame, seeds_.message_types[random_() % seeds_.message_types.size()]);
        break;
      default:
        set_type(frame, DECODED_TYPES[random_() % std::size(DECODED_TYPES)]);
    }
    frame[FLAGS] = static_cast<std::uint8_t>(frame[FLAGS] & ~RELAY);
    return frame;
  }

  Octets make_damaged() {
    if (!seeds_.others.empty() && random_() % 8 == 0) {
      Octets frame = seeds_.others[random_() % seeds_.others.size()];
      stamp(frame);
      return frame;
    }
    Octets frame = make_whole();
    switch (random_() % 4) {
      case 0:
        frame.resize(ETHER_HEADER_SIZE + random_() % (frame.size() - ETHER_HEADER_SIZE));
        break;
      case 1:
        for (auto changes = 1 + random_() % 8; changes > 0; --changes) {
          frame[ETHER_HEADER_SIZE + random_() % (frame.size() - ETHER_HEADER_SIZE)] = octet();
        }
        break;
      case 2:
        make_random(frame, FLAGS + 1);
        break;
      default:
        make_random(frame, ETHER_HEADER_SIZE);
    }
    stamp(frame);
    return frame;
  }

  /// Replaces everything from the offset on, with any length.
  void make_random(Octets& frame, std::size_t begin) {
    frame.resize(begin + random_() % (LONGEST - begin));
    std::generate(frame.begin() + static_cast<std::ptrdiff_t>(begin), frame.end(), [this] { return octet(); });
  }

  void send(const Octets& frame) {
    // There is no need to wait when the queue is full.
    while (const std::error_code error = socket_.send_data(frame.data(), static_cast<unsigned int>(frame.size()))) {
      if (error != std::errc::no_buffer_space && error != std::errc::resource_unavailable_try_again) {
        throw std::system_error(error, "cannot send");
      }
    }
  }

  void consult(const Octets& frame, bool is_whole) {
    const std::uint64_t before = oracle_.rejected();
    oracle_.take(frame);
    if (is_whole && oracle_.rejected() != before) {
      throw std::runtime_error("a well-formed frame is rejected");
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
  const Seeds seeds_;
  const std::string sockets_;
  Oracle oracle_;
  Oracle sieve_;
  std::mt19937 random_{std::random_device()()};
  std::size_t next_ = 0;
  std::uint16_t identifier_;
  unsigned long long whole_ = 0;
  unsigned long long damaged_ = 0;
  double seconds_ = 1;
};

}  // namespace

}  // namespace soak

int main(int argc, char** argv) {
  const std::string mode = argc == 7 ? argv[2] : "";
  if (mode != "whole" && mode != "mixed" && mode != "paced") {
    std::fprintf(stderr, "usage: soak_traffic INTERFACE whole|mixed|paced SECONDS AL_MAC PROCESS IDENTIFIER\n");
    return 2;
  }
  std::signal(SIGTERM, [](int) { soak::is_ended = 1; });
  try {
    soak::Traffic traffic(argv[1], QEL_TEST_DATA, qel::MACAddress(argv[4]), argv[5],
                          static_cast<std::uint16_t>(std::atoi(argv[6])));
    traffic.run(mode, std::chrono::seconds(std::atoi(argv[3])));
    traffic.print();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "soak_traffic: %s\n", error.what());
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
