#include "qeldaemon.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "ctimer.h"
#include "platform/linux/export.h"
#include "platform/linux/fork_hooks.h"
#include "platform/linux/loop.h"
#include "platform/linux/message_target.h"
#include "qellog.h"

namespace {

qel::platform::ForkHooks fork_hooks = {[] {}, [] { return 0; }};

struct Daemon {
  bool started = false;
  bool ready = false;
  bool keep_standard_streams = true;
  int verdict_fd = -1;  ///< to the waiting parent, or -1
};
Daemon daemon_state;

constexpr char READY = 'R';

// The parent's part: exits with the child's result.
[[noreturn]] void await_verdict(int fd) {
  char verdict = 0;
  ssize_t count;
  do {
    count = read(fd, &verdict, 1);
  } while (count < 0 && errno == EINTR);
  _exit(count == 1 && verdict == READY ? EXIT_SUCCESS : EXIT_FAILURE);
}

int go_into_background(bool nochdir) {
  int verdict[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, verdict) != 0) {
    return -errno;
  }
  fork_hooks.before();
  const pid_t child = fork();
  if (child > 0) {
    close(verdict[1]);
    await_verdict(verdict[0]);
  }
  const int error = errno;
  close(verdict[0]);
  if (child < 0) {
    close(verdict[1]);
    fork_hooks.after_in_child();
    return -error;
  }
  daemon_state.verdict_fd = verdict[1];
  setsid();
  if (auto* loop = qel::platform::Loop::peek()) {
    loop->forked();
  }
  const int result = fork_hooks.after_in_child();
  return !nochdir && chdir("/") != 0 ? -errno : result;
}

void close_standard_streams() {
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (null < 0) {
    return;
  }
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    dup2(null, fd);
  }
  if (null > STDERR_FILENO) {
    close(null);
  }
}

bool has_service_manager() { return getenv("NOTIFY_SOCKET") != nullptr; }

struct Watchdog {
  ctimerhandle timer = nullptr;
  int period_ms = 0;  ///< 0: no watchdog
};
Watchdog watchdog;

void report_life() { sd_notify(0, "WATCHDOG=1"); }

int arm_watchdog();

void watchdog_due(ctimerhandle, void*) {
  report_life();
  if (arm_watchdog() != 0) {
    errmsg("cannot arm the watchdog's timer");
  }
}

int arm_watchdog() {
  return ctimer_setup_internal(0, &watchdog.timer, CTIMER_ONESHOT, 0, watchdog.period_ms, 1000, watchdog_due, nullptr,
                               0, 0);
}

}  // namespace

void qel::platform::set_fork_hooks(const ForkHooks& hooks) { fork_hooks = hooks; }

extern "C" {

QEL_EXPORT int daemon_start(int nochdir, int noclose) {
  if (daemon_state.started) {
    return -EALREADY;
  }
  if (has_service_manager()) {
    sd_notify(0, "STATUS=starting");
  } else {
    const int result = go_into_background(nochdir != 0);
    if (result != 0) {
      return result;
    }
    daemon_state.keep_standard_streams = noclose != 0;
  }
  daemon_state.started = true;
  return 0;
}

QEL_EXPORT void daemon_ready(void) {
  if (daemon_state.ready) {
    return;
  }
  daemon_state.ready = true;
  sd_notify(0, "READY=1\nSTATUS=running");
  if (daemon_state.verdict_fd < 0) {
    return;
  }
  // The parent may have been killed in the meantime; the daemon still works.
  send(daemon_state.verdict_fd, &READY, 1, MSG_NOSIGNAL);
  close(daemon_state.verdict_fd);
  daemon_state.verdict_fd = -1;
  qel::platform::use_system_log();
  if (!daemon_state.keep_standard_streams) {
    close_standard_streams();
  }
}

QEL_EXPORT void daemon_start_failed(void) {
  sd_notify(0, "STATUS=start failed");
  if (daemon_state.verdict_fd >= 0) {
    close(daemon_state.verdict_fd);  // closing it without a result tells the parent that the start failed
    daemon_state.verdict_fd = -1;
  }
}

QEL_EXPORT int watchdog_evsock_init(const char* name) {
  watchdog_evsock_exit();
  std::uint64_t interval = 0;
  const int enabled = sd_watchdog_enabled(0, &interval);
  if (enabled <= 0) {
    return enabled;
  }
  // Half the interval, but at least the loop's resolution of a millisecond and at most the maximum of a timer.
  const std::uint64_t half_ms = interval / 2000;
  watchdog.period_ms = static_cast<int>(half_ms < 1 ? 1 : half_ms > INT32_MAX ? INT32_MAX : half_ms);
  sd_notifyf(0, "WATCHDOG=1\nSTATUS=%s: watched", name != nullptr ? name : "");
  return arm_watchdog() == 0 ? 0 : -ENOMEM;
}

QEL_EXPORT void watchdog_evsock_trigger(void) {
  if (watchdog.period_ms > 0) {
    report_life();
  }
}

QEL_EXPORT void watchdog_evsock_exit(void) {
  if (watchdog.timer != nullptr) {
    ctimer_unsetup_internal(&watchdog.timer, CTIMER_ONESHOT);
  }
  watchdog.period_ms = 0;
}

}  // extern "C"
