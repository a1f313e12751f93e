#include "platform/include/ctimer.h"

#include <gmock/gmock.h>

#include <list>
#include <stdexcept>
#include <vector>

#include "tests/platform/turns.h"

namespace {

using testing::ElementsAre;

/// In microseconds.
std::int64_t now() {
  ctimer_tval time;
  ctimer_elapsedtval(&time);
  return time.tv_sec * 1000000 + time.tv_usec;
}

class CTimer : public LoopTest {
 protected:
  std::function<void()> log(int id) {
    return [this, id] { fired.push_back(id); };
  }
  /// A timer that writes its number down.
  void start(int id, int count, unsigned units) {
    timers.push_back({log(id)});
    ASSERT_EQ(timers.back().start(count, units), 0);
  }
  static void pass(int milliseconds) { usleep(static_cast<useconds_t>(milliseconds) * 1000); }

  std::vector<int> fired;
  std::list<Timer> timers;
};

TEST_F(CTimer, FiresOnceAndNotEarlyAndEndsTheWait) {
  const std::int64_t begin = now();
  start(1, 30, 1000);
  EXPECT_EQ(evsock_select_with_msecs(60'000), 1);
  EXPECT_GE(now(), begin + 30'000);
  EXPECT_LT(now(), begin + 30'000'000);
  EXPECT_EQ(evsock_select_with_msecs(50), 0);
}

TEST_F(CTimer, ATimerThatArmsItselfAgainDoesNotStarveTheTurn) {
  const Pair pair = Pair::sockets("x");
  int reads = 0;
  Timer timer;
  timer.action = [&] {
    fired.push_back(1);
    ASSERT_EQ(timer.start(0, 1), 0);
  };
  ASSERT_EQ(timer.start(0, 1), 0);
  Watch watch{[&] { ++reads; }};
  watch.add(pair[0]);
  EXPECT_EQ(evsock_select_with_msecs(1000), 2);
  EXPECT_EQ(evsock_select_with_msecs(1000), 2);
  EXPECT_THAT(fired, ElementsAre(1, 1));
  EXPECT_EQ(reads, 2);
}

TEST_F(CTimer, ACallbackMayStopRestartOrArmOthers) {
  Timer stopped{log(2)};
  Timer restarted{log(3)};
  Timer first{[&] {
    fired.push_back(1);
    EXPECT_EQ(stopped.stop(), 0);
    EXPECT_EQ(restarted.stop(), 0);
    EXPECT_EQ(restarted.start(0, 1), 0);
    for (int i = 0; i < 5000; ++i) {
      start(i, 3600, 1);
    }
  }};
  for (Timer* timer : {&first, &stopped, &restarted}) {
    ASSERT_EQ(timer->start(0, 1), 0);
  }
  start(4, 0, 1);
  evsock_select_with_msecs(1000);
  EXPECT_THAT(fired, ElementsAre(1, 4));
  ASSERT_TRUE(turn_until([&] { return fired.size() == 3; }));
  EXPECT_THAT(fired, ElementsAre(1, 4, 3));
}

TEST_F(CTimer, AnExceptionLeavesTheOthersThatAreDueToTheNextTurn) {
  Timer first{[] { throw std::runtime_error("first"); }};
  Timer stopped{log(4)};
  ASSERT_EQ(first.start(0, 1), 0);
  start(2, 0, 1);
  start(3, 1, 1000);
  ASSERT_EQ(stopped.start(0, 1), 0);
  pass(5);
  EXPECT_THROW(evsock_select_with_msecs(1000), std::runtime_error);
  EXPECT_EQ(stopped.stop(), 0);
  start(5, 0, 1);
  EXPECT_THAT(fired, ElementsAre());
  EXPECT_EQ(evsock_select_with_msecs(10'000), 3);
  EXPECT_THAT(fired, ElementsAre(2, 3, 5));
}

TEST_F(CTimer, RefusesWrongParametersAndHandlesThatAreStaleCopiedOrForeign) {
  ctimer_tval end;
  Timer timer{[] {}};
  EXPECT_EQ(timer.start(-1, 1000), CTIMER_EINVALID);
  EXPECT_EQ(timer.start(1, 0), CTIMER_EINVALID);
  EXPECT_EQ(ctimer_setup_internal(0, &timer.handle, 1, 0, 1, 1, nullptr, nullptr, 0, 0), CTIMER_EINVALID);
  EXPECT_EQ(timer.stop(), CTIMER_EINVALID);
  EXPECT_EQ(ctimer_endtval_internal(&timer.handle, 2, &end), CTIMER_EINVALID);

  ASSERT_EQ(timer.start(1, 1), 0);
  ctimerhandle copy = timer.handle;
  EXPECT_EQ(timer.start(1, 1), CTIMER_ECHANGED);
  EXPECT_EQ(ctimer_unsetup_internal(&copy, 2), CTIMER_ECHANGED);
  ASSERT_EQ(timer.stop(), 0);
  EXPECT_EQ(ctimer_unsetup_internal(&copy, 2), CTIMER_EDELETED);
  ASSERT_EQ(timer.start(1, 1), 0);  // most likely in the same place
  EXPECT_NE(timer.handle, copy);
  EXPECT_EQ(ctimer_unsetup_internal(&copy, 2), CTIMER_EDELETED);
  EXPECT_EQ(ctimer_endtval_internal(&copy, 2, &end), CTIMER_EDELETED);
  auto foreign = reinterpret_cast<ctimerhandle>(static_cast<std::uintptr_t>(-1));
  EXPECT_EQ(ctimer_unsetup_internal(&foreign, 2), CTIMER_EHANDLE);
  EXPECT_EQ(ctimer_endtval_internal(&foreign, 2, &end), CTIMER_EHANDLE);
}

}  // namespace
