#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "tools/meshd/entity/token_bucket.h"

namespace meshd {

/// How many frames answers may take. Who forges a question has the answer, which is many times as long, sent to
/// somebody else: so each link to a neighbour and each device of the mesh beyond has its own limit, all others that ask
/// on one interface have one together, and there is one for all. Of that a part is kept for the links: whoever forges
/// what strangers and far devices ask keeps no neighbour from its answers.
class AnswerLimits {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// Devices of a large mesh ask each other before they know each other.
  static constexpr int STRANGERS_A_SECOND = 32;
  static constexpr int STRANGERS_AT_ONCE = 64;
  static constexpr int IN_ALL_A_SECOND = 128;
  static constexpr int IN_ALL_AT_ONCE = 256;
  static constexpr int KEPT_FOR_LINKS = IN_ALL_AT_ONCE / 4;

  enum class Asker { LINK, FAR_DEVICE };

  /// Whether one may be answered that has `own` as its limit.
  bool take(Asker asker, AskerLimit& own, TimePoint now) {
    return take(own, asker == Asker::LINK ? 0 : KEPT_FOR_LINKS, now);
  }

  /// Whether a stranger on the interface may be answered.
  bool take(std::size_t interface, TimePoint now) {
    strangers_.resize(std::max(strangers_.size(), interface + 1));
    return take(strangers_[interface], KEPT_FOR_LINKS, now);
  }

  /// The last answer took so many frames more than one.
  void charge(int frames) { in_all_.charge(frames); }

 private:
  /// Spends nothing of the asker's own for what the limit for all refuses.
  bool take(auto& own, int spare, TimePoint now) {
    return in_all_.has_room(now, spare) && own.take(now) && in_all_.take(now);
  }

  std::vector<TokenBucket<STRANGERS_A_SECOND, STRANGERS_AT_ONCE>> strangers_;  // by the numbers of the interfaces
  TokenBucket<IN_ALL_A_SECOND, IN_ALL_AT_ONCE> in_all_;
};

}  // namespace meshd
