#include "qel/daemon/mainloop.h"

#include "tests/daemon/fixture.h"
#include "tests/daemon/probe_watch.h"

namespace qel::daemon {
namespace {

constexpr const char* LISTEN =
    "ctlcmd_listen_start(node, HELP: show help, SLABDUMP: show slab allocation, SLABSHOW: show slab information, "
    "QUIT: disconnect)";
constexpr const char* ARM_SECOND = "ctimer_setup_internal(0, 2, 0, 1, 1, 0, 0)";
constexpr const char* ARM_GUARD = "ctimer_setup_internal(0, 2, 0, 15, 1, 0, 0)";

class MainloopTest : public FakePlatformTest {
 protected:
  Mainloop& start(const std::string& name = "node", bool daemonize = false) { return loop.emplace(name, daemonize); }

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
  loop->run(250ms);
  loop->run(Mainloop::DEFAULT_RUN_TIMEOUT);
  loop->trigger_watchdog();
  EXPECT_THAT(take_calls(), ElementsAre("ctimer_unsetup_internal(2)", "daemon_ready()", "evsock_select_with_msecs(250)",
                                        "evsock_select_with_msecs(-1)", "watchdog_evsock_trigger()"));

  const auto module = loop->create_ctlcmd_module("mesh", nullptr);
  module->start();
  loop->add_watch(std::make_shared<ProbeWatch>(5, log));
  take_calls();
  loop.reset();
  EXPECT_THAT(take_calls(), ElementsAre("evsock_remove_fd(5)", "ctimer_unsetup_internal(2)", "watchdog_evsock_exit()",
                                        "ctlcmd_unregister_library(mesh)", "qelipc_msg_unregister()",
                                        "qelipc_destroy()", "evsock_exit()"));
  EXPECT_FALSE(module->is_valid());
  EXPECT_NE(debug::get_shringbuf(), nullptr) << "the ring belongs to the log and stays";
}

TEST_F(MainloopTest, HasADefaultNameAndASmallRingForLittleMemory) {
  set_result("veloenv_VeloHasLittleRAM", 1);
  const std::string name = "app_" + testing::PrintToString(std::this_thread::get_id());
  EXPECT_EQ(start("").get_name(), name);
  EXPECT_THAT(take_calls(), IsSupersetOf({"shringbuf_init(" + name + "_log, 16384)", "qelipc_create(" + name + ")"}));
}

TEST_F(MainloopTest, TheConstructorNamesWhatFailed) {
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"shringbuf_init", "node", "Could not initialize shared ring buffer"},
      {"qelipc_create", "my \"node\"",
       "qelipc_create() failed - program with ipc endpoint \"my \\\"node\\\"\" might already be running"},
      {"ctimer_setup_internal", "node", "Invalid parameter"}};
  for (const auto& [function, name, text] : rows) {
    fake_platform::reset();
    set_result(function, -1);
    EXPECT_THAT(([&, name = name] { start(name); }), ThrowsMessage<std::runtime_error>(text));
  }
  EXPECT_EQ(take_calls().back(), "qelipc_destroy()");
}

TEST_F(MainloopTest, DaemonizePassesArgumentsAndErrorsOn) {
  start();
  take_calls();
  set_result("daemon_start", -114);
  EXPECT_EQ(loop->daemonize(true, false), -114);
  EXPECT_FALSE(loop->daemonized());
  set_result("daemon_start", 0);
  EXPECT_EQ(loop->daemonize(false, true) + loop->daemonize(false, true), 0);
  EXPECT_THAT(take_calls(), ElementsAre("daemon_start(1, 0)", "daemon_start(0, 1)", ARM_GUARD, "daemon_start(0, 1)",
                                        "ctimer_unsetup_internal(2)", ARM_GUARD));
  loop->finish();
  EXPECT_EQ(loop->run(10ms), -1ms);
  EXPECT_THAT(take_calls(), ElementsAre("ctimer_unsetup_internal(2)", "daemon_ready()")) << "it does not wait";
}

TEST_F(MainloopTest, HousekeepingRunsEverySecondUntilTheLoopIsCleared) {
  start();
  take_calls();
  advance_microseconds(1'000'000);
  advance_microseconds(1'000'000);
  loop->clear();
  advance_microseconds(5'000'000);
  EXPECT_THAT(take_calls(),
              ElementsAre("slab_reap()", ARM_SECOND, "slab_reap()", ARM_SECOND, "ctimer_unsetup_internal(2)"));
}

