#include "qel/ieee1905_1/operating_channel_conversion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "qel/channel/frequency.h"
#include "qel/channel/segment_range.h"
#include "qel/core/text.h"

namespace qel::ieee1905_1 {

namespace {

using Behavior = OperatingClassDeduction::Behavior;
using Region = OperatingClassDeduction::Region;

/// An entry of a report and its meaning.
struct Part {
  OperatingClassChannel entry;
  OpclassSegment segment;

  SegmentRange range() const { return {segment.center, segment.width}; }
};

[[noreturn]] void refuse(const Part& a, const Part& b) {
  throw std::invalid_argument("Operating channel report contradicts itself: " + to_string(a.entry) + " and " +
                              to_string(b.entry));
}

/// Keeps the first part of its kind; any other must have the same `value`.
template <class Value>
void keep_one(const Part*& kept, const Part& part, const Value& value) {
  if (kept == nullptr) {
    kept = &part;
  } else if (value(*kept) != value(part)) {
    refuse(*kept, part);
  }
}

kHz center_of(const Part& part) { return part.segment.center; }

/// Orders the halves of an 80+80 MHz channel: the half that contains the parts up to 80 MHz comes first.
void order_halves(std::vector<const Part*>& halves, const Part* of_80_mhz, const Part* widest) {
  if (halves.size() == 1 && of_80_mhz != nullptr && center_of(*of_80_mhz) != center_of(*halves.front())) {
    halves.push_back(of_80_mhz);
  }
  if (halves.size() == 1) {
    throw std::invalid_argument("Operating channel report lacks the second segment beside " +
                                to_string(halves.front()->entry));
  }
  if (halves.front()->range().touches(halves.back()->range())) {
    refuse(*halves.front(), *halves.back());
  }
  if (widest != nullptr) {
    const auto holds_widest = [&](const Part* half) { return half->range().holds(widest->range()); };
    if (std::ranges::none_of(halves, holds_widest)) {
      refuse(*widest, *halves.front());
    }
    if (!holds_widest(halves.front())) {
      std::swap(halves.front(), halves.back());
    }
  }
}

ChannelInfo assemble(const std::vector<Part>& parts, std::int64_t time, float power) {
  const Part* with_primary = nullptr;
  std::array<const Part*, 4> by_width{};  // without 80+80 MHz
  std::vector<const Part*> halves;
  for (const Part& part : parts) {
    if (part.segment.primary) {
      keep_one(with_primary, part, [](const Part& each) { return each.segment.primary; });
    }
    if (part.segment.width != ChannelWidth::WIDTH_80_80_MHZ) {
      keep_one(by_width[static_cast<std::size_t>(part.segment.width)], part, center_of);
    } else if (std::ranges::none_of(halves, [&](const Part* half) { return center_of(*half) == center_of(part); })) {
      if (halves.size() == 2) {
        refuse(*halves.back(), part);
      }
      halves.push_back(&part);
    }
  }
  const Part* widest = nullptr;
  for (const Part* part : by_width) {
    if (part != nullptr) {
      if (widest != nullptr && !part->range().holds(widest->range())) {
        refuse(*widest, *part);
      }
      widest = part;
    }
  }
  kHz secondary;
  ChannelWidth width = widest != nullptr ? widest->segment.width : ChannelWidth::INVALID;
  if (!halves.empty()) {
    order_halves(halves, by_width[static_cast<std::size_t>(ChannelWidth::WIDTH_80_MHZ)], widest);
    widest = halves.front();
    width = ChannelWidth::WIDTH_80_80_MHZ;
    secondary = center_of(*halves.back());
  }
  LastChanged<kHz> primary;
  LastChanged<ChannelInfo::Segment> segment;
  if (with_primary != nullptr) {
    primary = {*with_primary->segment.primary, time};
  }
  if (widest != nullptr) {
    segment = {{center_of(*widest), width}, time};
  }
  return ChannelInfo(primary, segment, secondary, LastChanged<float>(power, time));
}

/// Finds the channel with this width, centre and, if the class defines it, primary channel.
std::optional<OperatingClassChannel> find_channel(ChannelWidth width, const kHz& center, const kHz& primary,
                                                  Region region) {
  const auto& lookup = OperatingClassDeduction::get_lookup(region);
  std::set<Behavior> behaviors = {center < primary ? Behavior::PRIMARY_UPPER_BEHAVIOR
                                                   : Behavior::PRIMARY_LOWER_BEHAVIOR};
  if (width == ChannelWidth::WIDTH_80_80_MHZ) {
    behaviors = {Behavior::EIGHTY_PLUS_BEHAVIOR};
  }
  std::uint8_t opclass = lookup.get_opclass(width, primary, behaviors);
  if (opclass == 0) {
    behaviors.insert(Behavior::UNMAPPED_BEHAVIOR);
    opclass = lookup.get_opclass(width, primary, behaviors);
  }
  if (opclass != 0) {
    for (const std::uint8_t channel : lookup.get_all_opclass_channels(opclass)) {
      const OpclassSegment segment = get_opclass_segment(channel, opclass, region);
      if (segment.center == center && segment.primary.value_or(primary) == primary) {
        return OperatingClassChannel(opclass, channel);
      }
    }
  }
  return std::nullopt;
}

/// A checked copy; for a 20 MHz channel, both primary channel and segment are set.
ChannelInfo complete(const ChannelInfo& info) {
  ChannelInfo whole;
  whole.update(info);
  const LastChanged<kHz>& primary = whole.get_primary_frequency();
  const LastChanged<ChannelInfo::Segment>& segment = whole.get_primary_segment();
  if (!segment.is_set() && primary.is_set()) {
    whole.set_segment({{primary.get(), ChannelWidth::WIDTH_20_MHZ}, primary.get_timestamp()}, kHz(0));
  } else if (segment.is_set() && segment.get().second == ChannelWidth::WIDTH_20_MHZ) {
    whole.set_primary_frequency({segment.get().first, segment.get_timestamp()});
  }
  return whole;
}

signed char whole_dbm(const LastChanged<float>& power) {
  if (!power.is_set() || std::isnan(power.get())) {
    return 0;
  }
  using Limits = std::numeric_limits<signed char>;
  return static_cast<signed char>(std::lround(std::clamp<float>(power.get(), Limits::min(), Limits::max())));
}

}  // namespace

ChannelInfo OperatingChannelConversion::to_channel_info(const OperatingChannelReportTLV& report,
                                                        std::int64_t time) const {
  std::vector<Part> parts;
  for (const OperatingClassChannel& entry : report.get_operating_class_channel_vector()) {
    const std::uint8_t channels[] = {entry.get_channel()};
    if (get_known_channels(channels, entry.get_operating_class(), region_, unknown_).empty()) {
      continue;
    }
    const Part part{entry, get_opclass_segment(entry.get_channel(), entry.get_operating_class(), region_)};
    if (is_valid(part.segment.width)) {
      parts.push_back(part);
    } else if (unknown_ == UnknownChannels::REFUSE) {
      throw std::invalid_argument("Operating channel report has a channel of no known width: " + to_string(entry));
    }
  }
  return assemble(parts, time, report.get_transmit_power_eirp());
}

OperatingChannelReportTLV OperatingChannelConversion::to_report(const MACAddress& radio,
                                                                const ChannelInfo& info) const {
  const auto fail = [&] {
    throw std::invalid_argument("No operating class of " + to_string(region_) + " has the channel of channel info " +
                                to_string(info));
  };
  const ChannelInfo whole = complete(info);
  if (!whole.get_primary_segment().is_set()) {
    fail();
  }
  const kHz center = whole.get_primary_segment().get().first;
  const ChannelWidth width = whole.get_primary_segment().get().second;
  const bool has_primary = whole.get_primary_frequency().is_set();
  const kHz primary = has_primary ? whole.get_primary_frequency().get() : center;

  OperatingChannelReportTLV report(radio);
  report.set_transmit_power_eirp(whole_dbm(info.get_max_power()));
  for (const ChannelWidth narrower :
       {ChannelWidth::WIDTH_20_MHZ, ChannelWidth::WIDTH_40_MHZ, ChannelWidth::WIDTH_80_MHZ}) {
    if (has_primary && narrower < width) {
      const kHz part = get_center_frequency_of_subsegment(whole, narrower);
      if (const auto found = find_channel(narrower, part, primary, region_)) {
        report.add_operating_class_channel(*found);
      }
    }
  }
  const auto add_segment = [&](const kHz& segment_center, const kHz& frequency) {
    if (const auto found = find_channel(width, segment_center, frequency, region_)) {
      report.add_operating_class_channel(*found);
    } else {
      fail();
    }
  };
  add_segment(center, primary);
  if (width == ChannelWidth::WIDTH_80_80_MHZ) {
    add_segment(whole.get_secondary_center_frequency(), whole.get_secondary_center_frequency());
  }
  return report;
}

}  // namespace qel::ieee1905_1
