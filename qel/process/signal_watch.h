#pragma once

#include <signal.h>

#include <functional>
#include <vector>

#include "qel/core/export.h"
#include "qel/daemon/watches.h"
#include "qel/net/file_descriptor.h"

namespace qel::daemon {

/// Blocks signals for the process while it exists, and then unblocks those that it blocked. A signal that arrived
/// meanwhile and was not received then takes its usual effect.
///
/// Create it before starting threads, which inherit the mask. Child processes inherit it too, even across exec, and may
/// have to unblock the signals.
class QEL_EXPORT BlockedSignals {
 public:
  /// Throws std::system_error if a number is not a signal.
  explicit BlockedSignals(const std::vector<int>& signals);
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;
  ~BlockedSignals();

  const sigset_t& get_set() const { return set_; }

 private:
  sigset_t set_;
  sigset_t blocked_here_;
};

/// Receives signals inside the main loop, where a handler may do anything; they are blocked while the watch exists.
///
///     loop.add_watch(std::make_shared<SignalWatch>(std::vector{SIGTERM, SIGINT}, [&](int) { loop.finish(); }));
///
/// Each signal goes to only one watch. A signal sent twice before it is received is received once. SIGKILL and SIGSTOP
/// cannot be received.
class QEL_EXPORT SignalWatch : public ISimpleFDWatch {
 public:
  using Handler = std::function<void(int signal)>;

  /// Throws std::system_error.
  SignalWatch(const std::vector<int>& signals, Handler handler);
  ~SignalWatch() override;

  void on_readable() override;
  void on_writable() override;

 protected:
  evsock* add_to_evsock_impl() override;

 private:
  BlockedSignals blocked_;
  Handler handler_;
  FileDescriptor signals_;
};

}  // namespace qel::daemon
