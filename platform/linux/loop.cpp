#include "platform/linux/loop.h"

#include <sys/epoll.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <utility>

namespace qel::platform {

Loop* Loop::instance_ = nullptr;

std::int64_t monotonic_now() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
}

Loop* Loop::get() {
  if (instance_ == nullptr) {
    // Kept until the process ends, because timers may still be stopped while static objects are destroyed.
    static Loop* const loop = new (std::nothrow) Loop;
    if (loop == nullptr || !loop->set_up()) {
      return nullptr;
    }
    instance_ = loop;
  }
  return instance_;
}

bool Loop::set_up() {
  unusual_fd_ = epoll_create1(EPOLL_CLOEXEC);
  if (unusual_fd_ < 0) {
    return false;
  }
  ev_ = ev_loop_new(unsigned{EVBACKEND_EPOLL} | unsigned{EVFLAG_NOENV});
  if (ev_ == nullptr) {
    close(unusual_fd_);
    return false;
  }
  ev_set_userdata(ev_, this);
  ev_io_init(&unusual_io_, note_unusual, unusual_fd_, EV_READ);
  ev_io_start(ev_, &unusual_io_);
  ev_timer_init(
      &anchor_, [](struct ev_loop* ev, ev_timer*, int) { static_cast<Loop*>(ev_userdata(ev))->anchor_clock(); }, 0.,
      0.);
  anchor_clock();
  return true;
}

void Loop::release() {
  if (users_ > 0 && --users_ == 0) {
    take_down();
    instance_ = nullptr;
  }
}

void Loop::take_down() {
  for (auto& chunk : chunks_) {
    for (std::size_t i = 0; i < TIMERS_IN_CHUNK; ++i) {
      if (chunk[i].armed) {
        *chunk[i].home = nullptr;
        disarm(&chunk[i]);
      }
    }
  }
  for (evsock* watch : watches_) {
    ev_io_stop(ev_, &watch->io);
    watch->live = false;
  }
  watches_.clear();
  ready_.clear();
  due_at_once_ = false;
  ev_io_stop(ev_, &unusual_io_);
  ev_timer_stop(ev_, &anchor_);
  ev_loop_destroy(ev_);
  close(unusual_fd_);
  ev_ = nullptr;
  unusual_fd_ = -1;
}

int Loop::turn(int milliseconds) {
  if (turning_) {
    return -1;
  }
  turning_ = true;
  const struct Guard {
    Loop& loop;
    ~Guard() { loop.end_turn(); }
  } guard{*this};  // handlers may throw
  wait(milliseconds);
  int calls = run_due_timers();
  const auto by_registration = [](const evsock* a, const evsock* b) { return a->order < b->order; };
  if (!std::is_sorted(ready_.begin(), ready_.end(), by_registration)) {
    std::sort(ready_.begin(), ready_.end(), by_registration);
  }
  for (unsigned event = evsock::PRIORITY; event != evsock::EVENTS; ++event) {
    calls += run_phase(event);
  }
  return calls;
}

// Phase 1 of a turn.
void Loop::wait(int milliseconds) {
  if (milliseconds == 0 || due_at_once_) {
    due_at_once_ = false;
    ev_run(ev_, EVRUN_NOWAIT);
    return;
  }
  if (milliseconds < 0) {
    ev_run(ev_, EVRUN_ONCE);
    return;
  }
  ev_timer limit;
  ev_timer_init(
      &limit, [](struct ev_loop*, ev_timer*, int) {}, milliseconds * 1e-3, 0.);
  ev_now_update(ev_);
  ev_timer_start(ev_, &limit);
  ev_run(ev_, EVRUN_ONCE);
  ev_timer_stop(ev_, &limit);
}

// Phase 2 of a turn.
int Loop::run_due_timers() {
  std::sort(due_.begin(), due_.end(), [](const DueTimer& a, const DueTimer& b) {
    return a.deadline != b.deadline ? a.deadline < b.deadline : a.order < b.order;
  });
  int calls = 0;
  for (std::size_t i = 0; i < due_.size(); ++i) {
    const DueTimer due = due_[i];  // handlers that arm timers may move the list
    bool known;
    TimerSlot* slot = find(due.handle, known);
    if (slot == nullptr) {
      continue;
    }
    const auto callback = slot->callback;
    void* const cbdata = slot->cbdata;
    *slot->home = nullptr;
    disarm(slot);
    callback(due.handle, cbdata);
    ++calls;
  }
  due_.clear();
  return calls;
}

// Phases 3 to 6 of a turn.
int Loop::run_phase(unsigned event) {
  int calls = 0;
  for (std::size_t i = 0; i < ready_.size(); ++i) {  // handlers that add watches may move the list
    evsock* const watch = ready_[i];
    if (!watch->live || (watch->ready & 1u << event) == 0) {
      continue;
    }
    watch->ready &= ~(1u << event);
    if (event == evsock::WRITING) {
      watch->write_wanted = false;
      update_interest(watch);
    }
    watch->callbacks[event](watch, watch->context);
    ++calls;
  }
  return calls;
}

