#pragma once

#include <ev.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "ctimer.h"
#include "qelevsock.h"

/// The event loop of the process, based on libev. libev's callbacks only record what is ready. The handlers are called
/// afterwards, phase by phase, so that their order does not depend on libev and nothing is called that was stopped in
/// the meantime.
namespace qel::platform {

/// A slot for a timer. Slots never move or disappear, and are reused; the generation distinguishes the uses.
struct TimerSlot {
  ev_timer timer;
  ctimerhandle* home;  ///< the caller's variable, cleared on expiry
  ctimer_callback_fn callback;
  void* cbdata;
  std::int64_t deadline;  ///< microseconds of the monotonic clock
  std::uint64_t order;    ///< number of the arming
  std::uintptr_t index;
  std::uintptr_t generation;
  TimerSlot* next_free;
  bool armed;
};

constexpr std::size_t TIMERS_IN_CHUNK = 64;

/// Microseconds of the monotonic clock, rounded down.
std::int64_t monotonic_now();

class Loop {
 public:
  /// Returns the loop of the process, and creates it if necessary; null if that fails.
  static Loop* get();
  /// Returns the loop if it exists, else null.
  static Loop* peek() { return instance_; }

  void acquire() { ++users_; }
  /// Destroys the loop when its last user releases it.
  void release();
  /// To be called in a forked child that continues to use the loop.
  void forked() { ev_loop_fork(ev_); }

  int turn(int milliseconds);

  /// Takes ownership of the watch. Returns false if out of memory or if its descriptor cannot be watched as requested
  /// (errno has the reason).
  bool add(std::unique_ptr<evsock> watch);
  void remove(evsock* watch);
  /// Makes the libev watcher wait for the events that the watch now wants.
  void update_interest(evsock* watch);

  int arm(ctimerhandle* handle, std::int64_t microseconds, ctimer_callback_fn callback, void* cbdata);
  void disarm(TimerSlot* slot);
  /// Returns the armed slot of a handle, or null; `known` tells whether the handle was ever valid.
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
  bool due_at_once_ = false;  ///< a timer was armed with a count of 0, so the next wait only polls

  // libev does not report hang-up and priority data separately, so watches that want them are also in our own epoll
  // set, which is one more descriptor for libev. It also makes an idle libev loop wait.
  int unusual_fd_ = -1;
  ev_io unusual_io_ = {};

  std::vector<evsock*> watches_;  ///< in order of registration
  std::vector<evsock*> ready_;    ///< may hold removed ones until the end of the turn; then, what an exception left
  evsock* removed_ = nullptr;     ///< removed in this turn, freed at its end
  std::uint64_t next_watch_ = 1;

  // libev arms timers relative to its own time, which is that of the beginning of the turn and cannot be read. But it
  // reports the time left to a timer in the far future.
  ev_timer anchor_ = {};
  double anchor_started_ = 0;  ///< seconds of the monotonic clock

  std::vector<std::unique_ptr<TimerSlot[]>> chunks_;
  TimerSlot* free_slots_ = nullptr;
  std::vector<DueTimer> due_;
  std::uint64_t next_arming_ = 0;
};

}  // namespace qel::platform

/// The registration returned by evsock_add_fd().
struct evsock {
  /// Callbacks by event, in the order of the phases that call them.
  enum Event : unsigned { PRIORITY, READING, WRITING, HANGUP, EVENTS };

  int fd = -1;
  bool live = true;  ///< false once removed, or when the loop was destroyed
  bool read_wanted = true;
  bool write_wanted = true;  ///< call the write handler when the descriptor is writable
  bool unusual = false;      ///< in the set for hang-up and priority data
  unsigned ready = 0;        ///< bit 1 << event
  std::uint64_t order = 0;
  ev_io io = {};
  evsock_callback callbacks[EVENTS] = {};
  void* context = nullptr;
  std::unique_ptr<char[]> name;
  evsock* next_removed = nullptr;
};
