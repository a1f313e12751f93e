#pragma once

#include <array>
#include <chrono>
#include <cstddef>

#include "tools/meshd/frame.h"

namespace meshd {

/// Remembers the messages of the last seconds, so that one that came over two ways is taken once.
class DuplicateFilter {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// The memory: whichever ends first. A device that starts again may use the same numbers again, so that the time must
  /// be short.
  static constexpr std::size_t CAPACITY = 256;
  static constexpr std::chrono::seconds MEMORY{3};

  /// True for the first of equal messages: equal in originator, message type and identifier, and fragment.
  bool is_new(const qel::MACAddress& originator, const qel::ieee1905_1::MessageHead& head, TimePoint now);

 private:
  struct Entry {
    qel::MACAddress originator;
    qel::ieee1905_1::MessageHead head;
    TimePoint time;
  };

  std::array<Entry, CAPACITY> entries_;  // a ring
  std::size_t count_ = 0;
  std::size_t next_ = 0;
};

}  // namespace meshd
