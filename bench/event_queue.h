#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>
#include <vector>

namespace meshd::simulation {

/// Virtual time, and what happens in it. Events of the same time are in the order in which they were posted.
template <class Event>
class EventQueue {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  explicit EventQueue(TimePoint now = {}) : now_(now) {}

  const TimePoint& now() const { return now_; }

  void post(std::chrono::microseconds delay, Event event) {
    heap_.push_back({now_ + delay, posted_++, std::move(event)});
    std::push_heap(heap_.begin(), heap_.end());
  }

  /// Lets the time pass; `handle` gets each event at its time, and may post others.
  template <class Handle>
  void run(std::chrono::microseconds time, Handle handle) {
    const TimePoint end = now_ + time;
    while (!heap_.empty() && heap_.front().time <= end) {
      std::pop_heap(heap_.begin(), heap_.end());
      const Entry entry = std::move(heap_.back());
      heap_.pop_back();
      now_ = entry.time;
      handle(entry.event);
    }
    now_ = end;
  }

  /// Checks every second; returns false if the time runs out.
  template <class IsDone, class Handle>
  bool run_until(IsDone is_done, std::chrono::seconds most, Handle handle) {
    for (std::chrono::seconds time{0}; !is_done(); ++time) {
      if (time == most) {
        return false;
      }
      run(std::chrono::seconds(1), handle);
    }
    return true;
  }

 private:
  struct Entry {
    TimePoint time;
    std::uint64_t number;
    Event event;

    /// The earliest is on top of the heap.
    bool operator<(const Entry& other) const { return std::pair(time, number) > std::pair(other.time, other.number); }
  };

  TimePoint now_;
  std::uint64_t posted_ = 0;
  std::vector<Entry> heap_;
};

}  // namespace meshd::simulation
