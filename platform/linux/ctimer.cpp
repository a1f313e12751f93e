#include <climits>
#include <new>

#include "platform/linux/export.h"
#include "platform/linux/loop.h"

namespace qel::platform {

namespace {

// A handle has the slot's index + 1 in the lower half of the word and the slot's generation in the upper half.
constexpr unsigned HALF = sizeof(std::uintptr_t) * CHAR_BIT / 2;
constexpr std::uintptr_t LOW_HALF = (std::uintptr_t{1} << HALF) - 1;

// Three years; a double still distinguishes microseconds at that distance.
constexpr double ANCHOR_SECONDS = 1e8;
// The possible loss by rounding; added so that no timer is early.
constexpr double ROUNDING = 1e-7;

}  // namespace

// (Re)starts the timer in the far future, at a clock time known to within a few microseconds; less precisely if the
// process is repeatedly interrupted, in which case timers are late by that much.
void Loop::anchor_clock() {
  std::int64_t before = 0;
  for (int attempt = 0; attempt < 10; ++attempt) {
    ev_timer_stop(ev_, &anchor_);
    before = monotonic_now();
    ev_now_update(ev_);
    ev_timer_set(&anchor_, ANCHOR_SECONDS, 0.);
    ev_timer_start(ev_, &anchor_);
    if (monotonic_now() - before <= 20) {
      break;
    }
  }
  anchor_started_ = static_cast<double>(before) * 1e-6;
}

// The time from which libev counts when a timer is started, in seconds of the monotonic clock.
double Loop::libev_now() const {
  return anchor_started_ + ANCHOR_SECONDS - ev_timer_remaining(ev_, const_cast<ev_timer*>(&anchor_));
}

ctimerhandle Loop::name_of(const TimerSlot& slot) {
  return reinterpret_cast<ctimerhandle>(slot.generation << HALF |  // NOLINT(performance-no-int-to-ptr): a number
                                        (slot.index + 1));
}

TimerSlot* Loop::find(ctimerhandle handle, bool& known) {
  const auto word = reinterpret_cast<std::uintptr_t>(handle);
  const std::uintptr_t number = word & LOW_HALF;
  known = number >= 1 && number <= chunks_.size() * TIMERS_IN_CHUNK;
  if (!known) {
    return nullptr;
  }
  TimerSlot& slot = chunks_[(number - 1) / TIMERS_IN_CHUNK][(number - 1) % TIMERS_IN_CHUNK];
  return slot.armed && slot.generation == word >> HALF ? &slot : nullptr;
}

TimerSlot* Loop::take_slot() {
  if (free_slots_ == nullptr) {
    const std::size_t first = chunks_.size() * TIMERS_IN_CHUNK;
    if (first + TIMERS_IN_CHUNK > LOW_HALF) {
      return nullptr;
    }
    try {
      due_.reserve(first + TIMERS_IN_CHUNK);
      chunks_.push_back(std::make_unique<TimerSlot[]>(TIMERS_IN_CHUNK));
    } catch (const std::bad_alloc&) {
      return nullptr;
    }
    for (std::size_t i = TIMERS_IN_CHUNK; i-- > 0;) {
      TimerSlot& slot = chunks_.back()[i];
      slot.index = first + i;
      slot.next_free = free_slots_;
      free_slots_ = &slot;
    }
  }
  TimerSlot* slot = free_slots_;
  free_slots_ = slot->next_free;
  return slot;
}

int Loop::arm(ctimerhandle* handle, std::int64_t microseconds, ctimer_callback_fn callback, void* cbdata) {
  TimerSlot* slot = take_slot();
  if (slot == nullptr) {
    return CTIMER_ERESOURCE;
  }
  slot->home = handle;
  slot->callback = callback;
  slot->cbdata = cbdata;
  slot->deadline = monotonic_now() + 1 + microseconds;  // the current microsecond has already begun
  slot->order = next_arming_++;
  slot->armed = true;
  // A count of 0 is due in the next turn, however far the clock has advanced by then.
  const double after = microseconds > 0 ? static_cast<double>(slot->deadline) * 1e-6 - libev_now() + ROUNDING : 0.;
  ev_timer_init(&slot->timer, note_timer, after, 0.);
  slot->timer.data = slot;
  ev_timer_start(ev_, &slot->timer);
  due_at_once_ |= microseconds == 0;
  *handle = name_of(*slot);
  return 0;
}

void Loop::disarm(TimerSlot* slot) {
  ev_timer_stop(ev_, &slot->timer);
  slot->armed = false;
  slot->generation = (slot->generation + 1) & LOW_HALF;
  slot->next_free = free_slots_;
  free_slots_ = slot;
}

void Loop::note_timer(struct ev_loop* ev, ev_timer* timer, int) {
  const auto& slot = *static_cast<TimerSlot*>(timer->data);
  static_cast<Loop*>(ev_userdata(ev))->due_.push_back({slot.deadline, slot.order, name_of(slot)});
}

}  // namespace qel::platform

