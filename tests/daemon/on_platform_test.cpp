#include <ctlcmd.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <qelipc_client.h>
#include <shringbuf.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <optional>
#include <ostream>
#include <thread>

#include "qel/daemon/evsock_streambuf.h"
#include "qel/daemon/log.h"
#include "qel/daemon/mainloop.h"
#include "tests/daemon/probe_watch.h"
#include "tests/platform/private_bus.h"
#include "tests/platform/turns.h"

/// The runtime on the platform's real libraries and a bus of the test's own.
namespace qel::daemon {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class OnPlatform : public testing::Test {
 protected:
  ~OnPlatform() override { debug::set_shringbuf(nullptr); }

  template <class Condition>
  bool run_until(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + kBound;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > end) {
        return false;
      }
      loop.run(50ms);
    }
    return true;
  }

  const std::string name = "runtime-test-" + std::to_string(getpid());
  PrivateBus bus;
  Mainloop loop{name, false};
};

TEST_F(OnPlatform, ATimerReArmsItselfAndKeepsItsTime) {
  time::Timer timer;
  int fired = 0;
  std::function<void()> again = [&] {
    if (++fired < 3) {
      timer.start(20ms, again);
    }
  };
  const auto start = std::chrono::steady_clock::now();
  timer.start(20ms, again);
  EXPECT_LE(timer.get_remaining_time(), 20ms);
  EXPECT_TRUE(run_until([&] { return fired == 3; }));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 60ms);
  EXPECT_FALSE(timer.is_running());
  EXPECT_THROW(timer.get_remaining_time(), time::TimerError);
}

TEST_F(OnPlatform, TiesFireInTheOrderOfArmingAndMovedTimersStillFire) {
  std::vector<int> log;
  std::vector<time::Timer> timers(20);
  for (int i = 0; i < 20; ++i) {
    timers[static_cast<std::size_t>(i)].start(0ms, [&log, i] { log.push_back(i); });
  }
  timers.reserve(100);
  timers[3].stop();
  EXPECT_TRUE(run_until([&] { return log.size() == 19; }));
  EXPECT_TRUE(std::is_sorted(log.begin(), log.end()));
}

TEST_F(OnPlatform, AWatchReadsAPipeAndRemovesItself) {
  Pair pipe = Pair::pipe();
  std::vector<std::string> log;
  const auto watch = std::make_shared<ProbeWatch>(pipe[0], log);
  watch->when_readable = [&] {
    char octet = 0;
    EXPECT_EQ(read(pipe[0], &octet, 1), 1);
    log.push_back(std::string(1, octet));
    if (octet == 'b') {
      loop.remove_watch(watch);
    }
  };
  loop.add_watch(watch);
  ASSERT_EQ(write(pipe[1], "abc", 3), 3);
  EXPECT_TRUE(run_until([&] { return log.size() >= 6; }));
  loop.run(0ms);
  EXPECT_THAT(log, ElementsAre("readable", "a", "still alive", "readable", "b", "still alive"));
}

TEST_F(OnPlatform, AStreamBufferGoesOnWhenTheSocketIsWritableAgain) {
  /// Sends a text that is longer than the socket holds.
  class Sender final : public ISimpleFDWatch {
   public:
    explicit Sender(int fd) : ISimpleFDWatch(fd, "sender") {}
    void on_readable() override {}
    void on_writable() override {
      if (!buffer_) {
        buffer_.emplace(get_handle());
      }
      while (sent < text.size() && buffer_->sputc(text[sent]) != std::char_traits<char>::eof()) {
        ++sent;
      }
      flushed = sent == text.size() && buffer_->pubsync() == 0;
    }
    const std::string text = std::string(300'000, 'x') + "end";
    std::size_t sent = 0;
    bool flushed = false;

   private:
    std::optional<evsock_streambuf> buffer_;
  };

  Pair sockets = Pair::sockets();
  const auto sender = std::make_shared<Sender>(sockets[0]);
  loop.add_watch(sender);
  EXPECT_TRUE(run_until([&] { return sender->sent > 0; }));
  EXPECT_LT(sender->sent, sender->text.size());
  std::string received;
  EXPECT_TRUE(run_until([&] {
    char octets[8192];
    ssize_t got = 0;
    while ((got = recv(sockets[1], octets, sizeof octets, MSG_DONTWAIT)) > 0) {
      received.append(octets, static_cast<std::size_t>(got));
    }
    return received.size() == sender->text.size();
  }));
  EXPECT_TRUE(sender->flushed);
  EXPECT_EQ(received, sender->text);
}

TEST_F(OnPlatform, AFutureOfAnotherThreadIsDelivered) {
  std::promise<int> promise;
  int got = 0;
  loop.add_future(promise.get_future(), [&](std::future<int> future) { got = future.get(); });
  std::thread worker([&] { promise.set_value(4); });
  EXPECT_TRUE(run_until([&] { return got == 4; }));
  worker.join();
}

TEST_F(OnPlatform, TheLogRingIsReadByItsName) {
  debug::stream("on-platform") << debug::LogLevels::NOTE << "hello ring" << std::endl;
  shringbuf_reader* reader = shringbuf_attach((name + "_log").c_str());
  ASSERT_NE(reader, nullptr);
  char line[100] = "";
  EXPECT_EQ(shringbuf_read(reader, line, sizeof line, nullptr, nullptr), 1);
  EXPECT_STREQ(line, "on-platform: hello ring");
  shringbuf_detach(reader);
}

TEST_F(OnPlatform, ANameThatIsTakenIsRefused) { EXPECT_THROW(Mainloop(name, false), std::runtime_error); }

TEST_F(OnPlatform, AModuleAnswersOnTheBus) {
  int context = 5;
  const auto module = loop.create_ctlcmd_module("mesh", &context);
  module->add_command(
      "SHOW",
      [](ctlcmd_session* session, int argc, const char* const* argv, void* number) {
        ctlcmd_printf(session, "%s %d\n", argc > 1 ? argv[1] : "", *static_cast<int*>(number));
        return 0;
      },
      "shows");
  ASSERT_TRUE(module->start());
  std::string answer;
  int result = -1;
  std::atomic<bool> answered{false};
  std::thread asker([&] {
    if (qelipc_client* client = qelipc_client_open()) {
      char* text = nullptr;
      if (qelipc_client_command(client, name.c_str(), "mesh", "show it", 10'000, &result, &text) == 0) {
        answer = text;
        free(text);
      }
      qelipc_client_close(client);
    }
    answered = true;
  });
  EXPECT_TRUE(run_until([&] { return answered.load(); }));
  asker.join();
  EXPECT_EQ(result, 0);
  EXPECT_EQ(answer, "it 5\n");
}

}  // namespace
}  // namespace qel::daemon
