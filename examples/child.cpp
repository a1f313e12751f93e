// Runs tr(1) as a filter: writes to it through a stream, reads its output, and is notified of its exit. SIGTERM ends it
// early.

#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <exception>
#include <iostream>
#include <memory>
#include <vector>

#include "qel/daemon/evsock_streambuf.h"
#include "qel/daemon/mainloop.h"
#include "qel/process/child_watch.h"
#include "qel/process/signal_watch.h"

namespace {

/// Our end of a socket pair; the other end is the child's standard input and output.
class Filter final : public qel::daemon::ISimpleFDWatch {
 public:
  explicit Filter(int fd) : ISimpleFDWatch(fd, "filter") {}

  /// Called once after registration.
  void on_writable() override {
    qel::daemon::evsock_streambuf buffer(get_handle());
    std::ostream(&buffer) << "in small letters\n" << std::flush;
    shutdown(get_fd(), SHUT_WR);
  }

  void on_readable() override {
    char text[100];
    const ssize_t length = read(get_fd(), text, sizeof text);
    if (length > 0) {
      std::cout.write(text, length);
    } else {
      pause_reading();  // otherwise the end of file would be readable in every turn
    }
  }
};

pid_t start_filter(int connection) {
  const pid_t child = fork();
  if (child == 0) {
    dup2(connection, STDIN_FILENO);
    dup2(connection, STDOUT_FILENO);
    sigset_t none;  // blocked signals are inherited
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execlp("tr", "tr", "a-z", "A-Z", nullptr);
    _exit(127);
  }
  return child;
}

}  // namespace

int main() {
  using namespace qel::daemon;
  try {
    Mainloop loop("example_child", false);
    const auto children = std::make_shared<ChildWatch>();
    int sockets[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) {
      return 1;
    }
    const pid_t child = start_filter(sockets[1]);
    close(sockets[1]);
    loop.add_watch(std::make_shared<Filter>(sockets[0]));
    loop.add_watch(children);
    loop.add_watch(std::make_shared<SignalWatch>(std::vector{SIGTERM}, [&](int) { kill(child, SIGTERM); }));
    children->add(child, [&](int status) {
      std::cout << "tr ended with status " << status << std::endl;
      loop.finish();
    });
    loop.run_until_finished();
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
