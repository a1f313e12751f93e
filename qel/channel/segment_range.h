#pragma once

#include <iosfwd>

#include "qel/channel/type_with_ratio.h"
#include "qel/channel/wlan_types.h"

namespace qel {

/// What one segment of a channel occupies, borders included.
struct SegmentRange {
  kHz low;
  kHz high;

  /// 80+80 MHz counts as 80 MHz, an invalid width as 0.
  SegmentRange(const kHz& center, ChannelWidth width);

  /// The 20 MHz around the frequency lie inside.
  bool holds_channel(const kHz& frequency) const;

  bool holds(const SegmentRange& other) const { return low <= other.low && high >= other.high; }

  /// They have a frequency in common, a border included.
  bool touches(const SegmentRange& other) const { return low <= other.high && high >= other.low; }
};

/// "[5170000 kHz - 5250000 kHz]".
std::ostream& operator<<(std::ostream& os, const SegmentRange& range);

}  // namespace qel