TEST_F(MainloopTest, PollsPendingFutures) {
  constexpr const char* ARM_POLL = "ctimer_setup_internal(0, 2, 0, 1, 1000, 0, 0)";
  start();
  const auto expect_calls = [&](std::chrono::milliseconds timeout, auto matcher) {
    take_calls();
    EXPECT_EQ(loop->run(timeout), 1ms);
    EXPECT_THAT(take_calls(), matcher);
  };
  std::promise<int> late;
  std::promise<int> ready;
  ready.set_value(1);
  loop->add_future(late.get_future(), [](std::future<int>) {});
  expect_calls(-1ms, ElementsAre(ARM_POLL, "evsock_select_with_msecs(-1)"));
  expect_calls(250ms, ElementsAre("evsock_select_with_msecs(250)"));
  advance_microseconds(1'000);

  loop->add_future(ready.get_future(), [](std::future<int>) { throw std::runtime_error("no result"); });
  EXPECT_THROW(loop->run(-1ms), std::runtime_error);
  expect_calls(-1ms, ElementsAre(ARM_POLL, "evsock_select_with_msecs(-1)"));
  loop->clear();
  EXPECT_EQ(loop->run(0ms), -1ms);
}

TEST_F(MainloopTest, AddsAndRemovesWatches) {
  start();
  const auto first = std::make_shared<ProbeWatch>(5, log);
  const auto second = std::make_shared<ProbeWatch>(6, log);
  EXPECT_TRUE(loop->add_watch(first));
  EXPECT_TRUE(loop->add_watch(second));
  EXPECT_TRUE(loop->add_watch(first));
  EXPECT_EQ(loop->count_watches(), 3u);
  take_calls();
  EXPECT_TRUE(loop->remove_watch(first));
  EXPECT_EQ(loop->count_watches(), 2u);
  loop->remove_watches();
  EXPECT_THAT(take_calls(), ElementsAre("evsock_remove_fd(5)", "evsock_remove_fd(6)"));
  EXPECT_FALSE(loop->remove_watch(second));
  EXPECT_EQ(second.use_count(), 1) << "outside of a turn it is let go at once";
}

TEST_F(MainloopTest, LogsWhatFailed) {
  const auto expect_error = [](const std::string& text) {
    EXPECT_THAT(take_calls(), Contains("errmsg(%s: %s, mainloop: Failed to " + text + ")"));
  };
  set_result("daemon_start", -5);
  start("node", true);
  expect_error("start as a daemon, error -5: Input/output error");
  EXPECT_TRUE(loop->send_qelipc_event("link", "up", 2));
  EXPECT_THAT(take_calls(), ElementsAre("qelipc_event_send(link, up)"));
  set_result("qelipc_msg_send", -6);
  EXPECT_FALSE(loop->send_qelipc_message("the \"peer\"", "say \"hi\""));
  expect_error(R"(send qelipc message "say \"hi\"" to destination "the \"peer\"")");
  set_result("qelipc_event_send", -107);
  EXPECT_FALSE(loop->send_qelipc_event("link \\", "up", 2));
  expect_error(R"(send qelipc event "link \\" with parameter of size 2)");
  set_result("ctimer_unsetup_internal", -4);
  loop.reset();
  EXPECT_THAT(take_calls(), IsSupersetOf({"errmsg(%s: %s, mainloop: Failed to clear the main loop: Changed handle)",
                                          "evsock_exit()"}));
}

/// Prints the remaining calls when the process exits.
void print_calls_at_exit() {
  std::atexit([] {
    for (const auto& call : take_calls()) {
      std::fprintf(stderr, "%s\n", call.c_str());
    }
  });
}

TEST(MainloopDeathTest, TheStartFailsIfTheLoopDoesNotRun) {
  EXPECT_EXIT(
      {
        fake_platform::reset();
        Mainloop loop("node", true);
        take_calls();
        advance_microseconds(14'999'999);
        const bool early = testing::Value(take_calls(), Contains("daemon_start_failed()"));
        print_calls_at_exit();
        advance_microseconds(early ? 0 : 1);
        std::_Exit(9);
      },
      testing::ExitedWithCode(1), "daemon_start_failed\\(\\)");
}

TEST(MainloopDeathTest, TheSharedLoopIsCreatedOnceAndDestroyedAtExitBeforeItsRing) {
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
