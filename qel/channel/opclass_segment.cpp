#include "qel/channel/opclass_segment.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "qel/channel/frequency.h"
#include "qel/channel/segment_range.h"

namespace qel {

namespace {

/// What the next narrower channel needs; 160 and 80+80 MHz both consist of 80 MHz channels.
std::bitset<9> capabilities_below(ChannelWidth width) {
  switch (width) {
    case ChannelWidth::WIDTH_40_MHZ:
      return channel_width_capability_bits(ChannelWidth::WIDTH_20_MHZ);
    case ChannelWidth::WIDTH_80_MHZ:
      return channel_width_capability_bits(ChannelWidth::WIDTH_40_MHZ);
    case ChannelWidth::WIDTH_160_MHZ:
    case ChannelWidth::WIDTH_80_80_MHZ:
      return channel_width_capability_bits(ChannelWidth::WIDTH_80_MHZ);
    case ChannelWidth::WIDTH_20_MHZ:
    case ChannelWidth::INVALID:
      break;
  }
  return {};
}

}  // namespace

std::vector<std::uint8_t> get_known_channels(std::span<const std::uint8_t> channels, std::uint8_t opclass,
                                             OperatingClassDeduction::Region region, UnknownChannels unknown) {
  const auto& lookup = OperatingClassDeduction::get_lookup(region);
  if (unknown == UnknownChannels::SKIP && !lookup.get_all_region_opclasses().contains(opclass)) {
    return {};
  }
  const std::vector<std::uint8_t> of_class = lookup.get_all_opclass_channels(opclass);
  std::vector<std::uint8_t> known;
  for (const std::uint8_t channel : channels) {
    if (std::ranges::find(of_class, channel) != of_class.end()) {
      known.push_back(channel);
    } else if (unknown == UnknownChannels::REFUSE) {
      throw std::invalid_argument("Provided opclass " + std::to_string(opclass) + " has no channel " +
                                  std::to_string(channel) + "!");
    }
  }
  return known;
}

std::vector<kHz> OpclassSegment::get_20_mhz_channels() const {
  std::vector<kHz> centers;
  const SegmentRange range(center, width);
  for (kHz each = range.low + kHz(10000); each < range.high; each = each + kHz(20000)) {
    centers.push_back(each);
  }
  return centers;
}

std::vector<kHz> OpclassSegment::get_primaries() const {
  return primary ? std::vector<kHz>{*primary} : get_20_mhz_channels();
}

OpclassSegment get_opclass_segment(std::uint8_t channel, std::uint8_t opclass, OperatingClassDeduction::Region region) {
  const auto& lookup = OperatingClassDeduction::get_lookup(region);
  const kHz frequency = lookup.get_channel_frequency(channel, opclass);
  const std::bitset<9> needed = lookup.get_channel_capabilities(opclass);
  const ChannelWidth width = capability_bits_max_channel_width(needed);
  OpclassSegment segment{width, frequency, std::nullopt, needed & ~capabilities_below(width)};
  if (is_valid(width)) {
    segment.center = lookup.get_segment_center_frequency(channel, opclass);
    if (width == ChannelWidth::WIDTH_20_MHZ || needed.test(bit_index(ChannelCapabilityBit::PRIMARY_LOWER_BEHAVIOR)) ||
        needed.test(bit_index(ChannelCapabilityBit::PRIMARY_UPPER_BEHAVIOR))) {
      segment.primary = frequency;
    }
  }
  return segment;
}

}  // namespace qel
