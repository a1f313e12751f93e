#include "platform/include/ctimer.h"

#include "tests/platform/turns.h"

namespace {

using CTimer = LoopTest;

TEST_F(CTimer, FiresOnceAndNotEarlyAndEndsTheWait) {
  Timer timer{log("timer")};
  const auto begin = std::chrono::steady_clock::now();
  ASSERT_EQ(timer.start(30, 1000), 0);
  EXPECT_EQ(evsock_select_with_msecs(60'000), 1);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(30));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
  EXPECT_EQ(evsock_select_with_msecs(50), 0);
}

TEST_F(CTimer, ATimerThatArmsItselfAgainDoesNotStarveTheTurn) {
  const Pair pair = Pair::sockets("x");
  Timer timer;
  timer.action = [&] {
    calls.push_back("timer");
    ASSERT_EQ(timer.start(0, 1), 0);
  };
  ASSERT_EQ(timer.start(0, 1), 0);
  Watch watch{log("read")};
  watch.add(pair[0]);
  EXPECT_EQ(evsock_select_with_msecs(1000), 2);
  EXPECT_EQ(evsock_select_with_msecs(1000), 2);
  EXPECT_THAT(calls, ElementsAre("timer", "read", "timer", "read"));
}

TEST_F(CTimer, ACallbackMayStopRestartOrArmOthers) {
  std::list<Timer> many(5000);
  Timer stopped{log("stopped")};
  Timer restarted{log("restarted")};
  Timer last{log("last")};
  Timer first{[&] {
    calls.push_back("first");
    EXPECT_EQ(stopped.stop(), 0);
    EXPECT_EQ(restarted.stop(), 0);
    EXPECT_EQ(restarted.start(0, 1), 0);
    for (Timer& timer : many) {
      ASSERT_EQ(timer.start(3600, 1), 0);
    }
  }};
  for (Timer* timer : {&first, &stopped, &restarted, &last}) {
    ASSERT_EQ(timer->start(0, 1), 0);
  }
  evsock_select_with_msecs(1000);
  EXPECT_THAT(calls, ElementsAre("first", "last"));
  evsock_select_with_msecs(1000);
  EXPECT_THAT(calls, ElementsAre("first", "last", "restarted"));
}

TEST_F(CTimer, AnExceptionLeavesTheOthersThatAreDueToTheNextTurn) {
  Timer first{[] { throw std::runtime_error("first"); }};
  Timer second{log("second")};
  Timer stopped{log("stopped")};
  Timer late{log("late")};
  for (Timer* timer : {&first, &second, &stopped}) {
    ASSERT_EQ(timer->start(0, 1), 0);
  }
  EXPECT_THROW(evsock_select_with_msecs(1000), std::runtime_error);
  EXPECT_EQ(stopped.stop(), 0);
  ASSERT_EQ(late.start(0, 1), 0);
  EXPECT_EQ(evsock_select_with_msecs(10'000), 2);
  EXPECT_THAT(calls, ElementsAre("second", "late"));
}

TEST_F(CTimer, RefusesWrongParametersAndHandlesThatAreStaleOrCopied) {
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
  ASSERT_EQ(timer.start(1, 1), 0);  // most likely in the same slot
  EXPECT_NE(timer.handle, copy);
  EXPECT_EQ(ctimer_unsetup_internal(&copy, 2), CTIMER_EDELETED);
  EXPECT_EQ(ctimer_endtval_internal(&copy, 2, &end), CTIMER_EDELETED);
}

}  // namespace