// After an exception, the unserved handlers are kept for the next turn, which then does not wait.
void Loop::end_turn() noexcept {
  for (const DueTimer& due : due_) {
    bool known;
    if (TimerSlot* slot = find(due.handle, known)) {
      ev_timer_set(&slot->timer, 0., 0.);
      ev_timer_start(ev_, &slot->timer);
      due_at_once_ = true;
    }
  }
  due_.clear();
  std::erase_if(ready_, [](evsock* watch) {
    // libev reports reading and writing again, but changes of state only once.
    watch->ready &= watch->live ? 1u << evsock::PRIORITY | 1u << evsock::HANGUP : 0u;
    return watch->ready == 0;
  });
  due_at_once_ |= !ready_.empty();
  while (removed_ != nullptr) {
    delete std::exchange(removed_, removed_->next_removed);
  }
  turning_ = false;
}

void Loop::note(evsock* watch, unsigned events) {
  if (watch->ready == 0 && events != 0) {
    ready_.push_back(watch);  // never exceeds the capacity that add() reserved
  }
  watch->ready |= events;
}

void Loop::note_descriptor(struct ev_loop* ev, ev_io* io, int revents) {
  auto* const watch = static_cast<evsock*>(io->data);
  unsigned events = 0;
  if ((revents & EV_READ) != 0 && watch->callbacks[evsock::READING] != nullptr) {
    events |= 1u << evsock::READING;
  }
  if ((revents & EV_WRITE) != 0 && watch->write_wanted && watch->callbacks[evsock::WRITING] != nullptr) {
    events |= 1u << evsock::WRITING;
  }
  if ((revents & EV_ERROR) != 0 && watch->callbacks[evsock::HANGUP] != nullptr) {
    events |= 1u << evsock::HANGUP;  // libev gave up the descriptor
  }
  static_cast<Loop*>(ev_userdata(ev))->note(watch, events);
}

void Loop::note_unusual(struct ev_loop* ev, ev_io*, int) {
  auto& loop = *static_cast<Loop*>(ev_userdata(ev));
  epoll_event found[32];
  const int count = epoll_wait(loop.unusual_fd_, found, 32, 0);
  for (int i = 0; i < count; ++i) {
    // By number, not by address: if a descriptor was closed too early, the set may still have it for a removed watch.
    // Copied, because the structure is packed on some processors and its members may not be referred to.
    const std::uint64_t number = found[i].data.u64;
    const auto watch = std::lower_bound(loop.watches_.begin(), loop.watches_.end(), number,
                                        [](const evsock* w, std::uint64_t order) { return w->order < order; });
    if (watch == loop.watches_.end() || (*watch)->order != number) {
      continue;
    }
    unsigned events = 0;
    if ((found[i].events & (EPOLLHUP | EPOLLRDHUP | EPOLLERR)) != 0) {
      events |= 1u << evsock::HANGUP;
    }
    if ((found[i].events & EPOLLPRI) != 0) {
      events |= 1u << evsock::PRIORITY;
    }
    for (const unsigned event : {evsock::HANGUP, evsock::PRIORITY}) {
      if ((*watch)->callbacks[event] == nullptr) {
        events &= ~(1u << event);
      }
    }
    loop.note(*watch, events);
  }
}

bool Loop::add(std::unique_ptr<evsock> watch) {
  try {
    if (watches_.size() == watches_.capacity()) {
      watches_.reserve(2 * watches_.size() + 8);
    }
    ready_.reserve(watches_.capacity());
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return false;
  }
  watch->order = next_watch_;
  if (watch->callbacks[evsock::HANGUP] != nullptr || watch->callbacks[evsock::PRIORITY] != nullptr) {
    epoll_event event = {};
    // Edge-triggered, because a hang-up persists and would otherwise be reported in every turn.
    event.events = EPOLLRDHUP | EPOLLET | (watch->callbacks[evsock::PRIORITY] != nullptr ? EPOLLPRI : 0u);
    event.data.u64 = watch->order;
    if (epoll_ctl(unusual_fd_, EPOLL_CTL_ADD, watch->fd, &event) == 0) {
      watch->unusual = true;
    } else if (errno != EPERM) {  // EPERM: a regular file, which has neither
      return false;
    }
  }
  ++next_watch_;
  ev_io_init(&watch->io, note_descriptor, watch->fd, 0);
  watch->io.data = watch.get();
  update_interest(watch.get());
  watches_.push_back(watch.release());
  return true;
}

void Loop::remove(evsock* watch) {
  watch->live = false;
  ev_io_stop(ev_, &watch->io);
  if (watch->unusual) {
    epoll_ctl(unusual_fd_, EPOLL_CTL_DEL, watch->fd, nullptr);
  }
  watches_.erase(std::lower_bound(watches_.begin(), watches_.end(), watch,
                                  [](const evsock* a, const evsock* b) { return a->order < b->order; }));
  if (turning_) {
    watch->next_removed = std::exchange(removed_, watch);
  } else {
    std::erase(ready_, watch);
    delete watch;
  }
}

void Loop::update_interest(evsock* watch) {
  int events = 0;
  if (watch->read_wanted && watch->callbacks[evsock::READING] != nullptr) {
    events |= EV_READ;
  }
  if (watch->write_wanted && watch->callbacks[evsock::WRITING] != nullptr) {
    events |= EV_WRITE;
  }
  if (!watch->live || (ev_is_active(&watch->io) && (watch->io.events & (EV_READ | EV_WRITE)) == events)) {
    return;
  }
  ev_io_stop(ev_, &watch->io);
  ev_io_set(&watch->io, watch->fd, events);
  if (events != 0) {
    ev_io_start(ev_, &watch->io);
  }
}

}  // namespace qel::platform
