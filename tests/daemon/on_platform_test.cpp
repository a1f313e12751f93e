#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <thread>

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
    while (!condition() && std::chrono::steady_clock::now() < end) {
      loop.run(50ms);
    }
    return condition();
  }

  const std::string name = "runtime-test-" + std::to_string(getpid());
  PrivateBus bus;
  Mainloop loop{name, false};
};

TEST_F(OnPlatform, TimersWatchesAndFuturesAreServed) {
  EXPECT_THROW(Mainloop(name, false), std::runtime_error) << "the name is taken";
  std::vector<time::Timer> timers(20);
  std::vector<int> fired;
  for (int i = 0; i < 20; ++i) {
    timers[static_cast<std::size_t>(i)].start(0ms, [&fired, i] { fired.push_back(i); });
  }
  timers.reserve(100);  // moved timers fire all the same
  timers[3].stop();
  const auto start = std::chrono::steady_clock::now();
  timers[19].start(20ms, [&] { timers[19].start(20ms, [&] { fired.push_back(100); }); });
  EXPECT_LE(timers[19].get_remaining_time(), 20ms);

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

  std::promise<int> promise;
  int got = 0;
  loop.add_future(promise.get_future(), [&](std::future<int> future) { got = future.get(); });
  std::thread worker([&] { promise.set_value(4); });

  EXPECT_TRUE(run_until([&] { return got == 4 && log.size() >= 6 && fired.size() == 19; }));
  worker.join();
  EXPECT_GE(std::chrono::steady_clock::now() - start, 40ms);
  EXPECT_EQ(fired.back(), 100);
  EXPECT_TRUE(std::is_sorted(fired.begin(), fired.end())) << "ties fire in the order of arming";
  EXPECT_THAT(log, ElementsAre("readable", "a", "still alive", "readable", "b", "still alive"));
}

TEST_F(OnPlatform, TheCommandThatEndsASessionSucceeds) {
  EXPECT_TRUE(loop.send_command("", "QUIT"));
  EXPECT_FALSE(loop.send_command("", "QUITE"));
}

}  // namespace
}  // namespace qel::daemon
