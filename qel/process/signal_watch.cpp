#include "qel/process/signal_watch.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace qel::daemon {

namespace {

sigset_t set_of(const std::vector<int>& signals) {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : signals) {
    if (sigaddset(&set, signal) != 0) {
      throw std::system_error(errno, std::generic_category(), "sigaddset");
    }
  }
  return set;
}

}  // namespace

BlockedSignals::BlockedSignals(const std::vector<int>& signals) : set_(set_of(signals)) {
  sigset_t before;
  sigprocmask(SIG_BLOCK, &set_, &before);
  sigemptyset(&blocked_here_);
  for (const int signal : signals) {
    if (sigismember(&before, signal) == 0) {
      sigaddset(&blocked_here_, signal);
    }
  }
}

BlockedSignals::~BlockedSignals() { sigprocmask(SIG_UNBLOCK, &blocked_here_, nullptr); }

SignalWatch::SignalWatch(const std::vector<int>& signals, Handler handler)
    : ISimpleFDWatch(-1, "signals"),
      blocked_(signals),
      handler_(std::move(handler)),
      signals_(signalfd(-1, &blocked_.get_set(), SFD_CLOEXEC)) {
  if (signals_.get() < 0) {
    throw std::system_error(errno, std::generic_category(), "signalfd");
  }
}

SignalWatch::~SignalWatch() {
  // The platform must release the descriptor while it is still open.
  SignalWatch::remove_from_evsock();
}

void SignalWatch::on_readable() {
  signalfd_siginfo info;
  if (::read(signals_.get(), &info, sizeof(info)) == static_cast<ssize_t>(sizeof(info))) {
    handler_(static_cast<int>(info.ssi_signo));
  }
}

void SignalWatch::on_writable() {}

evsock* SignalWatch::add_to_evsock_impl() {
  set_fd(signals_.get());
  return ISimpleFDWatch::add_to_evsock_impl();
}

}  // namespace qel::daemon
