#include "platform/include/qeldaemon.h"

#include <sys/un.h>

#include "platform/include/qelipc.h"
#include "platform/include/qellog.h"
#include "tests/platform/children.h"
#include "tests/platform/private_bus.h"
#include "tests/platform/turns.h"

namespace {

/// A datagram socket with a path, like that of a service manager or a system log.
class DatagramServer {
 public:
  explicit DatagramServer(const std::string& name) : path_("/tmp/" + unique_name(name)) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    fd_ = socket(AF_UNIX, SOCK_DGRAM, 0);
    const timeval bound = {BOUND.count(), 0};
    setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &bound, sizeof bound);
    EXPECT_EQ(bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }
  ~DatagramServer() {
    close(fd_);
    unlink(path_.c_str());
  }

  const char* path() const { return path_.c_str(); }
  /// Returns the next datagram; empty if none arrives.
  std::string receive() {
    char text[4096];
    const ssize_t count = recv(fd_, text, sizeof text, 0);
    return {text, count > 0 ? static_cast<std::size_t>(count) : 0};
  }
  bool has_one() const {
    char octet;
    return recv(fd_, &octet, 1, MSG_PEEK | MSG_DONTWAIT) > 0;
  }

 private:
  std::string path_;
  int fd_;
};

TEST(DaemonStart, TheCommandWaitsForReadinessAndTheLoopLivesOnInTheBackground) {
  Pair reports = Pair::sockets();
  const pid_t command = start_child([&] {
    evsock_init();
    // Armed and registered before the fork.
    bool fired = false;
    Timer timer{[&] { fired = true; }};
    timer.start(10, 1000);
    char got = 0;
    Watch watch{[&] { got = next_octet(reports[1]); }};
    watch.add(reports[1]);
    const pid_t before = getpid();
    EXPECT_EQ(daemon_start(0, 0), 0);
    EXPECT_TRUE(getpid() != before && getsid(0) == getpid());
    alarm(60);
    EXPECT_TRUE(turn_until([&] { return fired && got == 'g'; }));
    say(reports[1], 'T');
    turn_until([&] { return got == 'r'; });
    EXPECT_EQ(daemon_start(0, 0), -EALREADY);
    daemon_ready();
    daemon_ready();
    EXPECT_EQ(std::filesystem::current_path(), "/");
    turn_until([&] { return got == 'q'; });
    say(reports[1], testing::Test::HasFailure() ? 'F' : 'Q');
    return 0;
  });
  reports.close_end(1);
  say(reports[0], 'g');
  EXPECT_EQ(next_octet(reports[0]), 'T');
  int status;
  EXPECT_EQ(waitpid(command, &status, WNOHANG), 0) << "the command has to wait";
  say(reports[0], 'r');
  EXPECT_EQ(end_of(command), 0);
  say(reports[0], 'q');
  EXPECT_EQ(next_octet(reports[0]), 'Q');
  EXPECT_EQ(next_octet(reports[0]), '\0') << "the daemon ends";
}

TEST(DaemonStart, TheCommandFailsWithTheDaemon) {
  const std::pair<void (*)(), int> rows[] = {
      {daemon_ready, 0}, {daemon_start_failed, 1}, {[] { _exit(0); }, 1}, {[] { raise(SIGKILL); }, 1}};
  for (const auto& [as_daemon, status] : rows) {
    const pid_t command = start_child([as_daemon = as_daemon] {
      if (daemon_start(1, 1) == 0) {
        as_daemon();
      }
      return 0;
    });
    EXPECT_EQ(end_of(command), status);
  }
}

TEST(DaemonStart, TheDaemonOutlivesACommandThatWasKilled) {
  Pair reports = Pair::sockets();
  const pid_t command = start_child([&] {
    daemon_start(1, 1);
    alarm(60);
    say(reports[1], 's');
    next_octet(reports[1]);
    daemon_ready();
    say(reports[1], 'R');
    return 0;
  });
  reports.close_end(1);
  EXPECT_EQ(next_octet(reports[0]), 's');
  kill(command, SIGKILL);
  EXPECT_EQ(end_of(command), -SIGKILL);
  say(reports[0], 'k');
  EXPECT_EQ(next_octet(reports[0]), 'R');
}

