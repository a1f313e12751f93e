#pragma once

#include <algorithm>
#include <chrono>

namespace meshd {

/// A token bucket that holds `BURST` tokens and gains `RATE` a second.
template <int RATE, int BURST>
class TokenBucket {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// Whether one more event may pass and leave `spare` tokens.
  constexpr bool has_room(TimePoint now, int spare = 0) const {
    return std::max(full_at_, now) - now <= (BURST - 1 - spare) * INTERVAL;
  }

  /// Takes a token if there is one. Returns whether it did.
  constexpr bool take(TimePoint now) {
    if (!has_room(now)) {
      return false;
    }
    full_at_ = std::max(full_at_, now) + INTERVAL;
    return true;
  }

  /// Takes `tokens` unconditionally; later events wait for them to be regained.
  constexpr void charge(int count) { full_at_ += count * INTERVAL; }

 private:
  /// The time in which one token is gained.
  static constexpr TimePoint::duration INTERVAL = TimePoint::duration(std::chrono::seconds(1)) / RATE;

  TimePoint full_at_;
};

/// How often one device is answered: a complete sequence of queries at once, then at the rate at which queries are
/// repeated.
using AskerLimit = TokenBucket<4, 20>;

}  // namespace meshd
