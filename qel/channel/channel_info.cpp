#include "qel/channel/channel_info.h"

#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>

#include "qel/channel/frequency.h"
#include "qel/channel/power.h"
#include "qel/channel/segment_range.h"
#include "qel/core/serialization/json_member.h"
#include "qel/core/serialization/yajl_wrappers.h"
#include "qel/core/text.h"

namespace qel {

namespace {

/// Only an 80+80 MHz channel has a second segment.
kHz secondary_of(const ChannelInfo::Segment& segment, const kHz& secondary_center) {
  return segment.second == ChannelWidth::WIDTH_80_80_MHZ ? secondary_center : kHz(0);
}

void check_segment(const ChannelInfo::Segment& segment, const kHz& secondary_center,
                   const LastChanged<kHz>& primary_frequency) {
  const auto& [center, width] = segment;
  if (center == kHz(0)) {
    throw std::invalid_argument("primary center frequency " + to_string(center) + " is invalid");
  }
  if (!is_valid(width)) {
    throw std::invalid_argument("channel width " + enum_to_string(width) + " is invalid");
  }
  const SegmentRange range(center, width);
  if (width == ChannelWidth::WIDTH_80_80_MHZ) {
    if (secondary_center == kHz(0)) {
      throw std::invalid_argument("secondary center frequency " + to_string(secondary_center) +
                                  " is invalid in 80+80 mode");
    }
    const SegmentRange secondary(secondary_center, width);
    if (range.touches(secondary)) {
      throw std::invalid_argument("primary segment " + to_string(range) + " and secondary segment " +
                                  to_string(secondary) + " intersect");
    }
  }
  if (primary_frequency.is_set() && !range.holds_channel(primary_frequency.get())) {
    throw std::invalid_argument("Primary frequency " + to_string(primary_frequency.get()) +
                                " is not within primary segment " + to_string(range));
  }
}

/// Prints as "5210000 kHz (channel 42)".
void print_frequency(std::ostream& os, const kHz& frequency) {
  os << frequency << " (channel " << Decimal(frequency_to_channel(frequency)) << ")";
}

}  // namespace

bool ChannelInfo::takes_segment(const LastChanged<Segment>& segment, const kHz& secondary_center_frequency) const {
  if (primary_segment_.can_update_from(segment)) {
    return true;
  }
  return segment.is_set() && primary_segment_.equivalent_to(segment) &&
         secondary_center_frequency != secondary_center_frequency_ &&
         secondary_of(segment.get(), secondary_center_frequency) != secondary_center_frequency_;
}

void ChannelInfo::set_segment(const LastChanged<Segment>& segment, const kHz& secondary_center_frequency) {
  if (!takes_segment(segment, secondary_center_frequency)) {
    return;
  }
  const kHz secondary = secondary_of(segment.get(), secondary_center_frequency);
  check_segment(segment.get(), secondary, primary_frequency_);
  if (segment.get_timestamp() > primary_segment_.get_timestamp()) {
    primary_segment_ = segment;
  }
  secondary_center_frequency_ = secondary;
}

bool ChannelInfo::can_update_from(const ChannelInfo& other) const {
  return primary_frequency_.can_update_from(other.primary_frequency_) ||
         takes_segment(other.primary_segment_, other.secondary_center_frequency_) ||
         max_power_.can_update_from(other.max_power_);
}

void ChannelInfo::update(const ChannelInfo& other) {
  ChannelInfo updated(*this);
  updated.set_primary_frequency(other.primary_frequency_);
  updated.set_segment(other.primary_segment_, other.secondary_center_frequency_);
  updated.set_max_power(other.max_power_);
  *this = updated;
}

bool ChannelInfo::equivalent_to(const ChannelInfo& other) const {
  return primary_frequency_.equivalent_to(other.primary_frequency_) &&
         primary_segment_.equivalent_to(other.primary_segment_) &&
         secondary_center_frequency_ == other.secondary_center_frequency_ && max_power_.equivalent_to(other.max_power_);
}

bool ChannelInfo::operator==(const ChannelInfo& other) const {
  return primary_frequency_ == other.primary_frequency_ && primary_segment_ == other.primary_segment_ &&
         secondary_center_frequency_ == other.secondary_center_frequency_ && max_power_ == other.max_power_;
}

void ChannelInfo::dbg_str(std::ostream& os) const {
  os << "primary frequency: ";
  if (primary_frequency_.is_set()) {
    print_frequency(os, primary_frequency_.get());
  } else {
    os << "---";
  }
  os << ", segment info: ";
  if (primary_segment_.is_set()) {
    const auto& [center, width] = primary_segment_.get();
    os << "primary center: ";
    print_frequency(os, center);
    os << ", channel width: " << width;
    if (width == ChannelWidth::WIDTH_80_80_MHZ) {
      os << "secondary center: ";  // directly after the width
      print_frequency(os, secondary_center_frequency_);
    }
  } else {
    os << "---";
  }
  os << ", max power: ";
  print_power(os, max_power_);
}

std::ostream& operator<<(std::ostream& os, const ChannelInfo& info) {
  info.dbg_str(os);
  return os;
}

void ChannelInfo::serialize_impl(serialization::YAJLStream& stream,
                                 serialization::SerializationContext& context) const {
  std::optional<long> primary_frequency;
  std::optional<long> primary_center;
  std::optional<std::string> width;
  std::optional<long> secondary_center;
  if (primary_frequency_.is_set()) {
    primary_frequency = primary_frequency_.get().value();
  }
  if (primary_segment_.is_set()) {
    primary_center = primary_segment_.get().first.value();
    width = enum_to_string(primary_segment_.get().second);
  }
  if (secondary_center_frequency_ != kHz(0)) {
    secondary_center = secondary_center_frequency_.value();
  }
  const auto write = [&](const char* key, const auto& value) {
    write_member_or_null(stream, context, key, value, "Serialization of ChannelInfo failed: Failed to write null for ",
                         ".");
  };
  serialization::wrap_in_yajl_object(stream, [&] {
    write("primary_freq", primary_frequency);
    write("primary_center", primary_center);
    write("channel_width", width);
    write("secondary_center", secondary_center);
    write("max_power", whole_power(max_power_));
  });
}

kHz get_center_frequency_of_subsegment(const ChannelInfo& info, ChannelWidth desired) {
  if (!info.get_primary_frequency().is_set()) {
    throw std::invalid_argument("primary frequency not set");
  }
  if (!info.get_primary_segment().is_set()) {
    throw std::invalid_argument("primary segment not set");
  }
  if (desired == ChannelWidth::WIDTH_80_80_MHZ) {
    throw std::invalid_argument("not possible to get center for 80+80 bandwidth");
  }
  auto [center, width] = info.get_primary_segment().get();
  if (width < desired || !is_valid(desired)) {
    throw std::invalid_argument("desired segment wider than current segment");
  }
  const kHz primary = info.get_primary_frequency().get();
  const kHz wanted = unit_cast<kHz>(channel_width_to_frequency(desired));
  kHz half(unit_cast<kHz>(channel_width_to_frequency(width)).value() / 2);
  while (wanted <= half) {
    half = kHz(half.value() / 2);
    center = primary < center ? center - half : center + half;
  }
  return center;
}

}  // namespace qel
