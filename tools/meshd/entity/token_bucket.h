#pragma once

#include <algorithm>
#include <chrono>

namespace meshd {

/// Lets `BURST` at once through when it is full, and fills with `RATE` a second.
template <int RATE, int BURST>
class TokenBucket {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// Whether one more may pass and `spare` behind it.
  constexpr bool has_room(TimePoint now, int spare = 0) const {
    return std::max(full_at_, now) - now <= (BURST - 1 - spare) * INTERVAL;
  }

  /// Whether one more may pass, which then has.
  constexpr bool take(TimePoint now) {
    if (!has_room(now)) {
      return false;
    }
    full_at_ = std::max(full_at_, now) + INTERVAL;
    return true;
  }

  /// So many more passed: they are missing to those that come.
  constexpr void charge(int count) { full_at_ += count * INTERVAL; }

 private:
  /// That one token takes to come.
  static constexpr TimePoint::duration INTERVAL = TimePoint::duration(std::chrono::seconds(1)) / RATE;

  TimePoint full_at_;
};

/// How often one device may be answered: a row of questions at once, and then as many as are put again.
using AskerLimit = TokenBucket<4, 20>;

}  // namespace meshd
