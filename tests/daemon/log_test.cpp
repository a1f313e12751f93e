#include "qel/daemon/log.h"

#include <shringbuf.h>

#include "tests/daemon/fixture.h"
#include "tests/support/enumerations.h"

namespace qel::debug {
namespace {

class LogTest : public FakePlatformTest {
 protected:
  static void set_ring(const char* name) {
    set_shringbuf(std::unique_ptr<shringbuf, shringbuf_deleter>(shringbuf_init(name, 4096)));
  }
};

TEST_F(LogTest, EachLevelHasItsOwnOutputAndTheRingGetsAll) {
  set_ring("ring");
  take_calls();
  stream("log-a") << "plain" << std::endl;
  stream("log-a") << LogLevels::NOTE << "note " << 1 << std::endl;
  stream("log-a") << LogLevels::LOG << "100%s" << std::endl;
  stream("log-a") << "late level " << LogLevels::ERROR << "counts" << std::endl;
  stream("log-a") << LogLevels(4) << "nowhere" << std::endl;
  stream("log-a") << "debug again" << std::endl;
  EXPECT_THAT(take_calls(),
              ElementsAre("debugmsg(log-a, %s, plain)", "shringbuf_add(%s, log-a: plain)",
                          "infomsg(NOTE: %s: %s, NOTE: log-a: note 1)", "shringbuf_add(%s, log-a: note 1)",
                          "infomsg(LOG: %s: %s, LOG: log-a: 100%s)", "shringbuf_add(%s, log-a: 100%s)",
                          "errmsg(%s: %s, log-a: late level counts)", "shringbuf_add(%s, log-a: late level counts)",
                          "shringbuf_add(%s, log-a: nowhere)", "debugmsg(log-a, %s, debug again)",
                          "shringbuf_add(%s, log-a: debug again)"));
}

TEST_F(LogTest, RemovesOneNewlineAndEveryNulAndPassesLongLines) {
  using namespace std::string_literals;
  const std::string text(3000, 'x');
  const std::pair<std::string, std::string> rows[] = {
      {"two\n\n", "two\n"}, {"a\0b\0\n\0"s, "ab"}, {"", ""}, {text, text}, {"short", "short"}};
  for (const auto& [line, logged] : rows) {
    stream("log-b") << line << std::flush;
    EXPECT_THAT(take_calls(), ElementsAre("debugmsg(log-b, %s, " + logged + ")"));
  }
}

TEST_F(LogTest, EachLineStartsWithTheDefaultFormat) {
  std::ostream& kept = stream("log-c");
  kept << std::hex << std::showbase << std::boolalpha << std::setprecision(2) << std::setfill('*') << 255 << ' '
       << std::setw(4) << true << ' ' << 3.14159 << std::setw(9) << std::endl;
  kept << 255 << ' ' << true << ' ' << 3.14159 << std::setw(3) << 1 << std::endl;
  EXPECT_THAT(take_calls(), ElementsAre("debugmsg(log-c, %s, 0xff true 3.1)", "debugmsg(log-c, %s, 255 1 3.14159  1)"));
}

TEST_F(LogTest, AStreamIsCreatedOnceAndRecoversFromFailure) {
  std::ostream& first = stream("log-d");
  EXPECT_NE(&first, &stream("log-e"));
  first << static_cast<std::streambuf*>(nullptr) << "lost" << std::endl;
  EXPECT_EQ(&first, &(stream("log-d") << "back" << std::endl));
  EXPECT_THAT(take_calls(), ElementsAre("debugmsg(log-d, %s, back)"));
}

TEST_F(LogTest, LevelsArePrintedOnOtherStreamsAndParsedExactly) {
  std::ostringstream os;
  os.copyfmt(stream("log-f"));  // the mark is copied with the format, but does not make another stream a log stream
  os << LogLevels::NOTE << LogLevels(-1);
  EXPECT_EQ(os.str(), "NOTEINVALID_LOG_LEVEL");
  test::check_enum<LogLevels>("0 NOTE 1 DEBUG 2 LOG 3 ERROR", "INVALID_LOG_LEVEL");
  for (int level = 0; level <= 3; ++level) {
    EXPECT_EQ(string_to_loglevels(loglevels_to_string(LogLevels(level))), LogLevels(level));
  }
  for (const char* text : {"debug", "ERROR "}) {
    EXPECT_THAT([text] { string_to_loglevels(text); }, ThrowsMessage<std::out_of_range>("map::at")) << text;
  }
}

TEST_F(LogTest, EnableSwitchesTheComponentAndTheLevelHasNoEffect) {
  enable("log-g", true);
  enable("log-g", false);
  set_log_level(LogLevels::ERROR);
  EXPECT_EQ(get_log_level(), LogLevels::ERROR);
  stream("log-h") << "shown all the same" << std::endl;
  EXPECT_THAT(take_calls(), ElementsAre("debug_handle_set(log-g, 1)", "debug_handle_set(log-g, 0)",
                                        "debugmsg(log-h, %s, shown all the same)"));
}

TEST_F(LogTest, OwnsTheRing) {
  set_ring("first");
  set_ring("second");
  set_shringbuf(nullptr);
  EXPECT_EQ(get_shringbuf(), nullptr);
  EXPECT_THAT(take_calls(), ElementsAre("shringbuf_init(first, 4096)", "shringbuf_init(second, 4096)",
                                        "shringbuf_deinit()", "shringbuf_deinit()"));
}

}  // namespace
}  // namespace qel::debug
