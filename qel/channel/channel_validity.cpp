#include "qel/channel/channel_validity.h"

#include <algorithm>
#include <ostream>

#include "qel/channel/frequency.h"
#include "qel/channel/operating_class_deduction.h"
#include "qel/channel/segment_range.h"
#include "qel/core/text.h"
#include "qel/core/validity.h"
#include "qel/daemon/log.h"

namespace qel {

namespace {

/// Logs an error and returns false.
template <class... Parts>
bool report(const Parts&... parts) {
  ((debug::stream("type_validator") << debug::LogLevels::ERROR) << ... << parts) << std::endl;
  return false;
}

bool lies_in_band(const kHz& frequency) { return is_valid(frequency_to_band(frequency)); }

/// True if the channel has this frequency on the grid of the band, below `end`.
bool agrees_on_grid(const MHz& frequency, unsigned char channel, FrequencyBand band, const MHz& end) {
  return frequency < end &&
         frequency == unit_cast<MHz>(channel_to_frequency(band_to_starting_frequency(band), channel));
}

bool frequency_has_channel(const kHz& frequency, unsigned char channel) {
  const MHz whole = unit_cast<MHz>(frequency);
  return agrees_on_grid(whole, channel, FrequencyBand::BAND_2_4_GHZ, MHz(3000)) ||
         (channel == 14 && whole == MHz(2484)) ||
         agrees_on_grid(whole, channel, FrequencyBand::BAND_5_GHZ, MHz(6000)) ||
         agrees_on_grid(whole, channel, FrequencyBand::BAND_6_GHZ, MHz(7125));
}

bool contradicts_itself(const std::bitset<5>& state) {
  const auto both = [&state](ChannelStateBit a, ChannelStateBit b) {
    return state.test(bit_index(a)) && state.test(bit_index(b));
  };
  return both(ChannelStateBit::DFS_CLEAR, ChannelStateBit::RADAR_FOUND) ||
         both(ChannelStateBit::CAC_RUNNING, ChannelStateBit::PRECAC_TODO);
}

bool is_secondary_center_valid(const ChannelInfo::Segment& segment, const kHz& secondary_center) {
  const auto& [center, width] = segment;
  if (width != ChannelWidth::WIDTH_80_80_MHZ) {
    return secondary_center == kHz(0);
  }
  return lies_in_band(secondary_center) && !SegmentRange(center, width).touches(SegmentRange(secondary_center, width));
}

}  // namespace

bool is_valid(const ChannelEntry& entry) {
  if (!frequency_has_channel(entry.get_frequency(), entry.get_channel_number())) {
    return report("Frequency value and channel index does not seem to match:", entry.get_frequency(), " and ",
                  Decimal(entry.get_channel_number()));
  }
  if (entry.get_capability_flags().none()) {
    return report("HW Flags invalid: All zero");
  }
  if (const auto& state = entry.get_state_flags(); state.is_set() && contradicts_itself(state.get())) {
    return report("ChannelStateBits contradictory (", state.get().to_string(), ")");
  }
  if (const auto& utilization = entry.get_channel_utilization();
      utilization.is_set() && !is_valid_channel_utilization(utilization.get())) {
    return report("Invalid channel utilization channel entry");
  }
  if (entry.get_ANPI().is_set() && !is_valid_anpi(entry.get_ANPI().get())) {
    return report("Invalid ANPI in channel entry");
  }
  if (!OperatingClassDeduction::opclass_deducible_from_channel(entry, OperatingClassDeduction::Region::GLOBAL)) {
    return report("Channel Entry does not belong to any operating class");
  }
  return true;
}

bool is_valid(const ChannelList& list) {
  const auto& entries = list.get_channels();
  if (!std::ranges::all_of(entries, [](const ChannelEntry& entry) { return is_valid(entry); })) {
    return false;
  }
  if (!entries.empty() && std::ranges::any_of(entries, [&](const ChannelEntry& entry) {
        return entry.get_frequency_band() != entries.front().get_frequency_band();
      })) {
    return report("Channel list covers multiple frequency bands");
  }
  return true;
}

bool is_valid(const ChannelInfo& info) {
  const auto& primary = info.get_primary_frequency();
  if (primary.is_set() && !lies_in_band(primary.get())) {
    return report("primary frequency is invalid:", primary.get());
  }
  if (!info.get_primary_segment().is_set()) {
    return info.get_secondary_center_frequency() == kHz(0) ||
           report("secondary segment is invalid:", info.get_secondary_center_frequency());
  }
  const auto& [center, width] = info.get_primary_segment().get();
  if (!lies_in_band(center)) {
    return report("primary segment is invalid:", center);
  }
  if (!is_valid(width)) {
    return report("channel width is invalid:", width);
  }
  const SegmentRange range(center, width);
  if (primary.is_set() && !range.holds_channel(primary.get())) {
    return report("primary segment is invalid:", range);
  }
  if (!is_secondary_center_valid(info.get_primary_segment().get(), info.get_secondary_center_frequency())) {
    return report("secondary segment is invalid:", info.get_secondary_center_frequency());
  }
  return true;
}

}  // namespace qel
