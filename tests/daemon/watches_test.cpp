#include "qel/daemon/watches.h"

#include <qelevsock.h>
#include <qelipc.h>

#include "qel/daemon/ctlcmd_shell.h"
#include "qel/daemon/evsock_streambuf.h"
#include "tests/daemon/fixture.h"
#include "tests/daemon/probe_watch.h"

namespace qel::daemon {
namespace {

using fake_platform::trigger;

class GenericProbe final : public IGenericFDWatch {
 public:
  explicit GenericProbe(std::vector<std::string>& log) : IGenericFDWatch(6, "generic"), log_(log) {}
  void on_readable() override { log_.push_back("readable"); }
  void on_writable() override { log_.push_back("writable"); }
  void on_aux_event_1() override { log_.push_back("aux 1"); }
  void on_aux_event_2() override { log_.push_back("aux 2"); }

 private:
  std::vector<std::string>& log_;
};

class WatchesTest : public FakePlatformTest {
 protected:
  std::vector<std::string> log;
};

TEST_F(WatchesTest, ASimpleWatchHasTwoHandlersAndForgetsItsDescriptor) {
  ProbeWatch watch(5, log);
  watch.add_to_evsock();
  trigger(5);
  EXPECT_THAT(log, ElementsAre("readable", "writable"));
  for (int round = 0; round < 2; ++round) {
    watch.want_write();
    watch.pause_reading();
    watch.resume_reading();
    watch.remove_from_evsock();
  }
  EXPECT_EQ(watch.get_fd(), -1);
  EXPECT_EQ(watch.get_handle(), nullptr);
  EXPECT_THAT(take_calls(),
              ElementsAre("evsock_add_fd(5, probe, xx--, null)", "evsock_fd_blocking(5)", "evsock_want_write(5)",
                          "evsock_want_read(5, 0)", "evsock_want_read(5, 1)", "evsock_remove_fd(5)"));
}

TEST_F(WatchesTest, AGenericWatchHasFourHandlersAndUnregistersWhenDestroyed) {
  {
    GenericProbe watch(log);
    watch.add_to_evsock();
    trigger(6);
  }
  EXPECT_THAT(log, ElementsAre("readable", "writable", "aux 1", "aux 2"));
  EXPECT_THAT(take_calls(),
              ElementsAre("evsock_add_fd(6, generic, xxxx, null)", "evsock_fd_blocking(6)", "evsock_remove_fd(6)"));
}

TEST_F(WatchesTest, AddingAgainDropsTheLiveHandleAndARefusalIsLogged) {
  ProbeWatch watch(5, log);
  watch.add_to_evsock();
  take_calls();
  set_result("evsock_add_fd", -1);
  watch.add_to_evsock();
  EXPECT_EQ(watch.get_handle(), nullptr);
  EXPECT_THAT(take_calls(), ElementsAre("evsock_remove_fd(5)", "evsock_add_fd(5, probe, xx--, null)",
                                        "errmsg(%s: %s, mainloop: Failed to watch probe: Bad file descriptor)"));
}

class EvsockStreambufTest : public FakePlatformTest {
 protected:
  /// Opens it on a platform that itself buffers this many octets.
  void open(int platform_buffer) {
    set_result("evsock_getobufsize", platform_buffer);
    buffer = std::make_unique<evsock_streambuf>(
        evsock_add_fd(5, "out", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    take_calls();
  }
  std::unique_ptr<evsock_streambuf> buffer;
};

TEST_F(EvsockStreambufTest, BuffersAsMuchAsThePlatformUpTo512Octets) {
  open(4);
  std::ostream(buffer.get()) << "abcdef" << std::flush;
  EXPECT_THAT(take_calls(), ElementsAre("evsock_bwrite(abcd)", "evsock_bwrite(ef)"));
  open(200'000);
  std::ostream(buffer.get()) << std::string(512, 'x') << 'y' << std::flush;
  EXPECT_THAT(take_calls(), ElementsAre("evsock_bwrite(" + std::string(512, 'x') + ")", "evsock_bwrite(y)"));
}

TEST_F(EvsockStreambufTest, KeepsWhatWasNotWrittenAndFailsWhenThePlatformIsFull) {
  open(8);
  std::ostream os(buffer.get());
  set_result("evsock_bwrite", 3);
  os << "abcdefghij";
  EXPECT_EQ(buffer->pubsync(), -1);
  set_result("evsock_bwrite", 0);
  os << "12345";
  EXPECT_TRUE(os.bad());
  set_result("evsock_bwrite", 100);
  EXPECT_EQ(buffer->pubsync(), 0);
  EXPECT_EQ(buffer->pubsync(), 0);
  EXPECT_THAT(take_calls(), ElementsAre("evsock_bwrite(abcdefgh)", "evsock_bwrite(defghij)", "evsock_bwrite(ghij1234)",
                                        "evsock_bwrite(ghij1234)"));
}

TEST_F(EvsockStreambufTest, FailuresThrowTheErrorNumber) {
  EXPECT_THAT([] { evsock_streambuf(nullptr); }, ThrowsMessage<std::invalid_argument>("received nullptr for evsock"));
  open(8);
  set_result("evsock_bwrite", -32);
  buffer->sputc('x');
  EXPECT_THAT([&] { buffer->pubsync(); }, ThrowsMessage<std::runtime_error>("evsock error: -32"));
}

class CtlcmdTest : public FakePlatformTest {
 protected:
  CtlcmdTest() { take_calls(); }
  std::shared_ptr<qelipc> ipc{qelipc_create("node"), qelipc_destroy};
  Ctlcmd ctlcmd{ipc, "node"};
};

TEST_F(CtlcmdTest, ConstructionFailsWithTexts) {
  EXPECT_THAT([] { Ctlcmd(nullptr, "node"); },
              ThrowsMessage<std::invalid_argument>("_ipc_endpoint contains a nullptr"));
  set_result("ctlcmd_listen_start", -16);
  EXPECT_THAT([this] { Ctlcmd(ipc, "node"); },
              ThrowsMessage<std::runtime_error>("ctlcmd_listen_start() failed with error code -16"));
}

TEST_F(CtlcmdTest, AModuleIsStartedAndStoppedOnce) {
  CtlcmdModule module("mesh", nullptr);
  EXPECT_FALSE(module.is_valid()) << "no shell has made it";
  for (const char* failing : {"ctlcmd_register_library", "ctlcmd_module_set_ctx"}) {
    set_result(failing, -2);
    EXPECT_FALSE(module.start() || module.started());
    set_result(failing, 0);
  }
  EXPECT_THAT(take_calls(), ElementsAre("ctlcmd_register_library(mesh, 0)", "ctlcmd_register_library(mesh, 0)",
                                        "ctlcmd_module_set_ctx(mesh)", "ctlcmd_unregister_library(mesh)"));
  EXPECT_TRUE(module.start());
  EXPECT_TRUE(module.start());
  EXPECT_THAT(take_calls(), ElementsAre("ctlcmd_register_library(mesh, 0)", "ctlcmd_module_set_ctx(mesh)"));
  EXPECT_THROW(module.add_command("LATE", nullptr, ""), std::logic_error);
  module.stop();
  module.stop();
  EXPECT_THAT(take_calls(), ElementsAre("ctlcmd_unregister_library(mesh)"));
}

TEST_F(CtlcmdTest, AModuleStopsWhenItIsReplacedOrRemoved) {
  const auto first = ctlcmd.create_module("mesh", nullptr);
  EXPECT_EQ(ctlcmd.get_module("mesh"), first);
  first->start();
  const auto second = ctlcmd.create_module("mesh", nullptr);
  EXPECT_EQ(take_calls().back(), "ctlcmd_unregister_library(mesh)");
  EXPECT_FALSE(first->is_valid());
  second->start();
  take_calls();
  first->stop();
  EXPECT_THAT(take_calls(), IsEmpty()) << "it must not take the new one's commands away";
  EXPECT_TRUE(ctlcmd.remove_module("mesh"));
  EXPECT_FALSE(ctlcmd.remove_module("mesh"));
  EXPECT_THAT(take_calls(), ElementsAre("ctlcmd_unregister_library(mesh)"));
  EXPECT_EQ(ctlcmd.get_module("mesh"), nullptr);
}

}  // namespace
}  // namespace qel::daemon
