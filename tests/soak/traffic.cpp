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
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include "qel/core/serialization/serialization_exception.h"
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

/// Frames from which traffic is made, from the fuzzer's corpus and the captures; a test of meshdump checks that the
/// corpus has every class. Those of the corpus are ours, those of the captures keep their source.
class Seeds {
 public:
  explicit Seeds(const std::string& test_data) {
    for (const auto& entry : std::filesystem::directory_iterator(test_data + "/corpus/message")) {
      Octets frame(12);
      std::ranges::copy(OURS.octets(), frame.begin() + 6);
      frame.insert(frame.end(), {CMDU_ETHERTYPE >> 8U, CMDU_ETHERTYPE & 0xFFU});
      std::ifstream file(entry.path(), std::ios::binary);
      frame.insert(frame.end(), std::istreambuf_iterator<char>(file), {});
      add(std::move(frame));
    }
    for (const char* capture : {"two-nodes-1905.pcap", "gateway-and-repeater-multiap.pcap"}) {
      for (Octets& frame : qel::test::frames_of_capture(test_data + "/captures/" + capture)) {
        add(std::move(frame));
      }
    }
    if (well_formed.empty() || others.empty()) {
      throw std::runtime_error("no frames in " + test_data);
    }
  }

  std::vector<Octets> well_formed;  ///< complete messages that the library decodes
  std::vector<Octets> others;

 private:
  /// Adds a frame of a 1905.1 message, unless it is longer than a link takes, as one message to all.
  void add(Octets frame) {
    if (frame.size() <= FLAGS || frame.size() > LONGEST) {
      return;
    }
    std::ranges::copy(CMDU_MULTICAST_ADDRESS.octets(), frame.begin());
    frame[FLAGS - 1] = 0;  // the fragment number
    frame[FLAGS] |= LAST_FRAGMENT;
    meshd::Codec codec;
    if (const auto parsed = codec.parse(frame)) {
      try {
        codec.decode(*parsed);
        well_formed.push_back(std::move(frame));
      } catch (const qel::serialization::SerializationException&) {
        others.push_back(std::move(frame));
      }
    }
  }
};

/// Predicts what a daemon with this AL MAC and three interfaces, loaded on the last, does with frames. A daemon behind
/// it does the same with those that are relayed. A damaged frame cannot contain the AL MAC of either by chance, as long
/// as these are unlike all in the seeds.
class Oracle final : private meshd::Ports {
 public:
  explicit Oracle(const MACAddress& al_mac) : entity_(configure(al_mac), *this) {}

  bool rejects(const Octets& frame) {
    const std::uint64_t before = rejected();
    entity_.receive(2, frame, Clock::now());
    return rejected() != before;
  }
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
        seeds_(test_data),
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
        // No frame is a duplicate: an identifier repeats only after 65536 of them.
        put(frame, IDENTIFIER, ++identifier_);
        send(frame);
        ++(is_whole ? whole_ : damaged_);
        if (is_paced && oracle_.rejects(frame) && is_whole) {
          throw std::runtime_error("a well-formed frame is rejected");
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
  static void put(Octets& frame, std::size_t place, std::uint_fast32_t number) {
    if (frame.size() > place + 1) {
      frame[place] = static_cast<std::uint8_t>(number >> 8U);
      frame[place + 1] = static_cast<std::uint8_t>(number);
    }
  }

  /// A message that a node takes: one of another type may lack a TLV that its handler needs. It is not relayed when the
  /// sieve takes it, which else would take it for a duplicate.
  Octets make_whole() {
    Octets frame;
    do {
      frame = seeds_.well_formed[next_++ % seeds_.well_formed.size()];
      const unsigned int kind = random_() % 4;
      if (kind == 1) {
        put(frame, TYPE, (random_() % 2 << 15U) + random_() % 0x38);  // any that there is
      } else if (kind > 1) {
        put(frame, TYPE, random_() % 7);  // one of which the daemon decodes the TLVs
      }
      frame[FLAGS] = static_cast<std::uint8_t>(frame[FLAGS] & ~RELAY);
    } while (sieve_.rejects(frame));
    frame[FLAGS] = static_cast<std::uint8_t>(frame[FLAGS] | (random_() % 8 == 0 ? RELAY : 0));
    return frame;
  }

  /// Cut, changed, or random from an offset on with any length.
  Octets make_damaged() {
    if (random_() % 8 == 0) {
      return seeds_.others[random_() % seeds_.others.size()];
    }
    Octets frame = make_whole();
    const std::size_t size = frame.size() - ETHER_HEADER_SIZE;
    const std::size_t begin = random_() % 2 == 0 ? FLAGS + 1 : ETHER_HEADER_SIZE;
    switch (random_() % 4) {
      case 0:
        frame.resize(ETHER_HEADER_SIZE + random_() % size);
        break;
      case 1:
        for (auto changes = 1 + random_() % 8; changes > 0; --changes) {
          frame[ETHER_HEADER_SIZE + random_() % size] = static_cast<std::uint8_t>(random_());
        }
        break;
      default:
        frame.resize(begin);
        std::generate_n(std::back_inserter(frame), random_() % (LONGEST - begin),
                        [this] { return static_cast<std::uint8_t>(random_()); });
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

int main(int argc, char** argv) {
  const std::string mode = argc == 7 ? argv[2] : "";
  if (mode != "whole" && mode != "mixed" && mode != "paced") {
    std::fprintf(stderr, "usage: soak_traffic INTERFACE whole|mixed|paced SECONDS AL_MAC PROCESS IDENTIFIER\n");
    return 2;
  }
  std::signal(SIGTERM, [](int) { is_ended = 1; });
  try {
    Traffic traffic(argv[1], QEL_TEST_DATA, qel::MACAddress(argv[4]), argv[5],
                    static_cast<std::uint16_t>(std::atoi(argv[6])));
    traffic.run(mode, std::chrono::seconds(std::atoi(argv[3])));
    traffic.print();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "soak_traffic: %s\n", error.what());
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
