#pragma once

#include <algorithm>
#include <chrono>

namespace meshd {

/// Lets `burst` at once through when it is full, and fills with `rate` a second.
class TokenBucket {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  constexpr TokenBucket(int rate, int burst)
      : interval_(TimePoint::duration(std::chrono::seconds(1)) / rate), burst_(interval_ * burst) {}

  /// Whether one more may pass.
  constexpr bool take(TimePoint now) {
    const TimePoint full_at = std::max(full_at_, now) + interval_;
    if (full_at - now > burst_) {
      return false;
    }
    full_at_ = full_at;
    return true;
  }

 private:
  TimePoint::duration interval_;  // that one token takes to come
  TimePoint::duration burst_;     // that all take
  TimePoint full_at_;
};

}  // namespace meshd
