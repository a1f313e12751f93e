#include "qel/channel/operating_class_deduction.h"

#include <algorithm>
#include <ostream>
#include <stdexcept>

#include "qel/core/enum_text.h"
#include "qel/core/text.h"

namespace qel {

namespace {

using Region = OperatingClassDeduction::Region;
using Behavior = OperatingClassDeduction::Behavior;

constexpr EnumText REGIONS[] = {
    {Region::USA, "USA"},       {Region::EUROPE, "EUROPE"}, {Region::JAPAN, "JAPAN"},
    {Region::GLOBAL, "GLOBAL"}, {Region::CHINA, "CHINA"},
};

}  // namespace

std::string enum_to_string(OperatingClassDeduction::Region region) {
  const auto value = static_cast<std::uint16_t>(region);
  const char* text = find_enum_text(REGIONS, value);
  return text != nullptr ? text : "unknown region value " + std::to_string(value);
}

std::string enum_to_string(OperatingClassDeduction::Behavior behavior) {
  switch (behavior) {
    case Behavior::EIGHTY_PLUS_BEHAVIOR:
      return "EIGHTY_PLUS_BEHAVIOR";
    case Behavior::UNMAPPED_BEHAVIOR:
      return "UNMAPPED_BEHAVIOR";
    case Behavior::PRIMARY_LOWER_BEHAVIOR:
      return "PRIMARY_LOWER_BEHAVIOR";
    case Behavior::PRIMARY_UPPER_BEHAVIOR:
      return "PRIMARY_UPPER_BEHAVIOR";
  }
  return std::to_string(static_cast<std::uint32_t>(behavior));
}

std::ostream& operator<<(std::ostream& os, OperatingClassDeduction::Region region) {
  return os << enum_to_string(region);
}
std::ostream& operator<<(std::ostream& os, OperatingClassDeduction::Behavior behavior) {
  return os << enum_to_string(behavior);
}

const OperatingClassDeduction::OpclassLookup& OperatingClassDeduction::get_lookup(Region region) {
  switch (region) {
    case Region::EUROPE:
      return _channel_opclasses_europe;
    case Region::GLOBAL:
      return _channel_opclasses_global;
    case Region::USA:
    case Region::JAPAN:
    case Region::CHINA:
      throw std::invalid_argument("Not implemented yet.");
  }
  throw std::invalid_argument("Unknown region.");
}

std::vector<unsigned char> OperatingClassDeduction::get_opclasses(const ChannelList& list, Region region) {
  return get_lookup(region).get_supported_operating_classes(list);
}

std::vector<unsigned char> OperatingClassDeduction::get_opclasses_from_channel_info(const ChannelInfo& info,
                                                                                    Region region) {
  return get_lookup(region).get_opclasses_from_channel_info(info);
}

bool OperatingClassDeduction::opclass_deducible_from_channel(const ChannelEntry& entry, Region region) {
  return get_lookup(region).opclass_deducible_from_channel(entry);
}

kHz OperatingClassDeduction::get_channel_frequency(unsigned char channel, unsigned char opclass, Region region) {
  return get_lookup(region).get_channel_frequency(channel, opclass);
}

kHz OperatingClassDeduction::get_segment_center_frequency(unsigned char channel, unsigned char opclass, Region region) {
  return get_lookup(region).get_segment_center_frequency(channel, opclass);
}

std::bitset<9> OperatingClassDeduction::get_channel_capabilities(unsigned char opclass, Region region) {
  return get_lookup(region).get_channel_capabilities(opclass);
}

bool OperatingClassDeduction::is_secondary_segment(unsigned char opclass, Region region) {
  return get_lookup(region).is_secondary_segment(opclass);
}

std::vector<std::uint8_t> OperatingClassDeduction::get_all_opclass_channels(unsigned char opclass, Region region) {
  return get_lookup(region).get_all_opclass_channels(opclass);
}

std::set<std::uint8_t> OperatingClassDeduction::get_all_region_opclasses(Region region) {
  return get_lookup(region).get_all_region_opclasses();
}

std::vector<kHz> OperatingClassDeduction::get_primary_frequencies_with_capabilities(const std::bitset<9>& capabilities,
                                                                                    Region region) {
  return get_lookup(region).get_primary_frequencies_with_capabilities(capabilities);
}

bool is_valid_global_operating_class(std::uint8_t opclass) {
  static const std::set<std::uint8_t> OPCLASSES = OperatingClassDeduction::get_all_region_opclasses(Region::GLOBAL);
  return OPCLASSES.contains(opclass);
}

bool is_valid_global_operating_class_channelset(const std::uint8_t& opclass,
                                                const std::vector<std::uint8_t>& channels) {
  if (!is_valid_global_operating_class(opclass)) {
    return false;
  }
  const auto of_opclass = OperatingClassDeduction::get_all_opclass_channels(opclass, Region::GLOBAL);
  return std::ranges::all_of(
      channels, [&](std::uint8_t channel) { return std::ranges::find(of_opclass, channel) != of_opclass.end(); });
}

}  // namespace qel
