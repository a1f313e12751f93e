#include "qel/daemon/timer.h"

#include "qel/daemon/periodic_timer.h"
#include "tests/daemon/fixture.h"
#include "tests/support/enumerations.h"

namespace qel::time {
namespace {

class TimerTest : public FakePlatformTest {};

TEST_F(TimerTest, CountsInTheUnitOfTheDurationOrACoarserOne) {
  Timer timer;
  const auto armed_with = [&](auto duration) {
    try {
      timer.start(duration, [] {});
    } catch (const TimerError& error) {
      return std::string(error.what());
    }
    return take_calls().back();
  };
  const auto call = [](const std::string& count) { return "ctimer_setup_internal(0, 2, 0, " + count + ", 0, 0)"; };
  EXPECT_EQ(armed_with(1500ms), call("1500, 1000"));
  EXPECT_EQ(armed_with(deciseconds(7)), call("7, 10"));
  EXPECT_EQ(armed_with(centiseconds(8)), call("8, 100"));
  EXPECT_EQ(armed_with(2min), call("120, 1"));
  constexpr std::int64_t max = std::numeric_limits<std::int32_t>::max();
  constexpr std::chrono::milliseconds days50 = 1200h;
  EXPECT_EQ(armed_with(std::chrono::milliseconds(max)), call("2147483647, 1000"));
  EXPECT_EQ(armed_with(days50), call("432000000, 100"));
  EXPECT_EQ(armed_with(days50 + 1ms), call("432000001, 100")) << "never early";
  EXPECT_EQ(armed_with(centiseconds(max + 1)), call("214748365, 10"));
  EXPECT_EQ(armed_with(1ms + Timer::MAX_DURATION - 1s), call("2147483647, 1"));
  EXPECT_EQ(armed_with(1ms + Timer::MAX_DURATION), "Invalid parameter");
  EXPECT_EQ(armed_with(std::chrono::seconds(-max * 2 - 2)), "Invalid parameter") << "whose low half is 0";
  EXPECT_EQ(armed_with(std::chrono::hours::min()), "Invalid parameter");
  timer.start_ctimer(std::chrono::milliseconds(2 * max + 7));
  EXPECT_EQ(take_calls().back(), call("5, 1000")) << "is cut to 32 bits";
}

TEST_F(TimerTest, MapsTheResultsOfThePlatformAndDropsTheCallbackAnyway) {
  const std::pair<std::string, std::vector<std::string>> rows[] = {
      // what the results -1, -2 and so on become
      {"ctimer_setup_internal", {"Invalid parameter", "Resource problem", "Invalid handle", "Changed handle", ""}},
      {"ctimer_endtval_internal", {"Not running", "Deleted handle", "Invalid handle"}},
      {"ctimer_unsetup_internal", {"", "Deleted handle", "Invalid handle", "Changed handle"}}};
  for (const auto& [function, texts] : rows) {
    for (int result = -1; const std::string& text : texts) {
      fake_platform::reset();
      set_result(function, result--);
      const auto held = std::make_shared<int>();
      Timer timer;
      std::string error;
      try {
        timer.start(1s, [held] {});
        if (timer.is_running()) {
          EXPECT_EQ(timer.get_remaining_time(), 1s);
          timer.stop();
        }
      } catch (const TimerError& thrown) {
        error = thrown.what();
      }
      EXPECT_EQ(error, text) << function;
      EXPECT_TRUE(held.use_count() == 1 || function != "ctimer_unsetup_internal");
    }
  }
}

TEST_F(TimerTest, TruncatesBothTimesBeforeItSubtractsThem) {
  Timer timer;
  advance_microseconds(1'000'900);
  timer.start(2ms, [] {});
  // Now is 1.001100 s and the end 1.002900 s: 1.8 ms remain, but the result is 1002 - 1001.
  advance_microseconds(200);
  EXPECT_EQ(timer.get_remaining_time(), 1ms);
}

TEST_F(TimerTest, SwappedTimersKeepTheirCallbacks) {
  std::vector<std::string> log;
  Timer early;
  Timer late;
  early.start(1s, [&] { log.push_back("early"); });
  late.start(2s, [&] { log.push_back("late"); });
  swap(early, late);
  // The timer armed first now belongs to `late`; stopping `early` must not affect it.
  early.stop();
  advance_microseconds(3'000'000);
  EXPECT_THAT(log, ElementsAre("early"));

  early.start(1s, [&] { log.push_back("moved"); });
  Timer target(std::move(early));
  EXPECT_FALSE(early.is_running());  // NOLINT(bugprone-use-after-move): a moved timer is an idle one
  late = std::move(target);
  advance_microseconds(1'000'000);
  EXPECT_THAT(log, ElementsAre("early", "moved"));
}

TEST_F(TimerTest, TheDestructorLogsWhatItCannotThrow) {
  std::optional<Timer> timer{std::in_place};
  timer->start(1s, [] {});
  set_result("ctimer_unsetup_internal", -3);
  timer.reset();
  EXPECT_EQ(take_calls().back(), "errmsg(%s: %s, Timer: [~Timer:113] failed to stop timer (Timer:4: Invalid handle))");
}

TEST_F(TimerTest, ErrorsHaveGenericConditions) {
  const std::error_category& category = timer_error_category();
  test::check_enum<TimerErrc>(
      "1 ALREADY_RUNNING 2 NOT_RUNNING 3 INVALID_PARAMETER 4 INVALID_HANDLE 5 DELETED_HANDLE 6 CHANGED_HANDLE "
      "7 RESOURCE_PROBLEM");
  EXPECT_EQ(category.message(1), "Already running");
  EXPECT_EQ(category.message(8), "(unrecognized error)");
  EXPECT_EQ(category.default_error_condition(2), make_error_condition(TimerErrc::NOT_RUNNING));
  EXPECT_EQ(category.default_error_condition(3), std::errc::invalid_argument);
  EXPECT_EQ(category.default_error_condition(7), std::errc::device_or_resource_busy);
}

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

TEST_F(PeriodicTimerTest, KeepsItsRhythmWhenCallsAreLateAndSkipsMissedOnes) {
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
  EXPECT_TRUE(moved.is_running());
  moved.stop();
  advance_microseconds(1'000'000);
  EXPECT_EQ(calls, 4);
  EXPECT_FALSE(moved.is_running());
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
