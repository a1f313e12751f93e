#include "platform/include/ctimer.h"

#include <gmock/gmock.h>

#include <functional>
#include <list>
#include <stdexcept>
#include <vector>

#include "tests/platform/turns.h"

namespace {

using testing::ElementsAre;

std::int64_t microseconds(const ctimer_tval& time) { return time.tv_sec * 1000000 + time.tv_usec; }

std::int64_t now() {
  ctimer_tval time;
  ctimer_elapsedtval(&time);
  return microseconds(time);
}

/// A timer with a function to call; stopped with its end.
struct Timer {
  std::function<void()> action;
  ctimerhandle handle = nullptr;

  int start(int count, unsigned units) {
    return ctimer_setup_internal(
        0, &handle, 2, 0, count, units, [](ctimerhandle, void* self) { static_cast<Timer*>(self)->action(); }, this, 0,
        0);
  }
  int stop() { return ctimer_unsetup_internal(&handle, 2); }
  ~Timer() {
    if (handle != nullptr) {
      stop();
    }
  }
};

class CTimer : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(evsock_init(), 0); }
  void TearDown() override { evsock_exit(); }
};

void pass(int milliseconds) { usleep(static_cast<useconds_t>(milliseconds) * 1000); }

TEST_F(CTimer, FireByTimeOfExpiryAndTiesByTimeOfArming) {
  std::vector<int> fired;
  std::list<Timer> timers;
  const auto start = [&](int id, int count, unsigned units) {
    timers.push_back({[&fired, id] { fired.push_back(id); }});
    ASSERT_EQ(timers.back().start(count, units), 0);
  };
  start(30, 3, 100);
  start(10, 1, 100);
  start(20, 20, 1000);
  pass(40);
  EXPECT_EQ(evsock_select_with_msecs(0), 3);
  EXPECT_THAT(fired, ElementsAre(10, 20, 30));

  fired.clear();
  std::vector<int> armed;
  for (int id = 0; id < 500; ++id) {  // several in each microsecond
    start(id, 1, 1000);
    armed.push_back(id);
  }
  pass(5);
  EXPECT_EQ(evsock_select_with_msecs(0), 500);
  EXPECT_EQ(fired, armed);
}

TEST_F(CTimer, FiresOnceNotEarlyAndWithItsHandleCleared) {
  int fired = 0;
  Timer timer;
  timer.action = [&] {
    ++fired;
    EXPECT_EQ(timer.handle, nullptr);
  };
  const std::int64_t start = now();
  ASSERT_EQ(timer.start(30, 1000), 0);
  ctimer_tval end;
  ASSERT_EQ(ctimer_endtval_internal(&timer.handle, 2, &end), 0);
  EXPECT_GE(microseconds(end), start + 30000);
  EXPECT_LE(microseconds(end), now() + 30001);
  ASSERT_TRUE(turn_until([&] { return fired > 0; }));
  EXPECT_GE(now(), microseconds(end));
  pass(35);
  EXPECT_EQ(evsock_select_with_msecs(0), 0);
  EXPECT_EQ(fired, 1);
}

TEST_F(CTimer, ATimerThatArmsItselfAgainDoesNotStarveTheTurn) {
  const Pair pair = Pair::sockets();
  int fired = 0;
  int reads = 0;
  Timer timer;
  timer.action = [&] {
    ++fired;
    ASSERT_EQ(timer.start(0, 1), 0);
  };
  ASSERT_EQ(timer.start(0, 1), 0);
  evsock* watch = evsock_add_fd(
      pair[0], "reader", [](evsock*, void* count) { ++*static_cast<int*>(count); }, nullptr, nullptr, nullptr, nullptr,
      &reads);
  ASSERT_EQ(write(pair[1], "x", 1), 1);
  for (int turn = 1; turn <= 3; ++turn) {
    EXPECT_EQ(evsock_select_with_msecs(1000), 2);
    EXPECT_EQ(fired, turn);
    EXPECT_EQ(reads, turn);
  }
  evsock_remove_fd(watch);
}

