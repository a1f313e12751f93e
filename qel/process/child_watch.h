#pragma once

#include <sys/types.h>

#include <functional>
#include <list>
#include <optional>

#include "qel/core/export.h"
#include "qel/daemon/timer.h"
#include "qel/process/signal_watch.h"

namespace qel::daemon {

/// Reports the exit of child processes inside the main loop, and waits for them so that they do not remain as zombies.
/// Children that were not added are ignored. It takes over SIGCHLD, so a process can have only one:
///
///     const auto children = std::make_shared<ChildWatch>();
///     loop.add_watch(children);
///     children->add(fork_and_exec(...), [](int status) { ... });
class QEL_EXPORT ChildWatch final : public SignalWatch {
 public:
  /// Receives the status in the format of waitpid(2), or -1 if something else has already waited for the child. It may
  /// add and remove children.
  using EndHandler = std::function<void(int status)>;

  /// Stops ignoring SIGCHLD, which may have been ignored since before the process started. Throws std::system_error.
  ChildWatch();

  /// Calls the handler once, in a later turn, when the child has exited, even if it has exited already.
  void add(pid_t child, EndHandler handler);
  /// Leaves waiting for the child to the caller from now on. Returns false if the child is not watched.
  bool remove(pid_t child);

 private:
  struct Child {
    pid_t pid;
    EndHandler handler;
    std::optional<int> status;  ///< set once the child has exited
  };

  void reap();
  void reap_soon();

  std::list<Child> children_;
  time::Timer soon_;
};

}  // namespace qel::daemon
