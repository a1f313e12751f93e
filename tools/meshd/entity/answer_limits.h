#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "tools/meshd/entity/token_bucket.h"

namespace meshd {

/// Limits the frames sent as responses. A forged query makes us send a response, many times as long, to a victim. So
/// each link to a neighbour and each device beyond has a limit of its own, all strangers on one interface share one,
/// and there is a limit for all together. A part of the latter is reserved for links: forged queries from strangers and
/// far devices do not keep neighbours from their responses.
class AnswerLimits {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// Devices of a large mesh query each other before they know each other.
  static constexpr int STRANGERS_A_SECOND = 32;
  static constexpr int STRANGERS_AT_ONCE = 64;
  static constexpr int IN_ALL_A_SECOND = 128;
  static constexpr int IN_ALL_AT_ONCE = 256;
  static constexpr int KEPT_FOR_LINKS = IN_ALL_AT_ONCE / 4;

  enum class Asker { LINK, FAR_DEVICE };

  /// Whether to answer an asker with the limit `own`.
  bool take(Asker asker, AskerLimit& own, TimePoint now) {
    return take(own, asker == Asker::LINK ? 0 : KEPT_FOR_LINKS, now);
  }

  /// Whether to answer a stranger on the interface.
  bool take(std::size_t interface, TimePoint now) {
    strangers_.resize(std::max(strangers_.size(), interface + 1));
    return take(strangers_[interface], KEPT_FOR_LINKS, now);
  }

  /// The last response took this many frames in addition to the first.
  void charge(int frames) { in_all_.charge(frames); }

 private:
  /// Does not charge the asker's own limit if the common limit refuses.
  bool take(auto& own, int spare, TimePoint now) {
    return in_all_.has_room(now, spare) && own.take(now) && in_all_.take(now);
  }

  std::vector<TokenBucket<STRANGERS_A_SECOND, STRANGERS_AT_ONCE>> strangers_;  // by the numbers of the interfaces
  TokenBucket<IN_ALL_A_SECOND, IN_ALL_AT_ONCE> in_all_;
};

}  // namespace meshd
