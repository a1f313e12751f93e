#pragma once

#include <cstdint>
#include <optional>

#include "ctimer.h"
#include "platform/linux/bus.h"
#include "qelevsock.h"

namespace qel::platform {

/// Has a connection to the bus processed without input: after a timeout of sd-bus, for messages left over, to
/// reconnect.
class StepTimer {
 public:
  /// The context is borrowed.
  StepTimer(void (*step)(void* context), void* context) : step_(step), context_(context) {}
  StepTimer(const StepTimer&) = delete;
  StepTimer& operator=(const StepTimer&) = delete;
  ~StepTimer() { stop(); }

  void stop();
  /// Replaces an earlier start. Returns false if the timer cannot be armed.
  bool start(int milliseconds);
  /// The same, for a time on the clock of now_us(); UINT64_MAX only stops it.
  bool start_at(std::uint64_t time_us);

 private:
  void (*step_)(void* context);
  void* context_;
  ctimerhandle handle_ = nullptr;
};

/// When sd-bus wants to be processed even without input, on the clock of now_us(); UINT64_MAX for never, and nothing if
/// the connection is broken. Has the watch wait for room to write if sd-bus needs it.
std::optional<std::uint64_t> next_step_of(sd_bus* bus, evsock* watch);

}  // namespace qel::platform
