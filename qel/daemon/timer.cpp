#include "qel/daemon/timer.h"

#include <ostream>

#include "ctimer.h"
#include "qel/core/text.h"
#include "qel/daemon/log.h"

namespace qel::time {

namespace {

template <class Handle>
class NativeHandleContainer final : public NativeHandleContainerBase {
 public:
  Handle handle = nullptr;
};

ctimerhandle& native(NativeHandleContainerBase& container) {
  return static_cast<NativeHandleContainer<ctimerhandle>&>(container).handle;
}

void ctimer_callback(ctimerhandle, void* cbdata) {
  if (Timer* timer = static_cast<TimerCbdataWrapper*>(cbdata)->timer) {
    timer->trigger_callback();
  }
}

std::error_code setup_error(int result) {
  switch (result) {
    case CTIMER_EINVALID:
      return TimerErrc::INVALID_PARAMETER;
    case CTIMER_ERESOURCE:
      return TimerErrc::RESOURCE_PROBLEM;
    case CTIMER_EHANDLE:
      return TimerErrc::INVALID_HANDLE;
    case CTIMER_ECHANGED:
      return TimerErrc::CHANGED_HANDLE;
    default:
      return {};
  }
}

std::error_code unsetup_error(int result) {
  switch (result) {
    case CTIMER_EDELETED:
      return TimerErrc::DELETED_HANDLE;
    case CTIMER_EHANDLE:
      return TimerErrc::INVALID_HANDLE;
    case CTIMER_ECHANGED:
      return TimerErrc::CHANGED_HANDLE;
    default:
      return {};
  }
}

std::error_code endtval_error(int result) {
  switch (result) {
    case CTIMER_EINVALID:
      return TimerErrc::NOT_RUNNING;
    case CTIMER_EDELETED:
      return TimerErrc::DELETED_HANDLE;
    case CTIMER_EHANDLE:
      return TimerErrc::INVALID_HANDLE;
    default:
      return {};
  }
}

void throw_if(std::error_code error) {
  if (error) {
    throw TimerError(error);
  }
}

std::chrono::milliseconds to_milliseconds(const ctimer_tval& time) {
  return std::chrono::milliseconds((time.tv_sec * 1'000'000 + time.tv_usec) / 1000);
}

}  // namespace

NativeHandleContainerBase::~NativeHandleContainerBase() = default;

TimerCallbackWrapperBase::~TimerCallbackWrapperBase() = default;

Timer::Timer()
    : handle_(std::make_unique<NativeHandleContainer<ctimerhandle>>()),
      cbdata_(std::make_unique<TimerCbdataWrapper>(TimerCbdataWrapper{this})) {}

Timer::Timer(Timer&& other) : Timer() { swap(other); }

Timer& Timer::operator=(Timer&& other) noexcept {
  swap(other);
  return *this;
}

Timer::~Timer() {
  std::error_code error;
  stop(error);
  if (error) {
    debug::stream("Timer") << debug::LogLevels::ERROR << "[~Timer:113] failed to stop timer ("
                           << error.category().name() << ':' << Decimal(error.value()) << ": " << error.message() << ')'
                           << std::endl;
  }
}

void Timer::swap(Timer& other) noexcept {
  handle_.swap(other.handle_);
  callback_.swap(other.callback_);
  cbdata_.swap(other.cbdata_);
  std::swap(cbdata_->timer, other.cbdata_->timer);
}

void Timer::arm_whole(std::int64_t count, std::int64_t ticks_per_second) {
  while (count > MAX_DURATION.count() && ticks_per_second > 1) {
    count = count / 10 + (count % 10 != 0 ? 1 : 0);
    ticks_per_second /= 10;
  }
  if (count != static_cast<std::int32_t>(count)) {
    throw TimerError(TimerErrc::INVALID_PARAMETER);
  }
  arm(count, ticks_per_second);
}

void Timer::arm(std::int64_t count, std::int64_t ticks_per_second) {
  throw_if(setup_error(ctimer_setup_internal(0, &native(*handle_), CTIMER_ONESHOT, 0, static_cast<int>(count),
                                             static_cast<unsigned>(ticks_per_second), ctimer_callback, cbdata_.get(), 0,
                                             0)));
}

void Timer::start_ctimer(std::chrono::milliseconds duration) { arm(duration.count(), 1000); }
void Timer::start_ctimer(deciseconds duration) { arm(duration.count(), 10); }
void Timer::start_ctimer(centiseconds duration) { arm(duration.count(), 100); }
void Timer::start_ctimer(std::chrono::seconds duration) { arm(duration.count(), 1); }

void Timer::stop() {
  std::error_code error;
  stop(error);
  throw_if(error);
}

void Timer::stop(std::error_code& error) {
  error.clear();
  if (!is_running()) {
    return;
  }
  error = unsetup_error(ctimer_unsetup_internal(&native(*handle_), CTIMER_ONESHOT));
  callback_.reset();
}

bool Timer::is_running() const { return native(*handle_) != nullptr; }

std::chrono::milliseconds Timer::get_remaining_time() const {
  ctimer_tval now{};
  ctimer_elapsedtval(&now);
  ctimer_tval end{};
  throw_if(endtval_error(ctimer_endtval_internal(&native(*handle_), CTIMER_ONESHOT, &end)));
  return to_milliseconds(end) - to_milliseconds(now);
}

void Timer::trigger_callback() {
  if (const auto callback = callback_) {
    (*callback)();
  }
}

}  // namespace qel::time
