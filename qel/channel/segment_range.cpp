#include "qel/channel/segment_range.h"

#include <ostream>

#include "qel/channel/frequency.h"

namespace qel {

namespace {

kHz half_of(ChannelWidth width) { return kHz(unit_cast<kHz>(channel_width_to_frequency(width)).value() / 2); }

}  // namespace

SegmentRange::SegmentRange(const kHz& center, ChannelWidth width)
    : low(center - half_of(width)), high(center + half_of(width)) {}

bool SegmentRange::holds_channel(const kHz& frequency) const {
  return low <= frequency - kHz(10000) && high >= frequency + kHz(10000);
}

std::ostream& operator<<(std::ostream& os, const SegmentRange& range) {
  return os << "[" << range.low << " - " << range.high << "]";
}

}  // namespace qel