TEST(DaemonStart, UnderAServiceManagerNothingIsForkedAndLifeIsReportedWhileTheLoopTurns) {
  DatagramServer manager("manager");
  Pair stop = Pair::sockets();
  const pid_t child = start_child([&] {
    setenv("NOTIFY_SOCKET", manager.path(), 1);
    setenv("WATCHDOG_USEC", "20000", 1);
    const pid_t before = getpid();
    EXPECT_EQ(daemon_start(0, 0), 0);
    EXPECT_EQ(getpid(), before);
    daemon_ready();
    daemon_start_failed();
    EXPECT_EQ(evsock_init(), 0);
    EXPECT_EQ(watchdog_evsock_init("loop"), 0);
    bool stopped = false;
    Watch watch{[&] { stopped = true; }};
    watch.add(stop[1]);
    turn_until([&] { return stopped; });
    watchdog_evsock_exit();
    watchdog_evsock_trigger();
    return evsock_select_with_msecs(50) <= 1 ? 0 : 1;
  });
  EXPECT_EQ(manager.receive(), "STATUS=starting");
  EXPECT_EQ(manager.receive(), "READY=1\nSTATUS=running");
  EXPECT_EQ(manager.receive(), "STATUS=start failed");
  EXPECT_EQ(manager.receive(), "WATCHDOG=1\nSTATUS=loop: watched");
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(manager.receive(), "WATCHDOG=1");
  }
  say(stop[0], 's');
  EXPECT_EQ(end_of(child), 0);
}

TEST(DaemonStart, LifeIsReportedTwiceInTheInterval) {
  DatagramServer manager("watchdog");
  EXPECT_EQ(end_of(start_child([&] {
              setenv("NOTIFY_SOCKET", manager.path(), 1);
              setenv("WATCHDOG_USEC", "200000", 1);
              evsock_init();
              // Timers fire in order of expiry, however late the turn is: the keep-alive after 100 ms comes in between.
              Timer early{[&] { EXPECT_FALSE(manager.has_one()); }};
              bool reported = false;
              Timer late{[&] { reported = manager.has_one(); }};
              early.start(60, 1000);
              EXPECT_EQ(watchdog_evsock_init("loop"), 0);
              EXPECT_THAT(manager.receive(), HasSubstr("watched"));
              late.start(190, 1000);
              turn_until([&] { return late.handle == nullptr; });
              return reported ? 0 : 1;
            })),
            0);
}

TEST(DaemonStart, ALostBusIsAnError) {
  PrivateBus bus;
  Pair reports = Pair::sockets();
  const pid_t command = start_child([&] {
    evsock_init();
    EXPECT_NE(qelipc_create("daemon"), nullptr);
    bus.stop();
    say(reports[1], daemon_start(1, 1) < 0 ? 'L' : 'F');
    return 0;
  });
  EXPECT_EQ(next_octet(reports[0]), 'L');
  end_of(command);
}

TEST(SystemLog, ADaemonLogsWithoutWaitingForTheLog) {
  DatagramServer log("log");
  Pair reports = Pair::sockets();
  const pid_t command = start_child([&] {
    setenv("QELLOG_SYSLOG_SOCKET", log.path(), 1);
    daemon_start(0, 0);
    alarm(60);
    daemon_ready();
    infomsg("LOG: net: up\nand more");
    errmsg("net: down");
    for (int i = 0; i < 5000; ++i) {
      infomsg("flood");
    }
    say(reports[1], qellog_lost() > 0 ? 'L' : 'F');
    next_octet(reports[1]);  // waits until it was drained
    infomsg("after");
    return 0;
  });
  ASSERT_EQ(end_of(command), 0);
  EXPECT_EQ(next_octet(reports[0]), 'L');
  EXPECT_THAT(log.receive(),
              MatchesRegex("<30>[A-Z][a-z][a-z] [ 0-9][0-9] [0-9:]* test_platform.[0-9]+.: LOG: net: up"));
  EXPECT_THAT(log.receive(), EndsWith(": and more"));
  EXPECT_THAT(log.receive(), StartsWith("<27>"));
  // The socket holds no more than the kernel queues, and the daemon waits for this.
  say(reports[0], 'd');
  std::string last = "flood";
  while (last.find("flood") != std::string::npos) {
    last = log.receive();
  }
  EXPECT_THAT(last, HasSubstr("message lines lost"));
}

}  // namespace
