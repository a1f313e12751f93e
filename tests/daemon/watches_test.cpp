#include "qel/daemon/watches.h"

#include "tests/daemon/fixture.h"
#include "tests/daemon/probe_watch.h"

namespace qel::daemon {
namespace {

using fake_platform::Event;
using fake_platform::take_calls;
using fake_platform::trigger;
using testing::ElementsAre;
using testing::IsEmpty;

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

TEST_F(WatchesTest, ASimpleWatchLives) {
  {
    ProbeWatch watch(5, log);
    EXPECT_EQ(watch.get_handle(), nullptr);
    watch.remove_from_evsock();
    EXPECT_THAT(take_calls(), IsEmpty());
    EXPECT_EQ(watch.get_fd(), -1);
  }
  {
    ProbeWatch watch(5, log);
    watch.add_to_evsock();
    EXPECT_NE(watch.get_handle(), nullptr);
    EXPECT_THAT(take_calls(), ElementsAre("evsock_add_fd(5, probe, xx--, null)", "evsock_fd_blocking(5)"));
    log.clear();
    trigger(5, Event::READABLE);
    trigger(5, Event::WRITABLE);
    EXPECT_FALSE(trigger(5, Event::AUX_1));
    EXPECT_THAT(log, ElementsAre("readable", "writable"));
    watch.remove_from_evsock();
    EXPECT_THAT(take_calls(), ElementsAre("evsock_remove_fd(5)"));
    EXPECT_EQ(watch.get_fd(), -1);
    EXPECT_EQ(watch.get_handle(), nullptr);
  }
  EXPECT_THAT(take_calls(), IsEmpty());
}

TEST_F(WatchesTest, AGenericWatchHasFourHandlersAndUnregistersWhenItDies) {
  {
    GenericProbe watch(log);
    watch.add_to_evsock();
    for (const Event event : {Event::READABLE, Event::WRITABLE, Event::AUX_1, Event::AUX_2}) {
      trigger(6, event);
    }
    EXPECT_THAT(log, ElementsAre("readable", "writable", "aux 1", "aux 2"));
    EXPECT_THAT(take_calls(), ElementsAre("evsock_add_fd(6, generic, xxxx, null)", "evsock_fd_blocking(6)"));
  }
  EXPECT_THAT(take_calls(), ElementsAre("evsock_remove_fd(6)"));
}

TEST_F(WatchesTest, AddingAgainDropsTheLiveHandleAndARefusalIsLogged) {
  ProbeWatch watch(5, log);
  watch.add_to_evsock();
  take_calls();
  fake_platform::set_result("evsock_add_fd", -1);
  watch.add_to_evsock();
  EXPECT_EQ(watch.get_handle(), nullptr);
  EXPECT_THAT(take_calls(), ElementsAre("evsock_remove_fd(5)", "evsock_add_fd(5, probe, xx--, null)",
                                        "errmsg(%s: %s, mainloop: Failed to watch probe)"));
}

}  // namespace
}  // namespace qel::daemon
