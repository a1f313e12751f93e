#include "qel/daemon/mainloop.h"

#include <qelipc.h>
#include <unistd.h>

#include <cstdio>
#include <optional>
#include <sstream>
#include <thread>

#include "tests/daemon/fixture.h"
#include "tests/daemon/probe_watch.h"

namespace qel::daemon {
namespace {

using namespace std::chrono_literals;
using fake_platform::advance_microseconds;
using fake_platform::Event;
using fake_platform::set_result;
using fake_platform::take_calls;
using fake_platform::trigger;
using testing::ElementsAre;

constexpr const char* LISTEN =
    "ctlcmd_listen_start(node, HELP: show help, SLABDUMP: show slab allocation, SLABSHOW: show slab information, "
    "QUIT: disconnect)";
constexpr const char* ARM_SECOND = "ctimer_setup_internal(0, 2, 0, 1, 1, 0, 0)";
constexpr const char* ARM_GUARD = "ctimer_setup_internal(0, 2, 0, 15, 1, 0, 0)";

class MainloopTest : public FakePlatformTest {
 protected:
  Mainloop& start(const std::string& name = "node", bool daemonize = false) {
    loop.emplace(name, daemonize);
    return *loop;
  }
  std::shared_ptr<ProbeWatch> add_probe(int fd) {
    auto watch = std::make_shared<ProbeWatch>(fd, log);
    EXPECT_TRUE(loop->add_watch(watch));
    return watch;
  }

  std::vector<std::string> log;
  std::optional<Mainloop> loop;
};

TEST_F(MainloopTest, StartsTurnsAndEndsInOrder) {
  start("node", true);
  EXPECT_THAT(take_calls(),
              ElementsAre("evsock_init()", "veloenv_VeloHasLittleRAM()", "shringbuf_init(node_log, 65536)",
                          "qelipc_create(node)", "qelipc_msg_register()", LISTEN, "daemon_start(0, 0)", ARM_GUARD,
                          ARM_SECOND, "watchdog_evsock_init(node)"));
  EXPECT_TRUE(loop->daemonized());
  EXPECT_EQ(loop->run(250ms), -1ms);
  EXPECT_THAT(take_calls(),
              ElementsAre("ctimer_unsetup_internal(2)", "daemon_ready()", "evsock_select_with_msecs(250)"));
  EXPECT_EQ(loop->run(Mainloop::DEFAULT_RUN_TIMEOUT), -1ms);
  loop->run(std::chrono::milliseconds(0x2'0000'0007));  // its low 32 bits count
  EXPECT_THAT(take_calls(), ElementsAre("evsock_select_with_msecs(-1)", "evsock_select_with_msecs(7)"));

  const auto module = loop->create_ctlcmd_module("mesh", nullptr);
  module->start();
  add_probe(5);
  take_calls();
  loop.reset();
  EXPECT_THAT(take_calls(), ElementsAre("evsock_remove_fd(5)", "ctimer_unsetup_internal(2)", "watchdog_evsock_exit()",
                                        "ctlcmd_unregister_library(mesh)", "qelipc_msg_unregister()",
                                        "qelipc_destroy()", "evsock_exit()"));
  EXPECT_FALSE(module->is_valid());
  EXPECT_NE(debug::get_shringbuf(), nullptr) << "the ring belongs to the log and stays";
}

TEST_F(MainloopTest, AnEmptyNameIsTheThreadAndLittleRamASmallRing) {
  set_result("veloenv_VeloHasLittleRAM", 1);
  std::ostringstream id;
  id << std::this_thread::get_id();
  EXPECT_EQ(start("").get_name(), "app_" + id.str());
  EXPECT_THAT(take_calls(), testing::IsSupersetOf({"shringbuf_init(app_" + id.str() + "_log, 16384)",
                                                   "qelipc_create(app_" + id.str() + ")"}));
}

TEST_F(MainloopTest, FailedConstructionSaysWhy) {
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"shringbuf_init", "node", "Could not initialize shared ring buffer"},
      {"qelipc_create", "my \"node\"",
       "qelipc_create() failed - program with ipc endpoint \"my \\\"node\\\"\" might already be running"},
      {"ctimer_setup_internal", "node", "Invalid parameter"},
      {"ctlcmd_listen_start", "node", "ctlcmd_listen_start() failed with error code -1"}};
  for (const auto& row : rows) {
    set_result(std::get<0>(row), -1);
    EXPECT_THAT([&] { start(std::get<1>(row)); }, testing::ThrowsMessage<std::runtime_error>(std::get<2>(row)));
    fake_platform::clear_result(std::get<0>(row));
  }
  EXPECT_EQ(take_calls().back(), "qelipc_destroy()");
}

