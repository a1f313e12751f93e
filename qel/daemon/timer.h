#pragma once

#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <ratio>
#include <system_error>
#include <type_traits>
#include <utility>

#include "qel/core/export.h"
#include "qel/daemon/timer_error.h"

namespace qel::time {

using deciseconds = std::chrono::duration<std::int64_t, std::deci>;
using centiseconds = std::chrono::duration<std::int64_t, std::centi>;

class Timer;

/// Holds the platform's handle without naming its type here.
class QEL_EXPORT NativeHandleContainerBase {
 public:
  virtual ~NativeHandleContainerBase();
};

/// The platform's reference to the timer; the pointer follows the handle when timers are swapped.
struct TimerCbdataWrapper {
  Timer* timer = nullptr;
};

/// Type-erased callback.
class QEL_EXPORT TimerCallbackWrapperBase {
 public:
  virtual ~TimerCallbackWrapperBase();
  virtual void operator()() = 0;
};

/// A callback of type F.
template <class F>
class TimerCallbackWrapper final : public TimerCallbackWrapperBase {
 public:
  explicit TimerCallbackWrapper(F function) : function_(std::move(function)) {}
  void operator()() override { function_(); }

 private:
  F function_;
};

/// A one-shot timer of the main loop. It expires inside Mainloop::run. When its callback runs, the timer is idle again,
/// so the callback may restart, stop, swap or destroy it. A timer can be moved even while it runs; the two timers
/// exchange their contents.
class QEL_EXPORT Timer {
 public:
  Timer();
  Timer(Timer&& other);
  Timer& operator=(Timer&& other) noexcept;
  /// Stops the timer. Never throws; failures are logged.
  ~Timer();

  void swap(Timer& other) noexcept;

  /// The longest duration of a timer, 68 years.
  static constexpr std::chrono::seconds MAX_DURATION{std::numeric_limits<std::int32_t>::max()};

  /// Calls `function()` once, after at least `duration`; a running timer is stopped first. A duration of 0 expires in
  /// the next turn. The duration is counted in seconds, tenths, hundredths or milliseconds, the coarsest of these to
  /// which its type converts without loss. If the count would exceed 2^31 - 1 (25 days in milliseconds), the next
  /// coarser unit that suffices is used, rounded up. Throws TimerError with INVALID_PARAMETER if the duration is
  /// negative or exceeds MAX_DURATION.
  template <class Rep, class Period, class F>
  void start(std::chrono::duration<Rep, Period> duration, F&& function);

  /// Arms the platform's timer without changing the callback. Only the low 32 bits of the count are used. Throws
  /// TimerError.
  void start_ctimer(std::chrono::milliseconds duration);
  void start_ctimer(deciseconds duration);
  void start_ctimer(centiseconds duration);
  void start_ctimer(std::chrono::seconds duration);

  /// Does nothing if the timer is idle. The callback is released even if stopping fails. Throws TimerError.
  void stop();
  /// Clears `error` on success.
  void stop(std::error_code& error);

  bool is_running() const;

  /// Negative if the timer is overdue. Throws TimerError, with NOT_RUNNING if the timer is idle.
  std::chrono::milliseconds get_remaining_time() const;

  /// Runs the callback, if there is one. Called when the platform's timer expires.
  void trigger_callback();

 private:
  template <class Duration, class... Units>
  struct CoarsestUnit;

  void arm_whole(std::int64_t count, std::int64_t ticks_per_second);
  void arm(std::int64_t count, std::int64_t ticks_per_second);

  std::unique_ptr<NativeHandleContainerBase> handle_;
  std::shared_ptr<TimerCallbackWrapperBase> callback_;
  std::unique_ptr<TimerCbdataWrapper> cbdata_;
};

inline void swap(Timer& left, Timer& right) noexcept { left.swap(right); }

/// The coarsest of the units to which the duration converts without loss.
template <class Duration, class Unit, class... Finer>
struct Timer::CoarsestUnit<Duration, Unit, Finer...>
    : std::conditional_t<std::is_convertible_v<Duration, Unit>, std::type_identity<Unit>,
                         CoarsestUnit<Duration, Finer...>> {};

template <class Duration>
struct Timer::CoarsestUnit<Duration> {
  static_assert(!sizeof(Duration), "round finer durations to milliseconds");
};

template <class Rep, class Period, class F>
void Timer::start(std::chrono::duration<Rep, Period> duration, F&& function) {
  using Unit = typename CoarsestUnit<std::chrono::duration<Rep, Period>, std::chrono::seconds, deciseconds,
                                     centiseconds, std::chrono::milliseconds>::type;
  constexpr std::int64_t factor = std::ratio_divide<Period, typename Unit::period>::num;
  constexpr std::int64_t limit = std::numeric_limits<std::int64_t>::max() / factor;
  const bool fits = !std::cmp_greater(duration.count(), limit) && !std::cmp_less(duration.count(), -limit);
  stop();
  // A duration that does not fit here exceeds any limit.
  arm_whole(fits ? static_cast<std::int64_t>(duration.count()) * factor : std::numeric_limits<std::int64_t>::max(),
            Unit::period::den);
  callback_ = std::make_shared<TimerCallbackWrapper<std::decay_t<F>>>(std::forward<F>(function));
}

}  // namespace qel::time
