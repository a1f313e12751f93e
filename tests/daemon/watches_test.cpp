#include "qel/daemon/watches.h"

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

TEST_F(WatchesTest, AGenericWatchHasFourHandlersAndUnregistersWhenItDies) {
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

}  // namespace
}  // namespace qel::daemon
