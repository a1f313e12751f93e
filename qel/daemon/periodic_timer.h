#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

#include "qel/core/export.h"
#include "qel/daemon/timer.h"

namespace qel::time {

/// Calls a function time after time, without drift: each call is due one period after the last one was due, however
/// late that one came. When several are due at once, because a turn of the loop took long, the function is called once
/// for all of them, and goes on in the same rhythm.
///
/// The function may stop the timer, start it anew and destroy it; what it throws ends the turn, and the timer goes on.
/// A running timer can be moved.
class QEL_EXPORT PeriodicTimer {
 public:
  PeriodicTimer();
  PeriodicTimer(PeriodicTimer&& other) noexcept;
  PeriodicTimer& operator=(PeriodicTimer&& other) noexcept;
  ~PeriodicTimer();

  /// The first call is due after one period. A running timer is started anew. Throws TimerError, INVALID_PARAMETER for
  /// a period that is not above 0 or is above Timer::MAX_DURATION.
  template <class F>
  void start(std::chrono::milliseconds period, F&& function) {
    start_calling(std::make_shared<TimerCallbackWrapper<std::decay_t<F>>>(std::forward<F>(function)), period);
  }
  void stop() noexcept;
  bool is_running() const;

  /// Calls that were due since the start and were left out; 0 when idle.
  std::uint64_t count_missed() const;

 private:
  struct State;

  void start_calling(std::shared_ptr<TimerCallbackWrapperBase> callback, std::chrono::milliseconds period);

  std::unique_ptr<State> state_;  ///< null when idle
};

}  // namespace qel::time
