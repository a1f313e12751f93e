#include "tools/meshd/signal_watch.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

namespace meshd {

namespace {

sigset_t set_of(std::initializer_list<int> signals) {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : signals) {
    sigaddset(&set, signal);
  }
  return set;
}

}  // namespace

void block_signals(std::initializer_list<int> signals) {
  const sigset_t set = set_of(signals);
  sigprocmask(SIG_BLOCK, &set, nullptr);
}

SignalWatch::SignalWatch(std::initializer_list<int> signals, Handler handler)
    : ISimpleFDWatch(-1, "signals"), handler_(std::move(handler)) {
  const sigset_t set = set_of(signals);
  signals_ = qel::FileDescriptor(signalfd(-1, &set, SFD_CLOEXEC));
  if (signals_.get() < 0) {
    throw std::system_error(errno, std::generic_category(), "signalfd");
  }
  set_fd(signals_.get());
}

/// Unregisters before the descriptor is closed.
SignalWatch::~SignalWatch() { remove_from_evsock(); }

void SignalWatch::on_readable() {
  signalfd_siginfo info;
  if (read(signals_.get(), &info, sizeof(info)) == sizeof(info)) {
    handler_(static_cast<int>(info.ssi_signo));
  }
}

}  // namespace meshd
