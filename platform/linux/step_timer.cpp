#include "platform/linux/step_timer.h"

#include <poll.h>

#include <algorithm>
#include <climits>

namespace qel::platform {

void StepTimer::stop() {
  if (handle_ != nullptr) {
    ctimer_unsetup_internal(&handle_, CTIMER_ONESHOT);
  }
}

bool StepTimer::start(int milliseconds) {
  stop();
  const auto go_on = [](ctimerhandle, void* context) {
    const auto* self = static_cast<StepTimer*>(context);
    self->step_(self->context_);
  };
  return ctimer_setup_internal(0, &handle_, CTIMER_ONESHOT, 0, milliseconds, 1000, go_on, this, 0, 0) == 0;
}

bool StepTimer::start_at(std::uint64_t time_us) {
  if (time_us == UINT64_MAX) {
    stop();
    return true;
  }
  const std::uint64_t now = now_us();
  const std::uint64_t wait_ms = time_us > now ? (time_us - now + 999) / 1000 : 0;
  return start(static_cast<int>(std::min<std::uint64_t>(wait_ms, INT_MAX)));
}

std::optional<std::uint64_t> next_step_of(sd_bus* bus, evsock* watch) {
  std::uint64_t until = UINT64_MAX;
  const int events = sd_bus_get_events(bus);
  if (events < 0 || sd_bus_get_timeout(bus, &until) < 0) {
    return std::nullopt;
  }
  if ((events & POLLOUT) != 0) {
    evsock_want_write(watch);
  }
  return until;
}

}  // namespace qel::platform
