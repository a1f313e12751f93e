#include "qel/process/child_watch.h"
#include "qel/process/signal_watch.h"
#include "tests/platform/children.h"
#include "tests/platform/turns.h"

namespace qel::daemon {
namespace {

using Process = LoopTest;

bool is_blocked(int signal) {
  sigset_t mask;
  sigprocmask(SIG_BLOCK, nullptr, &mask);
  return sigismember(&mask, signal) == 1;
}

TEST_F(Process, DeliversSignalsInATurnAndRestoresTheMask) {
  const BlockedSignals before({SIGUSR2});
  {
    std::vector<int> got;
    SignalWatch watch({SIGUSR1, SIGUSR2}, [&](int signal) { got.push_back(signal); });
    raise(SIGUSR1);  // would end the process
    for (const int signal : {SIGUSR1, SIGUSR2}) {
      watch.add_to_evsock();  // registering again is allowed
      raise(signal);
      EXPECT_TRUE(turn_until([&] { return !got.empty(); }));
      EXPECT_THAT(std::exchange(got, {}), ElementsAre(signal));
      watch.remove_from_evsock();
    }
    EXPECT_TRUE(is_blocked(SIGUSR1));
  }
  EXPECT_FALSE(is_blocked(SIGUSR1));
  EXPECT_TRUE(is_blocked(SIGUSR2));
  EXPECT_THROW(SignalWatch({SIGUSR1, -1}, nullptr), std::system_error);
  EXPECT_FALSE(is_blocked(SIGUSR1));
}

TEST_F(Process, ReportsChildrenInATurn) {
  signal(SIGCHLD, SIG_IGN);
  ChildWatch watch;
  watch.add_to_evsock();
  std::vector<int> ends;
  const auto push = [&](int status) { ends.push_back(status); };
  const auto next_end = [&] {
    EXPECT_TRUE(turn_until([&] { return !ends.empty(); }));
    return std::exchange(ends, {}).at(0);
  };
  watch.add(start_child([] { return 3; }), push);
  EXPECT_EQ(WEXITSTATUS(next_end()), 3);
  const pid_t sleeper = start_child([] { return pause(); });
  watch.add(sleeper, push);
  evsock_select_with_msecs(0);
  kill(sleeper, SIGTERM);
  EXPECT_EQ(WTERMSIG(next_end()), SIGTERM);

  // Two children that exit before they are added, with the signal already received: both are reported, even if the
  // first handler throws.
  const pid_t early[] = {start_child([] { return 1; }), start_child([] { return 2; })};
  for (const pid_t child : early) {
    siginfo_t info;
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
  }
  evsock_select_with_msecs(1000);
  watch.add(early[0], [](int) { throw std::runtime_error("handler"); });
  watch.add(early[1], push);
  EXPECT_THROW(next_end(), std::runtime_error);
  EXPECT_EQ(WEXITSTATUS(next_end()), 2);

  const pid_t removed = start_child([] { return 4; });
  watch.add(removed, push);
  EXPECT_TRUE(watch.remove(removed));
  EXPECT_FALSE(watch.remove(removed));
  EXPECT_EQ(end_of(removed), 4);
  watch.add(removed, push);
  EXPECT_EQ(next_end(), -1) << "somebody else has waited";
}

}  // namespace
}  // namespace qel::daemon
