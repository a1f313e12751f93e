#include "qel/process/child_watch.h"

#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <utility>

namespace qel::daemon {

namespace {

/// The status of a child that has exited.
std::optional<int> status_of(pid_t child) {
  int status = 0;
  const pid_t ended = ::waitpid(child, &status, WNOHANG);
  return ended == 0 ? std::nullopt : std::optional(ended == child ? status : -1);
}

/// The kernel does not report children to a process that ignores the signal.
void heed_sigchld() {
  struct sigaction action {};
  if (::sigaction(SIGCHLD, nullptr, &action) != 0) {
    return;
  }
  if (action.sa_handler == SIG_IGN) {
    ::signal(SIGCHLD, SIG_DFL);
  } else if ((action.sa_flags & SA_NOCLDWAIT) != 0) {
    action.sa_flags &= ~SA_NOCLDWAIT;
    ::sigaction(SIGCHLD, &action, nullptr);
  }
}

}  // namespace

ChildWatch::ChildWatch() : SignalWatch({SIGCHLD}, [this](int) { reap(); }) { heed_sigchld(); }

void ChildWatch::add(pid_t child, EndHandler handler) {
  children_.push_back({child, std::move(handler), {}});
  reap_soon();
}

bool ChildWatch::remove(pid_t child) {
  const auto found = std::ranges::find(children_, child, &Child::pid);
  if (found == children_.end()) {
    return false;
  }
  children_.erase(found);
  return true;
}

void ChildWatch::reap() {
  for (Child& child : children_) {
    if (!child.status) {
      child.status = status_of(child.pid);
    }
  }
  for (;;) {
    const auto ended = std::ranges::find_if(children_, [](const Child& child) { return child.status.has_value(); });
    if (ended == children_.end()) {
      return;
    }
    // Removed from the list first, because the handler may change it.
    std::list<Child> taken;
    taken.splice(taken.end(), children_, ended);
    try {
      taken.front().handler(*taken.front().status);
    } catch (...) {
      reap_soon();  // other exits are not reported again
      throw;
    }
  }
}

void ChildWatch::reap_soon() {
  soon_.start(std::chrono::seconds(0), [this] { reap(); });
}

}  // namespace qel::daemon
