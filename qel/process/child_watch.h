#pragma once

#include <sys/types.h>

#include <functional>
#include <list>
#include <optional>

#include "qel/core/export.h"
#include "qel/daemon/timer.h"
#include "qel/process/signal_watch.h"

namespace qel::daemon {

/// Tells inside the main loop when child processes end, and waits for them, so that none is left as a zombie. Children
/// that were not added are left alone. It takes SIGCHLD, so a process has one:
///
///     const auto children = std::make_shared<ChildWatch>();
///     loop.add_watch(children);
///     children->add(fork_and_exec(...), [](int status) { ... });
class QEL_EXPORT ChildWatch final : public SignalWatch {
 public:
  /// Gets the status as waitpid(2) has it, or -1 when somebody else has waited for the child. It may add and remove
  /// children.
  using EndHandler = std::function<void(int status)>;

  /// A SIGCHLD that was ignored, perhaps since before the process was started, is not ignored any more. Throws
  /// std::system_error.
  ChildWatch();

  /// Has the handler called once, in a later turn, when the child has ended, also if it has ended already.
  void add(pid_t child, EndHandler handler);
  /// From now on the child is the caller's to wait for. False when it is not watched.
  bool remove(pid_t child);

 private:
  struct Child {
    pid_t pid;
    EndHandler handler;
    std::optional<int> status;  ///< once it has ended
  };

  void reap();
  void reap_soon();

  std::list<Child> children_;
  time::Timer soon_;
};

}  // namespace qel::daemon
