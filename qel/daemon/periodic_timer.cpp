#include "qel/daemon/periodic_timer.h"

#include "ctimer.h"

namespace qel::time {

namespace {

std::chrono::microseconds now() {
  ctimer_tval time{};
  ctimer_elapsedtval(&time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

}  // namespace

struct PeriodicTimer::State {
  std::chrono::microseconds period;
  std::chrono::microseconds due;
  std::shared_ptr<TimerCallbackWrapperBase> callback;
  std::uint64_t missed = 0;
  Timer timer{};

  void arm(std::chrono::microseconds time) {
    timer.start(std::chrono::ceil<std::chrono::milliseconds>(due - time), [this] { on_due(); });
  }

  void on_due() {
    const auto time = now();
    const auto missed_now = (time - due) / period;
    missed += static_cast<std::uint64_t>(missed_now);
    due += (missed_now + 1) * period;
    arm(time);
    const auto called = callback;  // it may destroy this object
    (*called)();
  }
};

PeriodicTimer::PeriodicTimer() = default;
PeriodicTimer::PeriodicTimer(PeriodicTimer&& other) noexcept = default;
PeriodicTimer& PeriodicTimer::operator=(PeriodicTimer&& other) noexcept = default;
PeriodicTimer::~PeriodicTimer() = default;

void PeriodicTimer::start_calling(std::shared_ptr<TimerCallbackWrapperBase> callback,
                                  std::chrono::milliseconds period) {
  if (period.count() <= 0 || period > Timer::MAX_DURATION) {
    throw TimerError(TimerErrc::INVALID_PARAMETER);
  }
  const auto time = now();
  auto started = std::make_unique<State>(State{period, time + period, std::move(callback)});
  started->arm(time);
  state_ = std::move(started);
}

void PeriodicTimer::stop() noexcept { state_.reset(); }

bool PeriodicTimer::is_running() const { return state_ != nullptr && state_->timer.is_running(); }

std::uint64_t PeriodicTimer::count_missed() const { return state_ ? state_->missed : 0; }

}  // namespace qel::time
