#include "qel/channel/channel_entry.h"

#include <optional>
#include <ostream>

#include "qel/channel/frequency.h"
#include "qel/channel/power.h"
#include "qel/core/serialization/json_member.h"
#include "qel/core/serialization/yajl_wrappers.h"
#include "qel/core/text.h"

namespace qel {

namespace {

constexpr const char* SEPARATOR = " | ";

/// Prints the bits, last bit first; "---" if unset.
template <std::size_t N>
void print_flags(std::ostream& os, const LastChanged<std::bitset<N>>& flags) {
  os << (flags.is_set() ? flags.get().to_string() : "---");
}

void print_number(std::ostream& os, const LastUpdated<unsigned char>& number) {
  if (number.is_set()) {
    os << Decimal(number.get());
  } else {
    os << "---";
  }
}

}  // namespace

FrequencyBand ChannelEntry::get_frequency_band() const { return frequency_to_band(frequency_); }

DetailedFrequencyBand ChannelEntry::get_detailed_frequency_band() const {
  return frequency_to_detailed_band(frequency_);
}

ChannelWidth ChannelEntry::get_min_supported_channel_width() const {
  const std::set<ChannelWidth> widths = get_all_supported_channel_width();
  return widths.empty() ? ChannelWidth::INVALID : *widths.begin();
}

ChannelWidth ChannelEntry::get_max_supported_channel_width() const {
  return capability_bits_max_channel_width(capability_flags_);
}

std::set<ChannelWidth> ChannelEntry::get_all_supported_channel_width() const {
  return capability_bits_channel_widths(capability_flags_);
}

bool ChannelEntry::get_config_flag(ChannelConfigBit bit) const {
  return config_flags_.is_set() && config_flags_.get().test(bit_index(bit));
}

void ChannelEntry::set_config_flag(ChannelConfigBit bit, bool value) {
  if (config_flags_.is_set() && get_config_flag(bit) == value) {
    return;
  }
  std::bitset<2> flags = config_flags_.is_set() ? config_flags_.get() : std::bitset<2>();
  flags.set(bit_index(bit), value);
  config_flags_ = LastChanged<std::bitset<2>>(flags);
}

bool ChannelEntry::can_update_from(const ChannelEntry& other) const {
  return channel_number_ != other.channel_number_ || frequency_ != other.frequency_ ||
         (other.capability_flags_ & ~capability_flags_).any() || state_flags_.can_update_from(other.state_flags_) ||
         config_flags_.can_update_from(other.config_flags_) || max_power_.can_update_from(other.max_power_) ||
         max_regulatory_power_.can_update_from(other.max_regulatory_power_) || ANPI_.can_update_from(other.ANPI_) ||
         channel_utilization_.can_update_from(other.channel_utilization_);
}

void ChannelEntry::update(const ChannelEntry& other) {
  channel_number_ = other.channel_number_;
  frequency_ = other.frequency_;
  capability_flags_ |= other.capability_flags_;
  state_flags_.update(other.state_flags_);
  config_flags_.update(other.config_flags_);
  max_power_.update(other.max_power_);
  max_regulatory_power_.update(other.max_regulatory_power_);
  ANPI_.update(other.ANPI_);
  channel_utilization_.update(other.channel_utilization_);
}

bool ChannelEntry::equivalent_to(const ChannelEntry& other) const {
  return channel_number_ == other.channel_number_ && frequency_ == other.frequency_ &&
         capability_flags_ == other.capability_flags_ && state_flags_.equivalent_to(other.state_flags_) &&
         config_flags_.equivalent_to(other.config_flags_) && max_power_.equivalent_to(other.max_power_) &&
         max_regulatory_power_.equivalent_to(other.max_regulatory_power_) && ANPI_.equivalent_to(other.ANPI_) &&
         channel_utilization_.equivalent_to(other.channel_utilization_);
}

bool ChannelEntry::operator==(const ChannelEntry& other) const {
  return channel_number_ == other.channel_number_ && frequency_ == other.frequency_ &&
         capability_flags_ == other.capability_flags_ && state_flags_ == other.state_flags_ &&
         config_flags_ == other.config_flags_ && max_power_ == other.max_power_ &&
         max_regulatory_power_ == other.max_regulatory_power_ && ANPI_ == other.ANPI_ &&
         channel_utilization_ == other.channel_utilization_;
}

void ChannelEntry::dbg_str(std::ostream& os) const {
  os << Decimal(channel_number_) << SEPARATOR << frequency_ << SEPARATOR << capability_flags_.to_string() << SEPARATOR;
  print_flags(os, state_flags_);
  os << SEPARATOR;
  print_flags(os, config_flags_);
  os << SEPARATOR;
  print_power(os, max_power_) << SEPARATOR;
  print_power(os, max_regulatory_power_) << SEPARATOR;
  print_number(os, ANPI_);
  os << SEPARATOR;
  print_number(os, channel_utilization_);
}

std::ostream& operator<<(std::ostream& os, const ChannelEntry& entry) {
  entry.dbg_str(os);
  return os;
}

void ChannelEntry::serialize_impl(serialization::YAJLStream& stream,
                                  serialization::SerializationContext& context) const {
  std::optional<unsigned int> config_flags;
  if (config_flags_.is_set()) {
    config_flags = static_cast<unsigned int>(config_flags_.get().to_ulong());
  }
  const auto write = [&](const char* key, const auto& value) {
    write_member_or_null(stream, context, key, value, "Serialization of ChannelEntry failed: Failed to write null for ",
                         "");
  };
  serialization::wrap_in_yajl_object(stream, [&] {
    write_member(stream, context, "channel", channel_number_);
    write_member(stream, context, "frequency", frequency_.value());
    write("config_flags", config_flags);
    write("max_power", whole_power(max_power_));
  });
}

}  // namespace qel
