#pragma once

#include <iosfwd>

#include "qel/channel/type_with_ratio.h"
#include "qel/channel/wlan_types.h"

namespace qel {

/// The frequencies that one segment of a channel occupies, including both ends.
struct SegmentRange {
  kHz low;
  kHz high;

  /// 80+80 MHz counts as 80 MHz, an invalid width as 0.
  SegmentRange(const kHz& center, ChannelWidth width);

  /// True if the 20 MHz around the frequency are inside.
  bool holds_channel(const kHz& frequency) const;

  bool holds(const SegmentRange& other) const { return low <= other.low && high >= other.high; }

  /// True if they share a frequency, ends included.
  bool touches(const SegmentRange& other) const { return low <= other.high && high >= other.low; }
};

/// Prints as "[5170000 kHz - 5250000 kHz]".
std::ostream& operator<<(std::ostream& os, const SegmentRange& range);

}  // namespace qel
