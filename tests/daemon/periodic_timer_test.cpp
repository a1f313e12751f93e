#include "qel/daemon/periodic_timer.h"

#include "tests/daemon/fixture.h"

namespace qel::time {
namespace {

class PeriodicTimerTest : public FakePlatformTest {
 protected:
  /// The time until the next call, in milliseconds, as requested from the platform.
  static int armed_for() {
    int milliseconds = -1;
    std::sscanf(take_calls().back().c_str(), "ctimer_setup_internal(0, 2, 0, %d, 1000,", &milliseconds);
    return milliseconds;
  }
  std::optional<PeriodicTimer> timer{std::in_place};
  int calls = 0;
};

TEST_F(PeriodicTimerTest, KeepsItsRhythmHoweverLateACallIsAndLeavesOutWhatIsOverdue) {
  timer->start(100ms, [&] { ++calls; });
  EXPECT_EQ(armed_for(), 100);
  advance_microseconds(130'000);
  EXPECT_EQ(armed_for(), 70) << "30 ms late";
  advance_microseconds(70'400);
  EXPECT_EQ(armed_for(), 100) << "99.6, rounded up";
  EXPECT_EQ(calls, 2);
  advance_microseconds(350'000);
  EXPECT_EQ(calls, 3) << "due at 300, 400 and 500 ms";
  EXPECT_EQ(timer->count_missed(), 2u);
  EXPECT_EQ(armed_for(), 50) << "at 600 ms";

  PeriodicTimer moved = std::move(*timer);
  timer.reset();
  advance_microseconds(50'000);
  EXPECT_EQ(calls, 4);
  moved.stop();
  advance_microseconds(1'000'000);
  EXPECT_EQ(calls, 4);
}

TEST_F(PeriodicTimerTest, TheFunctionMayThrowRestartAndDestroyItsTimer) {
  timer->start(10ms, [&] {
    if (++calls == 1) {
      throw std::runtime_error("first");
    }
    timer->start(20ms, [&] {
      timer.reset();
      ++calls;
    });
  });
  EXPECT_THROW(advance_microseconds(10'000), std::runtime_error);
  advance_microseconds(29'999);
  EXPECT_EQ(calls, 2);
  advance_microseconds(1'000'000);
  EXPECT_EQ(calls, 3);
  for (const std::chrono::milliseconds period : {0ms, 1ms + Timer::MAX_DURATION}) {
    EXPECT_THROW(PeriodicTimer().start(period, [] {}), TimerError);
  }
}

}  // namespace
}  // namespace qel::time
