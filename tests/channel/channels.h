#pragma once

#include "qel/channel/channel_info.h"
#include "tests/support/testing.h"

namespace qel {

constexpr auto W20 = ChannelWidth::WIDTH_20_MHZ;
constexpr auto W40 = ChannelWidth::WIDTH_40_MHZ;
constexpr auto W80 = ChannelWidth::WIDTH_80_MHZ;
constexpr auto W160 = ChannelWidth::WIDTH_160_MHZ;
constexpr auto W8080 = ChannelWidth::WIDTH_80_80_MHZ;
constexpr auto NO_WIDTH = ChannelWidth::INVALID;
constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

inline LastChanged<kHz> frequency(long value, std::int64_t time) { return {kHz(value), time}; }
inline LastChanged<ChannelInfo::Segment> segment(long center, ChannelWidth width, std::int64_t time) {
  return {{kHz(center), width}, time};
}

}  // namespace qel
