// Daemons on real links: virtual cables in a network namespace of the test's own, and a message bus of its own.
#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <iostream>

#include "tests/mesh/process.h"
#include "tests/net/private_network.h"
#include "tests/platform/private_bus.h"
#include "tests/support/captures.h"
#include "tests/support/emulator.h"
#include "tests/support/programs.h"
#include "tests/support/testing.h"
#include "tools/meshd/entity/frame.h"

namespace meshd::test {

using namespace std::chrono_literals;
using namespace qel::ieee1905_1;
using qel::MACAddress;
using qel::test::Process;
using Octets = std::vector<std::uint8_t>;

inline constexpr auto PATIENCE = 20s;
inline const std::string MESHD = qel::test::program("meshd");
inline const std::string MESHD_WIFI = qel::test::program("meshd-wifi");
inline const std::string MESHCTL = qel::test::program("meshctl");
inline const std::string MESHDUMP = qel::test::program("meshdump");

inline const std::string TWO_NODES = QEL_TEST_DATA "/captures/two-nodes-1905.pcap";

inline bool eventually(const std::function<bool()>& condition) {
  const auto limit = std::chrono::steady_clock::now() + PATIENCE;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > limit) {
      return false;
    }
    std::this_thread::sleep_for(20ms);
  }
  return true;
}

inline bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }
inline bool matches(const std::string& text, const std::string& pattern) {
  return testing::Matches(testing::ContainsRegex(pattern))(text);
}

/// The device with this number, as the other end of a link that the test itself holds.
inline MACAddress device_mac(std::uint8_t number) { return MACAddress({0x02, 0x19, 0x05, 0xBB, 0x00, number}); }

/// The test's end of a cable.
class Plug {
 public:
  explicit Plug(const std::string& interface) : socket_(qel::test::open_packet_socket(interface, CMDU_ETHERTYPE)) {}

  void send(const Octets& frame) {
    ASSERT_EQ(::send(socket_.get(), frame.data(), frame.size(), 0), static_cast<ssize_t>(frame.size()));
  }

  void send(const Message& message, const MACAddress& source, const MACAddress& destination = CMDU_MULTICAST_ADDRESS,
            const Octets& tags = {}, std::size_t least_size = 0) {
    Codec codec;
    const auto octets = codec.encode(destination, source, message).at(0);
    Octets frame(octets.begin(), octets.end());
    frame.resize(std::max(frame.size(), least_size));
    frame.insert(frame.begin() + 12, tags.begin(), tags.end());
    send(frame);
  }

  /// The next frame that fulfils the condition; the others are dropped. Nothing when none comes.
  std::optional<Octets> receive(const std::function<bool(const Frame&)>& condition) {
    Codec codec;
    const auto limit = std::chrono::steady_clock::now() + PATIENCE;
    while (std::chrono::steady_clock::now() < limit) {
      pollfd ready{socket_.get(), POLLIN, 0};
      if (poll(&ready, 1, 1000) != 1) {
        continue;
      }
      Octets octets(MAX_FRAME_SIZE);
      octets.resize(
          static_cast<std::size_t>(std::max<ssize_t>(recv(socket_.get(), octets.data(), octets.size(), 0), 0)));
      const std::optional<Frame> frame = codec.parse(octets);
      if (frame && condition(*frame)) {
        return octets;
      }
    }
    return std::nullopt;
  }

  std::optional<Octets> receive(MessageType type) {
    return receive([type](const Frame& frame) { return frame.head.get_message_type() == type; });
  }

 private:
  qel::FileDescriptor socket_;
};

class MeshTest : public testing::Test {
 protected:
  void SetUp() override {
    if (qel::test::UNDER_EMULATOR) {
      GTEST_SKIP() << qel::test::EMULATOR_LACKS_PACKETS;
    }
    if (const std::string& reason = qel::test::enter_private_network(); !reason.empty()) {
      GTEST_SKIP() << reason;
    }
    char folder[] = "/tmp/qelmeshXXXXXX";
    folder_ = mkdtemp(folder);
    bus_ = std::make_unique<PrivateBus>(PrivateBus::ALLOW_ALL + "<limit name=\"max_message_size\">120000000</limit>");
  }

