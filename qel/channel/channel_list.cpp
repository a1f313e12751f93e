#include "qel/channel/channel_list.h"

#include <algorithm>
#include <map>
#include <ostream>
#include <stdexcept>
#include <string>

#include "qel/channel/frequency.h"
#include "qel/core/serialization/json_member.h"
#include "qel/core/serialization/yajl_wrappers.h"
#include "qel/core/text.h"

namespace qel {

namespace {

template <class Entries>
auto find(Entries& entries, const kHz& frequency) {
  return std::ranges::find(entries, frequency, &ChannelEntry::get_frequency);
}

/// The band of all entries; `none` if there are no entries.
template <class Band>
Band one_band(const std::vector<ChannelEntry>& entries, Band (ChannelEntry::*band_of)() const, Band none) {
  std::map<Band, kHz> bands;  // each with the first frequency found in it
  for (const ChannelEntry& entry : entries) {
    bands.emplace((entry.*band_of)(), entry.get_frequency());
  }
  if (bands.size() > 1) {
    std::string text = "ChannelList covers multiple frequency bands:";
    for (const auto& [band, frequency] : bands) {
      text += " " + to_string(frequency);
    }
    throw std::logic_error(text);
  }
  return bands.empty() ? none : bands.begin()->first;
}

}  // namespace

const ChannelEntry* ChannelList::get_channel_entry(const kHz& frequency) const {
  const auto found = find(channels_, frequency);
  return found == channels_.end() ? nullptr : &*found;
}

ChannelEntry* ChannelList::get_channel_entry(const kHz& frequency) {
  const auto found = find(channels_, frequency);
  return found == channels_.end() ? nullptr : &*found;
}

bool ChannelList::has_common_channel_with(const ChannelList& other) const {
  return std::ranges::any_of(
      channels_, [&](const ChannelEntry& entry) { return other.get_channel_entry(entry.get_frequency()) != nullptr; });
}

bool ChannelList::channel_configuration_equivalent_to(const ChannelList& other) const {
  return std::ranges::equal(channels_, other.channels_, [](const ChannelEntry& left, const ChannelEntry& right) {
    return left.get_frequency() == right.get_frequency() &&
           left.get_config_flags().equivalent_to(right.get_config_flags());
  });
}

void ChannelList::set_performance_opt_flag(unsigned char first, unsigned char last, bool value) {
  for (ChannelEntry& entry : channels_) {
    if (entry.get_channel_number() >= first && entry.get_channel_number() <= last) {
      entry.set_performance_opt(value);
    }
  }
}

void ChannelList::reset_configuration_flags() { std::ranges::for_each(channels_, &ChannelEntry::reset_config_flags); }

void ChannelList::reset_state_flags() { std::ranges::for_each(channels_, &ChannelEntry::reset_state_flags); }

void ChannelList::reset_state_and_config_flags() {
  reset_state_flags();
  reset_configuration_flags();
}

void ChannelList::set_unset_configuration_flags_to_not_penalized() {
  for (ChannelEntry& entry : channels_) {
    if (!entry.get_config_flags().is_set()) {
      entry.set_config_flags(LastChanged<std::bitset<2>>(std::bitset<2>()));
    }
  }
}

void ChannelList::set_unset_state_flags_to_default_state() {
  for (ChannelEntry& entry : channels_) {
    if (!entry.get_state_flags().is_set()) {
      entry.set_state_flags(LastChanged<std::bitset<5>>(std::bitset<5>()));
    }
  }
}

FrequencyBand ChannelList::get_frequency_band() const {
  return one_band(channels_, &ChannelEntry::get_frequency_band, FrequencyBand::INVALID_BAND_MAX);
}

DetailedFrequencyBand ChannelList::get_detailed_frequency_band() const {
  return one_band(channels_, &ChannelEntry::get_detailed_frequency_band, DetailedFrequencyBand::INVALID);
}

bool ChannelList::can_update_from(const ChannelList& other) const {
  return std::ranges::any_of(other.channels_, [this](const ChannelEntry& offered) {
    const ChannelEntry* own = get_channel_entry(offered.get_frequency());
    return own == nullptr || own->can_update_from(offered);
  });
}

void ChannelList::update(const ChannelList& other) {
  std::vector<ChannelEntry> updated(channels_);
  for (const ChannelEntry& offered : other.channels_) {
    const auto own = find(updated, offered.get_frequency());
    if (own == updated.end()) {
      updated.push_back(offered);
    } else {
      own->update(offered);
    }
  }
  channels_ = std::move(updated);
}

bool ChannelList::equivalent_to(const ChannelList& other) const {
  return std::ranges::equal(channels_, other.channels_, [](const ChannelEntry& left, const ChannelEntry& right) {
    return left.equivalent_to(right);
  });
}

void ChannelList::dbg_str(std::ostream& os) const {
  const char* separator = "";
  for (const ChannelEntry& entry : channels_) {
    os << separator << entry;
    separator = "\n";
  }
}

std::ostream& operator<<(std::ostream& os, const ChannelList& list) {
  list.dbg_str(os);
  return os;
}

void ChannelList::serialize_impl(serialization::YAJLStream& stream,
                                 serialization::SerializationContext& context) const {
  serialization::wrap_in_yajl_object(stream, [&] { write_member(stream, context, "channels", channels_); });
}

}  // namespace qel