TEST_F(MainloopTest, DaemonizeHandsOverArgumentsAndErrors) {
  start();
  take_calls();
  set_result("daemon_start", -114);
  EXPECT_EQ(loop->daemonize(true, false), -114);
  EXPECT_FALSE(loop->daemonized());
  EXPECT_THAT(take_calls(), ElementsAre("daemon_start(1, 0)"));
  fake_platform::clear_result("daemon_start");
  EXPECT_EQ(loop->daemonize(false, true), 0);
  EXPECT_EQ(loop->daemonize(false, true), 0);
  EXPECT_THAT(take_calls(), ElementsAre("daemon_start(0, 1)", ARM_GUARD, "daemon_start(0, 1)",
                                        "ctimer_unsetup_internal(2)", ARM_GUARD));
  // A finished loop is still ready, but does not wait.
  loop->finish();
  EXPECT_TRUE(loop->finished());
  EXPECT_EQ(loop->run(10ms), -1ms);
  EXPECT_THAT(take_calls(), ElementsAre("ctimer_unsetup_internal(2)", "daemon_ready()"));
}

TEST_F(MainloopTest, HouseKeepingComesEverySecondUntilTheLoopIsCleared) {
  start();
  take_calls();
  for (int second = 0; second < 2; ++second) {
    advance_microseconds(1'000'000);
    EXPECT_THAT(take_calls(), ElementsAre("slab_reap()", ARM_SECOND));
  }
  loop->clear();
  advance_microseconds(5'000'000);
  EXPECT_THAT(take_calls(), ElementsAre("ctimer_unsetup_internal(2)"));
}

TEST_F(MainloopTest, FuturesShortenTheNextWait) {
  start();
  std::promise<int> promise;
  int got = 0;
  const auto connection = loop->add_future(promise.get_future(), [&](std::future<int> future) { got = future.get(); });
  EXPECT_EQ(loop->run(0ms), 1ms);
  EXPECT_EQ(loop->count_futures(), 1u);
  // What a callback of the turn completes is delivered in the same turn.
  fake_platform::on_turn([&] { promise.set_value(9); });
  EXPECT_EQ(loop->run(1ms), -1ms);
  EXPECT_EQ(got, 9);
  EXPECT_FALSE(connection.connected());

  fake_platform::on_turn({});
  std::promise<int> other;
  loop->add_future(other.get_future(), [](std::future<int>) {});
  loop->clear_futures();
  EXPECT_EQ(loop->count_futures(), 0u);
}

TEST_F(MainloopTest, WatchesComeAndGo) {
  start();
  const auto first = add_probe(5);
  const auto second = add_probe(6);
  loop->add_watch(first);
  EXPECT_EQ(loop->count_watches(), 3u);
  EXPECT_FALSE(loop->remove_watch(std::make_shared<ProbeWatch>(7, log)));
  take_calls();
  EXPECT_TRUE(loop->remove_watch(first));
  EXPECT_EQ(loop->count_watches(), 2u);
  EXPECT_THAT(take_calls(), ElementsAre("evsock_remove_fd(5)"));
  EXPECT_EQ(first->get_fd(), -1);
  loop->remove_watches();
  EXPECT_THAT(take_calls(), ElementsAre("evsock_remove_fd(6)"));
  EXPECT_EQ(loop->count_watches(), 0u);
  EXPECT_FALSE(loop->remove_watch(second));
  EXPECT_EQ(second.use_count(), 1) << "outside of a turn it is let go at once";
}

TEST_F(MainloopTest, AHandlerMayRemoveItsOwnWatchOrAll) {
  start();
  fake_platform::on_turn([] {
    trigger(5, Event::READABLE);
    trigger(6, Event::READABLE);
  });
  for (const bool all : {false, true}) {
    log.clear();
    auto watch = std::make_shared<ProbeWatch>(5, log);
    watch->when_readable = [this, all, weak = std::weak_ptr<ProbeWatch>(watch)] {
      if (all) {
        loop->remove_watches();
      } else {
        loop->remove_watch(weak.lock());
      }
    };
    loop->add_watch(watch);
    std::weak_ptr<ProbeWatch> witness = watch;
    watch.reset();
    loop->run(0ms);
    EXPECT_THAT(log, ElementsAre("readable", "still alive", "dies"));
    EXPECT_TRUE(witness.expired());
  }
}

