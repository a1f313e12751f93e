#pragma once

#include <functional>
#include <initializer_list>

#include "qel/daemon/watches.h"
#include "qel/net/file_descriptor.h"

namespace meshd {

/// Keeps these signals from interrupting the process, from now on; a SignalWatch then takes them.
void block_signals(std::initializer_list<int> signals);

/// Takes signals inside the main loop.
class SignalWatch final : public qel::daemon::ISimpleFDWatch {
 public:
  using Handler = std::function<void(int signal)>;

  /// The signals must be blocked. Throws std::system_error.
  SignalWatch(std::initializer_list<int> signals, Handler handler);
  ~SignalWatch() override;

  void on_readable() override;
  void on_writable() override {}

 private:
  Handler handler_;
  qel::FileDescriptor signals_;
};

}  // namespace meshd
