#pragma once

#include <signal.h>

#include <functional>
#include <vector>

#include "qel/core/export.h"
#include "qel/daemon/watches.h"
#include "qel/net/file_descriptor.h"

namespace qel::daemon {

/// Keeps signals from interrupting the process while it lives. Afterwards those that it blocked are unblocked again;
/// one that has come meanwhile and was not taken then does what it does otherwise.
///
/// To be made before threads are started, which inherit the mask. So do child processes, also by exec: whoever starts
/// one may have to unblock there.
class QEL_EXPORT BlockedSignals {
 public:
  /// Throws std::system_error for what is no signal.
  explicit BlockedSignals(const std::vector<int>& signals);
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;
  ~BlockedSignals();

  const sigset_t& get_set() const { return set_; }

 private:
  sigset_t set_;
  sigset_t blocked_here_;
};

/// Takes signals inside the main loop, where a handler may do anything; they are blocked as long as the watch lives.
///
///     loop.add_watch(std::make_shared<SignalWatch>(std::vector{SIGTERM, SIGINT}, [&](int) { loop.finish(); }));
///
/// A signal goes to one watch. One that came twice before it was taken is taken once. SIGKILL and SIGSTOP cannot be
/// taken.
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
