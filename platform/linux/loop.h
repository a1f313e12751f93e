// The one event loop of the process, on libev. libev's callbacks only note what is ready; the handlers are called
// afterwards, phase by phase, so that their order does not depend on libev and nothing stopped meanwhile is called.
#ifndef QEL_PLATFORM_LOOP_H
#define QEL_PLATFORM_LOOP_H

#include <ev.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "ctimer.h"
#include "qelevsock.h"

namespace qel::platform {

/// One slot for a timer. Slots never move or vanish, and are used again; the generation tells the uses apart.
struct TimerSlot {
  ev_timer timer;
  ctimerhandle* home;  ///< the caller's variable, cleared at expiry
  ctimer_callback_fn callback;
  void* cbdata;
  std::int64_t deadline;  ///< microseconds of the monotonic clock
  std::uint64_t order;    ///< counts armings
  std::uintptr_t index;
  std::uintptr_t generation;
  TimerSlot* next_free;
  bool armed;
};

constexpr std::size_t kTimersInChunk = 64;

/// Microseconds of the monotonic clock, rounded down.
std::int64_t monotonic_now();

class Loop {
 public:
  /// The loop of the process, brought up when it is not there; null when that fails.
  static Loop* get();
  /// The loop when it is up, else null.
  static Loop* peek() { return instance_; }

  void acquire() { ++users_; }
  /// Takes the loop down with its last user.
  void release();
  /// To be called in a forked child that goes on with the loop.
  void forked() { ev_loop_fork(ev_); }

  int turn(int milliseconds);

  /// Takes the watch over; false when out of memory or when its descriptor cannot be watched as asked (errno tells).
  bool add(std::unique_ptr<evsock> watch);
  void remove(evsock* watch);
  /// Makes the libev watcher wait for what the watch is interested in now.
  void update_interest(evsock* watch);

  int arm(ctimerhandle* handle, std::int64_t microseconds, ctimer_callback_fn callback, void* cbdata);
  void disarm(TimerSlot* slot);
  /// The armed slot that a handle names, or null; `known` tells whether the handle named one once.
  TimerSlot* find(ctimerhandle handle, bool& known);

 private:
  struct DueTimer {
    std::int64_t deadline;
    std::uint64_t order;
    ctimerhandle handle;
  };

  Loop() = default;
  bool set_up();
  void take_down();
  void wait(int milliseconds);
  int run_due_timers();
  int run_phase(unsigned event);
  void end_turn() noexcept;
  TimerSlot* take_slot();
  void anchor_clock();
  double libev_now() const;
  static ctimerhandle name_of(const TimerSlot& slot);

  static void note_descriptor(struct ev_loop* ev, ev_io* io, int revents);
  static void note_unusual(struct ev_loop* ev, ev_io* io, int revents);
  static void note_timer(struct ev_loop* ev, ev_timer* timer, int revents);
  void note(evsock* watch, unsigned events);

  static Loop* instance_;

  struct ev_loop* ev_ = nullptr;
  int users_ = 0;
  bool turning_ = false;
  bool due_at_once_ = false;  ///< a timer was armed with a count of 0: the next wait only polls

  // libev does not tell hang-up and priority data apart from the rest, so that watches which ask for them are also in
  // an epoll set of their own, which is one more descriptor for libev. It also keeps an idle libev loop waiting.
  int unusual_fd_ = -1;
  ev_io unusual_io_ = {};

  std::vector<evsock*> watches_;  ///< in the order of registration
  std::vector<evsock*> ready_;  ///< may hold removed ones until the end of the turn; in between, what an exception left
  evsock* removed_ = nullptr;   ///< removed in this turn, freed at its end
  std::uint64_t next_watch_ = 1;

  // libev arms timers from its own idea of now, which is as old as the turn, and does not tell it; but it tells how far
  // it is from a timer in the far future.
  ev_timer anchor_ = {};
  double anchor_started_ = 0;  ///< seconds of the monotonic clock

  std::vector<std::unique_ptr<TimerSlot[]>> chunks_;
  TimerSlot* free_slots_ = nullptr;
  std::vector<DueTimer> due_;
  std::uint64_t next_arming_ = 0;
};

}  // namespace qel::platform

/// What evsock_add_fd() registered.
struct evsock {
  /// Callbacks by event, in the order of the phases that serve them.
  enum Event : unsigned { PRIORITY, READING, WRITING, HANGUP, EVENTS };

  int fd = -1;
  bool live = true;  ///< false once removed, or when the loop went down
  bool read_wanted = true;
  bool write_wanted = true;  ///< the write handler is due when the descriptor is writable
  bool unusual = false;      ///< in the set for hang-up and priority data
  unsigned ready = 0;        ///< bit 1 << event
  std::uint64_t order = 0;
  ev_io io = {};
  evsock_callback callbacks[EVENTS] = {};
  void* context = nullptr;
  std::unique_ptr<char[]> name;
  evsock* next_removed = nullptr;
};

#endif
