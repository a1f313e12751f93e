#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "tools/meshd/entity/token_bucket.h"

namespace meshd {

/// How many frames answers may take. Who forges a question has the answer, which is many times as long, sent to
/// somebody else: so each link to a neighbour and each device of the mesh beyond has its own limit, all others that ask
/// on one interface have one together, and there is one for all.
class AnswerLimits {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// Devices of a large mesh ask each other before they know each other.
  static constexpr int STRANGERS_A_SECOND = 32;
  static constexpr int STRANGERS_AT_ONCE = 64;
  static constexpr int IN_ALL_A_SECOND = 128;
  static constexpr int IN_ALL_AT_ONCE = 256;

  /// Whether one may be answered that has `own` as its limit, or is a stranger on the interface when null.
  bool take(AskerLimit* own, std::size_t interface, TimePoint now) {
    strangers_.resize(std::max(strangers_.size(), interface + 1));
    return (own != nullptr ? own->take(now) : strangers_[interface].take(now)) && in_all_.take(now);
  }

  /// The last answer took so many frames more than one.
  void charge(int frames) { in_all_.charge(frames); }

 private:
  std::vector<TokenBucket<STRANGERS_A_SECOND, STRANGERS_AT_ONCE>> strangers_;  // by the numbers of the interfaces
  TokenBucket<IN_ALL_A_SECOND, IN_ALL_AT_ONCE> in_all_;
};

}  // namespace meshd
