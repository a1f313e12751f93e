#include "qel/daemon/timer.h"

#include <functional>

#include "tests/daemon/fixture.h"

namespace qel::time {
namespace {

using namespace std::chrono_literals;
using fake_platform::advance_microseconds;
using fake_platform::set_result;
using fake_platform::take_calls;
using testing::ElementsAre;
using testing::IsEmpty;

class TimerTest : public FakePlatformTest {};

template <class Action>
std::error_code error_of(Action action) {
  try {
    action();
  } catch (const TimerError& error) {
    EXPECT_EQ(error.what(), error.code().message());
    return error.code();
  }
  return {};
}

TEST_F(TimerTest, CountsInTheUnitOfTheDuration) {
  Timer timer;
  const auto armed_with = [&](auto duration) {
    timer.start(duration, [] {});
    return take_calls().back();
  };
  EXPECT_EQ(armed_with(1500ms), "ctimer_setup_internal(0, 2, 0, 1500, 1000, 0, 0)");
  EXPECT_EQ(armed_with(deciseconds(7)), "ctimer_setup_internal(0, 2, 0, 7, 10, 0, 0)");
  EXPECT_EQ(armed_with(centiseconds(8)), "ctimer_setup_internal(0, 2, 0, 8, 100, 0, 0)");
  EXPECT_EQ(armed_with(9s), "ctimer_setup_internal(0, 2, 0, 9, 1, 0, 0)");
  EXPECT_EQ(armed_with(2min), "ctimer_setup_internal(0, 2, 0, 120, 1, 0, 0)");
  EXPECT_EQ(armed_with(std::chrono::milliseconds(0x1'0000'0003)), "ctimer_setup_internal(0, 2, 0, 3, 1000, 0, 0)");
}

TEST_F(TimerTest, FiresOnceAndItsCallbackMayReArmReplaceOrDestroyIt) {
  auto timer = std::make_unique<Timer>();
  std::vector<int> log;
  const auto big = std::make_shared<int>(5);
  std::function<void()> first = [&, kept = big] {
    log.push_back(timer->is_running() ? 0 : 1);
    timer->start(10ms, [&, kept] {
      log.push_back(2);
      timer.reset();
      log.push_back(*kept);
    });
    log.push_back(*kept);
  };
  timer->start(20ms, std::exchange(first, nullptr));
  EXPECT_TRUE(timer->is_running());
  advance_microseconds(19'999);
  EXPECT_THAT(log, IsEmpty());
  advance_microseconds(1);
  EXPECT_THAT(log, ElementsAre(1, 5));
  advance_microseconds(1'000'000);
  EXPECT_THAT(log, ElementsAre(1, 5, 2, 5));
  EXPECT_EQ(big.use_count(), 1);
}

TEST_F(TimerTest, StartStopsFirstAndStoppingAnIdleTimerCallsNothing) {
  Timer timer;
  std::error_code error = TimerErrc::CHANGED_HANDLE;
  timer.stop(error);
  EXPECT_FALSE(error);
  timer.stop();
  EXPECT_THAT(take_calls(), IsEmpty());

  std::vector<int> fired;
  timer.start(1s, [&] { fired.push_back(1); });
  timer.start(2s, [&] { fired.push_back(2); });
  EXPECT_THAT(take_calls(), ElementsAre("ctimer_setup_internal(0, 2, 0, 1, 1, 0, 0)", "ctimer_unsetup_internal(2)",
                                        "ctimer_setup_internal(0, 2, 0, 2, 1, 0, 0)"));
  advance_microseconds(5'000'000);
  EXPECT_THAT(fired, ElementsAre(2));
}

TEST_F(TimerTest, MapsTheResultsOfThePlatformAndDropsTheCallbackAnyway) {
  enum Function { START, STOP, REMAINING };
  const std::tuple<Function, int, std::error_code> rows[] = {{START, -1, TimerErrc::INVALID_PARAMETER},
                                                             {START, -2, TimerErrc::RESOURCE_PROBLEM},
                                                             {START, -3, TimerErrc::INVALID_HANDLE},
                                                             {START, -4, TimerErrc::CHANGED_HANDLE},
                                                             {START, -5, {}},
                                                             {START, 1, {}},
                                                             {STOP, -1, {}},
                                                             {STOP, -2, TimerErrc::DELETED_HANDLE},
                                                             {STOP, -3, TimerErrc::INVALID_HANDLE},
                                                             {STOP, -4, TimerErrc::CHANGED_HANDLE},
                                                             {REMAINING, -1, TimerErrc::NOT_RUNNING},
                                                             {REMAINING, -2, TimerErrc::DELETED_HANDLE},
                                                             {REMAINING, -3, TimerErrc::INVALID_HANDLE}};
  for (const auto& [function, result, expected] : rows) {
    SCOPED_TRACE(testing::Message() << function << ' ' << result);
    fake_platform::reset();
    Timer timer;
    const auto held = std::make_shared<int>();
    if (function == START) {
      set_result("ctimer_setup_internal", result);
      EXPECT_EQ(error_of([&] { timer.start(1s, [held] {}); }), expected);
      EXPECT_FALSE(timer.is_running());
    } else if (function == STOP) {
      timer.start(1s, [held] {});
      set_result("ctimer_unsetup_internal", result);
      EXPECT_EQ(error_of([&] { timer.stop(); }), expected);
      EXPECT_EQ(held.use_count(), 1);
    } else {
      EXPECT_EQ(error_of([&] { timer.get_remaining_time(); }), TimerErrc::NOT_RUNNING);
      set_result("ctimer_endtval_internal", result);
      EXPECT_EQ(error_of([&] { timer.get_remaining_time(); }), expected);
    }
  }
}

TEST_F(TimerTest, TruncatesBothTimesBeforeItSubtractsThem) {
  Timer timer;
  advance_microseconds(1'000'900);
  timer.start(2ms, [] {});
  EXPECT_EQ(timer.get_remaining_time(), 2ms);
  // 1.001100 s now and 1.002900 s at the end: 1.8 ms, but 1002 - 1001.
  advance_microseconds(200);
  EXPECT_EQ(timer.get_remaining_time(), 1ms);
}

TEST_F(TimerTest, SwappedTimersTakeTheirCallbacksAlong) {
  Timer early;
  Timer late;
  std::vector<std::string> log;
  early.start(1s, [&] { log.push_back("early"); });
  late.start(2s, [&] { log.push_back("late"); });
  swap(early, late);
  // What was armed first now belongs to `late`, and stopping `early` must not touch it.
  early.stop();
  advance_microseconds(3'000'000);
  EXPECT_THAT(log, ElementsAre("early"));

  Timer source;
  source.start(1s, [&] { log.push_back("moved"); });
  Timer target(std::move(source));
  EXPECT_TRUE(target.is_running());
  EXPECT_FALSE(source.is_running());  // NOLINT(bugprone-use-after-move): a moved timer is an idle one
  {
    Timer third;
    third = std::move(target);
    advance_microseconds(1'000'000);
  }
  EXPECT_THAT(log, ElementsAre("early", "moved"));
}

TEST_F(TimerTest, TheDestructorLogsWhatItCannotThrow) {
  {
    Timer timer;
    timer.start(1s, [] {});
    set_result("ctimer_unsetup_internal", -3);
    take_calls();
  }
  EXPECT_THAT(take_calls(),
              ElementsAre("ctimer_unsetup_internal(2)",
                          "errmsg(%s: %s, Timer: [~Timer:113] failed to stop timer (Timer:4: Invalid handle))"));
}

TEST_F(TimerTest, ErrorsHaveTextsAndGenericConditions) {
  const std::error_category& category = timer_error_category();
  EXPECT_STREQ(category.name(), "Timer");
  const char* const texts[] = {"Already running", "Not running",    "Invalid parameter", "Invalid handle",
                               "Deleted handle",  "Changed handle", "Resource problem"};
  for (int code = 1; code <= 7; ++code) {
    EXPECT_EQ(category.message(code), texts[code - 1]);
    EXPECT_EQ(category.default_error_condition(code),
              code == 3   ? std::make_error_condition(std::errc::invalid_argument)
              : code == 7 ? std::make_error_condition(std::errc::device_or_resource_busy)
                          : std::error_condition(code, category));
  }
  EXPECT_EQ(category.message(0), "(unrecognized error)");
  EXPECT_EQ(category.message(8), "(unrecognized error)");
  EXPECT_EQ(make_error_condition(TimerErrc::NOT_RUNNING), std::error_condition(2, category));
}

}  // namespace
}  // namespace qel::time
