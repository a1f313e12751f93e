#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>
#include <system_error>

#include "qel/process/child_watch.h"
#include "qel/process/signal_watch.h"
#include "tests/platform/children.h"
#include "tests/platform/turns.h"

namespace qel::daemon {
namespace {

using testing::ElementsAre;

using Process = LoopTest;

bool is_blocked(int signal) {
  sigset_t mask;
  sigprocmask(SIG_BLOCK, nullptr, &mask);
  return sigismember(&mask, signal) == 1;
}

TEST_F(Process, SignalsComeInATurnAndTheMaskIsAsBefore) {
  const BlockedSignals before({SIGUSR2});
  {
    std::vector<int> got;
    SignalWatch watch({SIGUSR1, SIGUSR2}, [&](int signal) { got.push_back(signal); });
    raise(SIGUSR1);  // would end the process
    for (const int signal : {SIGUSR1, SIGUSR2}) {
      watch.add_to_evsock();  // also again
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

TEST_F(Process, ChildrenEndInATurn) {
  signal(SIGCHLD, SIG_IGN);
  ChildWatch watch;
  watch.add_to_evsock();
  std::vector<int> ends;
  const auto push = [&](int status) { ends.push_back(WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status)); };
  const auto ends_of_turns = [&](std::size_t count) {
    EXPECT_TRUE(turn_until([&] { return ends.size() >= count; }));
    return std::exchange(ends, {});
  };
  const auto wait_without_reaping = [](pid_t child) {
    siginfo_t info;
    EXPECT_EQ(waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
  };

  watch.add(start_child([] { return 3; }), push);
  EXPECT_THAT(ends_of_turns(1), ElementsAre(3));
  const pid_t sleeper = start_child([] { return pause(); });
  watch.add(sleeper, push);
  evsock_select_with_msecs(0);
  kill(sleeper, SIGTERM);
  EXPECT_THAT(ends_of_turns(1), ElementsAre(-SIGTERM));

  // Ended before they are added, and the signal taken: both are told, also when the first handler throws.
  const pid_t first = start_child([] { return 1; });
  const pid_t second = start_child([] { return 2; });
  wait_without_reaping(first);
  wait_without_reaping(second);
  evsock_select_with_msecs(1000);
  watch.add(first, [](int) { throw std::runtime_error("handler"); });
  watch.add(second, push);
  EXPECT_THROW(turn_until([&] { return !ends.empty(); }), std::runtime_error);
  EXPECT_THAT(ends_of_turns(1), ElementsAre(2));

  const pid_t removed = start_child([] { return 4; });
  watch.add(removed, push);
  EXPECT_TRUE(watch.remove(removed));
  EXPECT_FALSE(watch.remove(removed));
  EXPECT_EQ(end_of(removed), 4);
  watch.add(removed, [&](int status) { ends.push_back(status); });
  EXPECT_THAT(ends_of_turns(1), ElementsAre(-1)) << "somebody else has waited";
}

}  // namespace
}  // namespace qel::daemon
