#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

#include "qel/core/export.h"
#include "qel/daemon/timer.h"

namespace qel::time {

/// Calls a function at regular intervals, without drift: each call is due one period after the previous one was due,
/// however late that one ran. If several calls are due at once because a turn of the loop took long, the function is
/// called once for all of them and then continues at the same intervals.
///
/// The function may stop, restart or destroy the timer. An exception from it ends the turn; the timer keeps running. A
/// running timer can be moved.
class QEL_EXPORT PeriodicTimer {
 public:
  PeriodicTimer();
  PeriodicTimer(PeriodicTimer&& other) noexcept;
  PeriodicTimer& operator=(PeriodicTimer&& other) noexcept;
  ~PeriodicTimer();

  /// The first call is due after one period. A running timer is restarted. Throws TimerError with INVALID_PARAMETER if
  /// the period is not positive or exceeds Timer::MAX_DURATION.
  template <class F>
  void start(std::chrono::milliseconds period, F&& function) {
    start_calling(std::make_shared<TimerCallbackWrapper<std::decay_t<F>>>(std::forward<F>(function)), period);
  }
  void stop() noexcept;
  bool is_running() const;

  /// Returns the number of calls skipped since the start; 0 when idle.
  std::uint64_t count_missed() const;

 private:
  struct State;

  void start_calling(std::shared_ptr<TimerCallbackWrapperBase> callback, std::chrono::milliseconds period);

  std::unique_ptr<State> state_;  ///< null when idle
};

}  // namespace qel::time
