#include "qel/daemon/log.h"

#include <shringbuf.h>

#include <iomanip>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include "tests/daemon/fixture.h"

namespace qel::debug {
namespace {

using fake_platform::ring_lines;
using fake_platform::take_calls;
using testing::ElementsAre;
using testing::IsEmpty;

class LogTest : public FakePlatformTest {
 protected:
  static void set_ring(const char* name) {
    set_shringbuf(std::unique_ptr<shringbuf, shringbuf_deleter>(shringbuf_init(name, 4096)));
  }
};

TEST_F(LogTest, EachLevelGoesItsWay) {
  set_ring("ring");
  take_calls();
  stream("log-a") << "plain" << std::endl;
  stream("log-a") << LogLevels::NOTE << "note " << 1 << std::endl;
  stream("log-a") << LogLevels::LOG << "100%s" << std::endl;
  stream("log-a") << "late level " << LogLevels::ERROR << "counts" << std::endl;
  stream("log-a") << LogLevels(4) << "nowhere" << std::endl;
  stream("log-a") << "debug again" << std::endl;
  EXPECT_THAT(take_calls(),
              ElementsAre("debugmsg(log-a, %s, plain)", "infomsg(NOTE: %s: %s, NOTE: log-a: note 1)",
                          "infomsg(LOG: %s: %s, LOG: log-a: 100%s)", "errmsg(%s: %s, log-a: late level counts)",
                          "debugmsg(log-a, %s, debug again)"));
  EXPECT_THAT(ring_lines(), ElementsAre("%s|log-a: plain", "%s|log-a: note 1", "%s|log-a: 100%s",
                                        "%s|log-a: late level counts", "%s|log-a: nowhere", "%s|log-a: debug again"));
}

TEST_F(LogTest, CutsOneNewlineDropsEveryNulAndPassesLongLines) {
  using namespace std::string_literals;
  stream("log-b") << "two\n\n" << std::flush;
  stream("log-b") << "a\0b\0\n\0"s << std::flush;
  stream("log-b") << "\0"s << std::flush;
  stream("log-b") << std::flush;
  EXPECT_THAT(take_calls(), ElementsAre("debugmsg(log-b, %s, two\n)", "debugmsg(log-b, %s, ab)",
                                        "debugmsg(log-b, %s, )", "debugmsg(log-b, %s, )"));

  const std::string text(3000, 'x');
  stream("log-c") << text << std::endl;
  stream("log-c") << "short" << std::endl;
  EXPECT_THAT(take_calls(), ElementsAre("debugmsg(log-c, %s, " + text + ")", "debugmsg(log-c, %s, short)"));
}

TEST_F(LogTest, AStreamIsMadeOnceAndRecoversFromFailure) {
  std::ostream& first = stream("log-d");
  EXPECT_NE(&first, &stream("log-e"));
  first << static_cast<std::streambuf*>(nullptr) << "lost" << std::endl;
  EXPECT_TRUE(first.bad());
  EXPECT_EQ(&first, &(stream("log-d") << "back" << std::endl));
  EXPECT_THAT(take_calls(), ElementsAre("debugmsg(log-d, %s, back)"));
}

TEST_F(LogTest, LevelsArePrintedOnOtherStreamsAndParsedExactly) {
  std::ostringstream os;
  os << LogLevels::NOTE << LogLevels::DEBUG << LogLevels::LOG << LogLevels::ERROR << LogLevels(-1);
  EXPECT_EQ(os.str(), "NOTEDEBUGLOGERRORINVALID_LOG_LEVEL");
  // The mark travels with the format, but makes no log stream of another one.
  std::ostringstream copy;
  copy.copyfmt(stream("log-f"));
  copy << LogLevels::LOG;
  EXPECT_EQ(copy.str(), "LOG");

  EXPECT_EQ(string_to_loglevels("NOTE"), LogLevels::NOTE);
  EXPECT_EQ(string_to_loglevels("DEBUG"), LogLevels::DEBUG);
  EXPECT_EQ(string_to_loglevels("LOG"), LogLevels::LOG);
  EXPECT_EQ(string_to_loglevels("ERROR"), LogLevels::ERROR);
  for (const char* text : {"debug", "", "ERROR ", "INVALID_LOG_LEVEL"}) {
    EXPECT_THAT([text] { string_to_loglevels(text); }, testing::ThrowsMessage<std::out_of_range>("map::at")) << text;
  }
}

TEST_F(LogTest, EnableSwitchesTheComponentAloneAndTheSettingsOnlyKeepTheirValues) {
  enable("log-g", true);
  enable("log-g", false);
  EXPECT_THAT(take_calls(), ElementsAre("debug_handle_set(log-g, 1)", "debug_handle_set(log-g, 0)"));
  set_log_level(LogLevels::ERROR);
  set_log_all_debugs(true);
  EXPECT_EQ(get_log_level(), LogLevels::ERROR);
  EXPECT_TRUE(get_log_all_debugs());
  stream("log-h") << "shown all the same" << std::endl;
  EXPECT_THAT(take_calls(), ElementsAre("debugmsg(log-h, %s, shown all the same)"));
  set_log_level(LogLevels::DEBUG);
  set_log_all_debugs(false);
}

TEST_F(LogTest, OwnsTheRing) {
  set_ring("first");
  shringbuf* first = get_shringbuf();
  EXPECT_NE(first, nullptr);
  set_ring("second");
  EXPECT_THAT(take_calls(),
              ElementsAre("shringbuf_init(first, 4096)", "shringbuf_init(second, 4096)", "shringbuf_deinit()"));
  set_shringbuf(nullptr);
  EXPECT_EQ(get_shringbuf(), nullptr);
  EXPECT_THAT(take_calls(), ElementsAre("shringbuf_deinit()"));
  stream("log-i") << "without a ring" << std::endl;
  EXPECT_THAT(ring_lines(), IsEmpty());
}

}  // namespace
}  // namespace qel::debug