TEST_F(MainloopTest, ForwardsToIpcShellAndWatchdogAndLogsFailures) {
  start();
  take_calls();
  const auto module = loop->create_ctlcmd_module("mesh", nullptr);
  EXPECT_EQ(loop->get_ctlcmd_module("mesh"), module);
  EXPECT_TRUE(loop->remove_ctlcmd_module("mesh"));
  EXPECT_FALSE(loop->remove_ctlcmd_module("mesh"));
  loop->trigger_watchdog();
  EXPECT_TRUE(loop->send_command("mesh", "SHOW all"));
  EXPECT_TRUE(loop->send_qelipc_message("peer", "hello"));
  EXPECT_TRUE(loop->send_qelipc_event("link", "up", 2));
  EXPECT_THAT(take_calls(), ElementsAre("watchdog_evsock_trigger()", "ctlcmd_docommand(mesh, SHOW all)",
                                        "qelipc_msg_send(peer, hello)", "qelipc_event_send(link, up)"));
  set_result("ctlcmd_docommand", -1);
  set_result("qelipc_msg_send", -6);
  set_result("qelipc_event_send", -107);
  EXPECT_FALSE(loop->send_command("mesh", "SHOW"));
  EXPECT_FALSE(loop->send_qelipc_message("the \"peer\"", "say \"hi\""));
  EXPECT_FALSE(loop->send_qelipc_event("link \\", "up", 2));
  const auto calls = take_calls();
  EXPECT_EQ(calls.at(2),
            "errmsg(%s: %s, mainloop: Failed to send qelipc message \"say \\\"hi\\\"\" to destination \"the "
            "\\\"peer\\\"\")");
  EXPECT_EQ(calls.at(4),
            "errmsg(%s: %s, mainloop: Failed to send qelipc event \"link \\\\\" with parameter of size 2)");

  std::string heard;
  loop->register_qelipc_event_notifier(
      "link",
      [](qelipc*, const char* event, void* data, unsigned size, void* context) {
        *static_cast<std::string*>(context) = std::string(event) + ' ' + std::string(static_cast<char*>(data), size);
      },
      &heard);
  EXPECT_EQ(heard, "link up");
}

TEST_F(MainloopTest, AStartAsADaemonAndAnEndThatFailAreLogged) {
  set_result("daemon_start", -5);
  start("node", true);
  EXPECT_THAT(take_calls(), testing::Contains("errmsg(%s: %s, mainloop: Failed to start as a daemon, error -5)"));
  set_result("ctimer_unsetup_internal", -4);
  loop.reset();
  const auto calls = take_calls();
  EXPECT_EQ(calls.at(1), "errmsg(%s: %s, mainloop: Failed to clear the main loop: Changed handle)");
  EXPECT_THAT(calls, testing::Contains("evsock_exit()"));
}

/// Prints the calls that are still to come when the process exits.
void print_calls_at_exit() {
  std::atexit([] {
    for (const auto& call : take_calls()) {
      std::fprintf(stderr, "%s\n", call.c_str());
    }
  });
}

TEST(MainloopDeathTest, ALoopThatDoesNotTurnFailsTheStart) {
  EXPECT_EXIT(
      {
        fake_platform::reset();
        Mainloop loop("node", true);
        take_calls();
        advance_microseconds(14'999'999);
        const bool early = testing::Value(take_calls(), testing::Contains("daemon_start_failed()"));
        print_calls_at_exit();
        advance_microseconds(early ? 0 : 1);
        std::_Exit(9);
      },
      testing::ExitedWithCode(1), "daemon_start_failed\\(\\)");
}

TEST(MainloopDeathTest, TheLoopOfTheProcessIsMadeOnceAndDestroyedAtExitBeforeItsRing) {
  EXPECT_EXIT(
      {
        fake_platform::reset();
        print_calls_at_exit();
        Mainloop& loop = Mainloop::get("first", false);
        if (&Mainloop::get("second", true) != &loop || loop.get_name() != "first" || loop.daemonized()) {
          std::_Exit(9);
        }
        take_calls();
        std::exit(0);
      },
      testing::ExitedWithCode(0),
      "watchdog_evsock_exit\\(\\)\n(.*\n)*evsock_exit\\(\\)\n(.*\n)*shringbuf_deinit\\(\\)");
}

}  // namespace
}  // namespace qel::daemon