using qel::platform::Loop;
using qel::platform::TimerSlot;

namespace {

ctimer_tval to_tval(std::int64_t microseconds) {
  return {microseconds / 1000000, static_cast<std::int32_t>(microseconds % 1000000)};
}

// The armed timer of `handle`; null if there is none, with the reason in `error`.
TimerSlot* find_armed(ctimerhandle handle, int& error) {
  Loop* loop = Loop::peek();
  bool known = false;
  TimerSlot* slot = loop != nullptr ? loop->find(handle, known) : nullptr;
  error = known ? CTIMER_EDELETED : CTIMER_EHANDLE;
  return slot;
}

}  // namespace

extern "C" {

QEL_EXPORT int ctimer_setup_internal(int flags, ctimerhandle* handle, int kind, int reserved1, int count,
                                     unsigned units, ctimer_callback_fn callback, void* cbdata, int reserved2,
                                     int reserved3) {
  if (flags != 0 || handle == nullptr || kind != CTIMER_ONESHOT || reserved1 != 0 || count < 0 || units == 0 ||
      units > 1000000 || callback == nullptr || reserved2 != 0 || reserved3 != 0) {
    return CTIMER_EINVALID;
  }
  if (*handle != nullptr) {
    int error;
    return find_armed(*handle, error) != nullptr ? CTIMER_ECHANGED : CTIMER_EHANDLE;
  }
  Loop* loop = Loop::get();
  if (loop == nullptr) {
    return CTIMER_ERESOURCE;
  }
  const std::int64_t microseconds = (std::int64_t{count} * 1000000 + units - 1) / units;
  return loop->arm(handle, microseconds, callback, cbdata);
}

QEL_EXPORT int ctimer_unsetup_internal(ctimerhandle* handle, int kind) {
  if (handle == nullptr || *handle == nullptr || kind != CTIMER_ONESHOT) {
    return CTIMER_EINVALID;
  }
  int error;
  TimerSlot* slot = find_armed(*handle, error);
  if (slot == nullptr) {
    return error;
  }
  if (slot->home != handle) {
    return CTIMER_ECHANGED;
  }
  Loop::peek()->disarm(slot);
  *handle = nullptr;
  return 0;
}

QEL_EXPORT int ctimer_endtval_internal(const ctimerhandle* handle, int kind, struct ctimer_tval* end) {
  if (handle == nullptr || *handle == nullptr || kind != CTIMER_ONESHOT || end == nullptr) {
    return CTIMER_EINVALID;
  }
  int error;
  const TimerSlot* slot = find_armed(*handle, error);
  if (slot == nullptr) {
    return error;
  }
  *end = to_tval(slot->deadline);
  return 0;
}

QEL_EXPORT void ctimer_elapsedtval(struct ctimer_tval* now) { *now = to_tval(qel::platform::monotonic_now()); }

}  // extern "C"