TEST_F(CTimer, ACallbackMayStopOrRestartOthersThatAreDue) {
  std::vector<int> fired;
  Timer stopped{[&] { fired.push_back(2); }};
  Timer restarted{[&] { fired.push_back(3); }};
  Timer first{[&] {
    fired.push_back(1);
    EXPECT_EQ(stopped.stop(), 0);
    EXPECT_EQ(restarted.stop(), 0);
    EXPECT_EQ(restarted.start(0, 1), 0);
  }};
  ASSERT_EQ(first.start(0, 1), 0);
  ASSERT_EQ(stopped.start(0, 1), 0);
  ASSERT_EQ(restarted.start(0, 1), 0);
  evsock_select_with_msecs(1000);
  EXPECT_THAT(fired, ElementsAre(1));
  ASSERT_TRUE(turn_until([&] { return fired.size() == 2; }));
  EXPECT_THAT(fired, ElementsAre(1, 3));
}

TEST_F(CTimer, ACallbackMayArmManyTimers) {
  std::list<Timer> armed;
  std::list<Timer> due;
  std::vector<int> fired;
  std::vector<int> expected;
  for (int id = 0; id < 64; ++id) {
    due.push_back({[&fired, id] { fired.push_back(id); }});
    ASSERT_EQ(due.back().start(0, 1), 0);
    expected.push_back(id);
  }
  due.front().action = [&] {
    fired.push_back(0);
    for (int i = 0; i < 5000; ++i) {
      armed.push_back({[] {}});
      ASSERT_EQ(armed.back().start(3600, 1), 0);
    }
  };
  EXPECT_EQ(evsock_select_with_msecs(0), 64);
  EXPECT_EQ(fired, expected);
}

TEST_F(CTimer, AnExceptionLeavesTheOthersThatAreDueToTheNextTurn) {
  std::vector<int> fired;
  Timer stopped{[&] { fired.push_back(4); }};
  Timer second{[&] { fired.push_back(2); }};
  Timer third{[&] { fired.push_back(3); }};
  Timer first{[&] { throw std::runtime_error("first"); }};
  Timer later{[&] { fired.push_back(5); }};
  ASSERT_EQ(first.start(0, 1), 0);
  ASSERT_EQ(second.start(0, 1), 0);
  ASSERT_EQ(third.start(1, 1000), 0);
  ASSERT_EQ(stopped.start(0, 1), 0);
  pass(5);
  EXPECT_THROW(evsock_select_with_msecs(1000), std::runtime_error);
  EXPECT_EQ(stopped.stop(), 0);
  ASSERT_EQ(later.start(0, 1), 0);
  EXPECT_THAT(fired, ElementsAre());
  EXPECT_EQ(evsock_select_with_msecs(10'000), 3);
  EXPECT_THAT(fired, ElementsAre(2, 3, 5));
}

TEST_F(CTimer, TheWaitEndsWhenATimerIsDue) {
  bool fired = false;
  Timer timer{[&] { fired = true; }};
  ASSERT_EQ(timer.start(20, 1000), 0);
  const std::int64_t start = now();
  ASSERT_TRUE(turn_until([&] { return fired; }));
  EXPECT_LT(now() - start, 10'000'000);
  ASSERT_EQ(timer.start(3600, 1), 0);
  EXPECT_EQ(evsock_select_with_msecs(10), 0);
}

TEST_F(CTimer, RefusesWrongParameters) {
  Timer timer{[] {}};
  EXPECT_EQ(timer.start(-1, 1000), CTIMER_EINVALID);
  EXPECT_EQ(timer.start(1, 0), CTIMER_EINVALID);
  EXPECT_EQ(ctimer_setup_internal(0, &timer.handle, 1, 0, 1, 1, nullptr, nullptr, 0, 0), CTIMER_EINVALID);
  EXPECT_EQ(timer.handle, nullptr);
  EXPECT_EQ(timer.stop(), CTIMER_EINVALID);
  ctimer_tval end;
  EXPECT_EQ(ctimer_endtval_internal(&timer.handle, 2, &end), -1);
}

TEST_F(CTimer, RecognisesHandlesThatAreStaleCopiedOrForeign) {
  ctimer_tval end;
  Timer timer{[] {}};
  ASSERT_EQ(timer.start(1, 1), 0);
  ctimerhandle copy = timer.handle;
  EXPECT_EQ(timer.start(1, 1), CTIMER_ECHANGED);
  EXPECT_EQ(ctimer_unsetup_internal(&copy, 2), CTIMER_ECHANGED);
  ASSERT_EQ(timer.stop(), 0);
  EXPECT_EQ(timer.handle, nullptr);
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