  void TearDown() override {
    if (HasFailure()) {
      for (const Process& process : daemons_) {
        std::cerr << "--- a daemon said:\n" << process.err();
      }
    }
    daemons_.clear();
    std::filesystem::remove_all(folder_);
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm")) {  // rings of daemons that were killed
      if (entry.path().filename().string().rfind(name(""), 0) == 0) {
        std::filesystem::remove(entry.path());
      }
    }
  }

  /// What another process on this machine does not use: names on the bus are our own, those of rings are not.
  static std::string name(const std::string& stem) { return "test" + std::to_string(getpid()) + "_" + stem; }

  Process& start_meshd(const std::string& stem, std::vector<std::string> options, const std::string& program = MESHD) {
    options.insert(options.begin(), {program, "--name", name(stem)});
    if (std::find(options.begin(), options.end(), "--discovery-interval") == options.end()) {
      options.insert(options.end(), {"--discovery-interval", "1"});
    }
    return daemons_.emplace_back(Process(folder_, options));
  }

  Process run(const std::vector<std::string>& command, const std::string& input = "") {
    return Process(folder_, command, input);
  }

  std::string meshctl(std::vector<std::string> words, int expected_status = 0, const std::string& input = "") {
    words.insert(words.begin(), MESHCTL);
    Process process = run(words, input);
    EXPECT_EQ(process.wait(), expected_status) << process.err();
    return process.out() + process.err();
  }

  std::string view(const std::string& stem) {
    Process process = run({MESHCTL, "topology", "--json", name(stem)});
    process.wait();
    return process.out();
  }

  /// What a daemon says to a command of its module.
  std::string mesh(const std::string& stem, const std::string& command, const std::string& argument = "") {
    std::vector<std::string> words{"exec", name(stem), "mesh", command};
    words.resize(argument.empty() ? 4 : 5, argument);
    return meshctl(words);
  }
  /// Waits until the JSON view of a daemon matches all of the patterns, and contains nothing of `absent`.
  void expect_view(const std::string& stem, const std::vector<std::string>& patterns, const std::string& absent = "") {
    std::string seen;
    EXPECT_TRUE(eventually([&] {
      seen = view(stem);
      return !seen.empty() && (absent.empty() || !contains(seen, absent)) &&
             std::ranges::all_of(patterns, [&](const std::string& pattern) { return matches(seen, pattern); });
    })) << seen;
  }

  std::string interfaces(const std::string& stem) { return mesh(stem, "INTERFACES"); }
  std::string neighbors(const std::string& stem) { return mesh(stem, "NEIGHBORS"); }

  bool listens(const std::string& stem) {
    return eventually([&] { return !view(stem).empty(); });
  }

  std::vector<Process> daemons_;
  std::string folder_;

 private:
  std::unique_ptr<PrivateBus> bus_;
};

/// Patterns of what a view holds: a device, one that answered all questions, a link with its metrics.
inline std::string listed(const MACAddress& al_mac) { return R"(\{"al_mac":")" + al_mac.to_string(); }
inline std::string answered(const MACAddress& al_mac) {
  return listed(al_mac) + R"(","self":false,"answered":true,"meshd_version":")";
}
inline std::string link(const MACAddress& from, const MACAddress& to) {
  return R"("from":")" + from.to_string() + R"(","from_interface":"[^"]*","to":")" + to.to_string() +
         R"(","to_interface":"[^"]*","transmitter":\{[^}]*\},"receiver":\{)";
}

/// Which child of this process runs the program; 0 when none does.
inline pid_t child_that_runs(const std::string& program) {
  std::ifstream children("/proc/self/task/" + std::to_string(getpid()) + "/children");
  for (pid_t child = 0; children >> child;) {
    std::error_code error;
    if (std::filesystem::read_symlink("/proc/" + std::to_string(child) + "/exe", error) ==
        std::filesystem::canonical(program)) {
      return child;
    }
  }
  return 0;
}

/// A mask, as hexadecimal digits; with no way to more of them.
inline void expect_capabilities(pid_t process, const std::string& mask) {
  std::ifstream file("/proc/" + std::to_string(process) + "/status");
  EXPECT_THAT((std::string{std::istreambuf_iterator<char>(file), {}}),
              testing::AllOf(testing::HasSubstr("CapPrm:\t" + mask), testing::HasSubstr("CapEff:\t" + mask),
                             testing::HasSubstr("NoNewPrivs:\t1")));
}

}  // namespace meshd::test
