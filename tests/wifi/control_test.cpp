#include "tools/meshd/wifi/control.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "qel/net/file_descriptor.h"
#include "tests/platform/private_bus.h"
#include "tests/support/testing.h"

namespace meshd::wifi {
namespace {

using namespace std::chrono_literals;

/// The socket of a hostapd, which does only what the test tells it to do.
class FakeDaemon {
 public:
  explicit FakeDaemon(const std::string& path) : path_(path) {
    sockaddr_un address{AF_UNIX, {}};
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    EXPECT_EQ(bind(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
  }
  ~FakeDaemon() { unlink(path_.c_str()); }

  /// The next command, or "". Answers go to who sent it.
  std::string receive() {
    std::string command(100, '\0');
    size_ = sizeof(client_);
    const ssize_t size = recvfrom(socket_.get(), command.data(), command.size(), MSG_DONTWAIT,
                                  reinterpret_cast<sockaddr*>(&client_), &size_);
    command.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return command;
  }

  bool send(const std::string& text) {
    return sendto(socket_.get(), text.data(), text.size(), 0, reinterpret_cast<sockaddr*>(&client_), size_) >= 0;
  }

 private:
  std::string path_;
  qel::FileDescriptor socket_{socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
  sockaddr_un client_{};
  socklen_t size_ = 0;
};

class WifiControl : public testing::Test {
 protected:
  WifiControl() {
    char folder[] = "/tmp/qelcontrolXXXXXX";
    folder_ = mkdtemp(folder);
    std::filesystem::create_directory(folder_ / "own");
  }
  ~WifiControl() override {
    control_.reset();
    loop_.run(0ms);
    EXPECT_TRUE(std::filesystem::is_empty(folder_ / "own")) << "the file of a connection is left";
    std::filesystem::remove_all(folder_);
  }

  void make_control() {
    control_ = std::make_unique<Control>(loop_, folder_ / "wlan0", folder_ / "own",
                                         ControlTimes{.retry = 20ms, .answer = 500ms, .check = 300ms});
    control_->connected.connect([this](bool is_connected) { note(is_connected ? "connected" : "away"); });
    control_->event.connect([this](const std::string& event) { note("event " + event); });
  }

  void note(const std::string& what) {
    log_.push_back(what);
    if (what == fatal_) {
      control_.reset();
    }
  }

  bool until(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + 20s;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > limit) {
        return false;
      }
      loop_.run(5ms);
    }
    return true;
  }

  /// Starts a daemon that accepts the connection.
  void start_daemon() {
    daemon_ = std::make_unique<FakeDaemon>(folder_ / "wlan0");
    ASSERT_TRUE(until([&] {
      if (daemon_->receive() == "ATTACH") {
        daemon_->send("OK\n");
      }
      return !control_ || control_->is_connected();
    }));
  }

  void request(const std::string& command) {
    control_->request(command, [this, command](const std::optional<std::string>& reply) {
      note(command + (!reply ? " failed" : reply->size() < 20 ? ": " + *reply : ": " + std::to_string(reply->size())));
    });
  }

  PrivateBus bus_;
  qel::daemon::Mainloop loop_{"control-test-" + std::to_string(getpid()), false};
  std::filesystem::path folder_;
  std::unique_ptr<FakeDaemon> daemon_;
  std::unique_ptr<Control> control_;
  std::vector<std::string> log_;
  std::string fatal_;  ///< what destroys the control when it is noted
};

TEST_F(WifiControl, SurvivesWhatADaemonDoes) {
  const struct {
    std::string what;
    std::vector<std::string> sends;  ///< after it got the first of two commands, "A" and "B"
    std::vector<std::string> log;
  } rows[] = {
      {"answers", {"1", "2"}, {"A: 1", "B: 2"}},
      {"answers at length", {std::string(65536, 'x'), ""}, {"A: 65536", "B: "}},
      {"tells something",
       {"<3>AP-ENABLED ", "<", "1", "<2>x", "2"},
       {"event AP-ENABLED ", "event <", "A: 1", "event x", "B: 2"}},
      {"hangs", {}, {"A failed", "B failed", "away"}},
      {"hangs at the second", {"1"}, {"A: 1", "B failed", "away"}},
      {"says that it ends", {"<3>CTRL-EVENT-TERMINATING "}, {"A failed", "B failed", "away"}},
  };
  make_control();
  until([&, turns = 0]() mutable { return ++turns > 20; });  // without a daemon
  for (const auto& row : rows) {
    start_daemon();
    EXPECT_THAT(log_, ElementsAre("connected")) << row.what;
    log_.clear();
    request("A");
    request("B");
    ASSERT_TRUE(until([&] { return daemon_->receive() == "A"; })) << row.what;
    for (const std::string& text : row.sends) {
      ASSERT_TRUE(daemon_->send(text)) << row.what;
    }
    EXPECT_TRUE(until([&] { return log_.size() >= row.log.size(); })) << row.what;
    EXPECT_EQ(log_, row.log) << row.what;
    EXPECT_EQ(control_->is_connected(), daemon_->send("<3>late")) << "a late message goes nowhere: " << row.what;
    daemon_.reset();
    EXPECT_TRUE(until([&] { return !control_->is_connected(); })) << row.what;
    log_.clear();
  }
  request("C");
  EXPECT_THAT(log_, ElementsAre("C failed"));
}

TEST_F(WifiControl, MayBeDestroyedByWhatItCalls) {
  for (const char* fatal : {"connected", "event x", "A: 1", "B failed", "away"}) {
    make_control();
    fatal_ = fatal;
    start_daemon();
    if (control_) {
      request("A");
      request("B");
      ASSERT_TRUE(until([&] { return daemon_->receive() == "A"; }));
      daemon_->send("<3>x");
      daemon_->send("1");
      ASSERT_TRUE(until([&] { return !control_; })) << fatal;
    }
    EXPECT_EQ(log_.back(), fatal);
    daemon_.reset();
  }
}

}  // namespace
}  // namespace meshd::wifi
