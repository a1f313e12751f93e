#include <sys/resource.h>
#include <unistd.h>

#include "qel/daemon/log.h"
#include "qel/daemon/mainloop.h"
#include "tests/daemon/probe_watch.h"
#include "tests/platform/private_bus.h"
#include "tests/platform/turns.h"

/// Runs the runtime on the real platform libraries and a bus of the test's own.
namespace qel::daemon {
namespace {

using namespace std::chrono_literals;

class OnPlatform : public testing::Test {
 protected:
  ~OnPlatform() override { debug::set_shringbuf(nullptr); }

  const std::string name = "runtime-test-" + std::to_string(getpid());
  std::vector<std::string> log;
  PrivateBus bus;
  Mainloop loop{name, false};
};

TEST_F(OnPlatform, AHandlerMayRemoveItsOwnWatchOrAllAlsoInANestedRun) {
  const Pair pair = Pair::sockets("x");
  std::weak_ptr<ProbeWatch> weak;
  const std::function<void()> removals[] = {[&] { loop.remove_watch(weak.lock()); }, [&] { loop.remove_watches(); },
                                            [&] {
                                              std::promise<void> ready;
                                              ready.set_value();
                                              loop.add_future(ready.get_future(), [&](auto) { loop.remove_watches(); });
                                              loop.run(0ms);
                                            }};
  for (const auto& removal : removals) {
    log.clear();
    auto watch = std::make_shared<ProbeWatch>(pair[0], log);
    watch->when_readable = removal;
    weak = watch;
    loop.add_watch(watch);
    watch.reset();
    loop.run(1s);
    EXPECT_THAT(log, ElementsAre("readable", "still alive", "dies"));
  }
}

TEST_F(OnPlatform, AFutureCompletedByACallbackIsDeliveredInTheSameTurn) {
  std::promise<int> of_timer;
  int sum = 0;
  const auto add = [&](std::future<int> future) { sum += future.get(); };
  const auto connection = loop.add_future(of_timer.get_future(), add);
  time::Timer timer;
  timer.start(0ms, [&] { of_timer.set_value(9); });
  EXPECT_EQ(loop.run(1s), -1ms);
  EXPECT_EQ(sum, 9);
  EXPECT_FALSE(connection.connected());
  loop.add_future(std::promise<int>().get_future(), add);
  loop.clear_futures();
  EXPECT_EQ(loop.count_futures(), 0u);
}

TEST_F(OnPlatform, RunUntilFinishedPollsALongPendingFutureRarely) {
  const auto sleeps = [] {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw;
  };
  std::promise<void> promise;
  loop.add_future(promise.get_future(), [&](std::future<void>) { loop.finish(); });
  time::Timer timer;
  timer.start(500ms, [&] { promise.set_value(); });
  const auto before = sleeps();
  loop.run_until_finished();
  EXPECT_EQ(loop.count_futures(), 0u);
  EXPECT_LT(sleeps() - before, 200) << "one each millisecond would be 500";
}

TEST_F(OnPlatform, CommandsAndEventsArrive) {
  EXPECT_THROW(Mainloop(name, false), std::runtime_error) << "the name is taken";
  int words = 0;
  const auto module = loop.create_ctlcmd_module("mesh", &words);
  std::string command = "count-with-a-name-that-is-too-long-to-be-stored-in-place";
  module->add_command(
      command,
      [](ctlcmd_session*, int argc, const char* const*, void* context) {
        *static_cast<int*>(context) += argc;
        return argc == 3 ? 0 : -1;
      },
      "counts words");
  const std::string line = std::exchange(command, std::string(command.size(), '?'));  // the module keeps a copy
  module->start();
  EXPECT_TRUE(loop.send_command("mesh", line + " two three"));
  EXPECT_FALSE(loop.send_command("mesh", line));
  EXPECT_EQ(words, 4);
  EXPECT_EQ(loop.get_ctlcmd_module("mesh"), module);
  EXPECT_TRUE(loop.remove_ctlcmd_module("mesh"));
  EXPECT_TRUE(loop.send_command("", "QUIT")) << "the command that ends a session succeeds";
  EXPECT_FALSE(loop.send_command("", "QUITE"));

  loop.register_qelipc_event_notifier(
      "link",
      [](qelipc*, const char* event, void* data, unsigned size, void* heard) {
        *static_cast<std::vector<std::string>*>(heard) = {event, std::string(static_cast<char*>(data), size)};
      },
      &log);
  EXPECT_TRUE(loop.send_qelipc_message(name.c_str(), "ignored"));
  EXPECT_TRUE(loop.send_qelipc_event("link", "up", 2));
  EXPECT_TRUE(turn_until([&] { return !log.empty(); }));
  EXPECT_THAT(log, ElementsAre("link", "up"));
}

}  // namespace
}  // namespace qel::daemon
