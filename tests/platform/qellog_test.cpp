#include "platform/include/qellog.h"

#include <fcntl.h>

#include "tests/platform/turns.h"

namespace {

/// Replaces standard error with one end of a pair during a test.
class StandardErrorInto {
 public:
  explicit StandardErrorInto(int fd) : saved_(dup(STDERR_FILENO)) { dup2(fd, STDERR_FILENO); }
  ~StandardErrorInto() {
    dup2(saved_, STDERR_FILENO);
    close(saved_);
  }

 private:
  int saved_;
};

std::string take(int fd) {
  fcntl(fd, F_SETFL, O_NONBLOCK);
  std::string text;
  char octets[4096];
  for (ssize_t count; (count = read(fd, octets, sizeof octets)) > 0;) {
    text.append(octets, static_cast<std::size_t>(count));
  }
  return text;
}

TEST(Messages, LevelsComponentsAndLinesWithPrioritiesUnderAServiceManager) {
  const std::string large(5000, 'x');
  const std::string expected[] = {
      "DEBUG: timers: shown\nNOTE: net: up\nERROR: net: first\nERROR: second\n\n" + large + "\n",
      "<7>DEBUG: timers: shown\n<6>NOTE: net: up\n<3>ERROR: net: first\n<3>ERROR: second\n<6>\n<6>" + large + "\n"};
  debughandle* handle = debug_gethandle("timers");
  EXPECT_EQ(debug_gethandle("timers"), handle);
  for (const bool managed : {false, true}) {
    const Pair pair = Pair::sockets();
    const StandardErrorInto redirected(pair[1]);
    managed ? setenv("NOTIFY_SOCKET", "/nonexistent", 1) : unsetenv("NOTIFY_SOCKET");
    debug_handle_set(handle, 0);
    debugmsg(handle, "%s", "hidden");
    debug_handle_set(handle, 1);
    EXPECT_EQ(debug_handle_value(handle), 1);
    debugmsg(handle, "%s", "shown");
    debugmsg(debug_gethandle("tasks"), "%s", "hidden");
    debugmsg(nullptr, "%s", "nobody's");
    infomsg("NOTE: %s: %s", "net", "up");
    errmsg("%s: %s", "net", "first\nsecond\n");
    infomsg("%s", "");
    infomsg("%s", large.c_str());
    EXPECT_EQ(take(pair[0]), expected[managed ? 1 : 0]);
  }
  unsetenv("NOTIFY_SOCKET");
}

TEST(Messages, AStuckReaderDelaysNothingAndTheLossIsCountedAndSaid) {
  for (const bool is_pipe : {false, true}) {
    const Pair pair = is_pipe ? Pair::pipe() : Pair::sockets();
    const StandardErrorInto redirected(pair[1]);
    const unsigned long lost_before = qellog_lost();
    const std::string line(200, '.');
    for (int i = 0; i < 20000; ++i) {
      infomsg("%d %s", i, line.c_str());  // would hang the test if it blocked
    }
    const unsigned long lost = qellog_lost() - lost_before;
    ASSERT_GT(lost, 0u);
    const std::string got = take(pair[0]);
    EXPECT_THAT(got, StartsWith("0 " + line + "\n1 "));
    infomsg("alive");
    infomsg("again");
    const std::string afterwards = take(pair[0]);
    EXPECT_THAT(afterwards, EndsWith(" message lines lost\nalive\nagain\n"));

    // Sometimes a short report fits where no line does; the reports add up to the loss.
    std::istringstream lines(got + afterwards);
    unsigned long reported = 0;
    unsigned long shown = 0;
    for (std::string text; std::getline(lines, text);) {
      const bool is_report = text.find(" message lines lost") != std::string::npos;
      (is_report ? reported : shown) += is_report ? std::stoul(text) : 1;
    }
    EXPECT_EQ(reported, lost);
    EXPECT_EQ(shown + lost, 20002u);
  }
}

}  // namespace
