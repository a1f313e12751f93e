#pragma once

#include <bitset>
#include <cstdint>
#include <iosfwd>
#include <set>

#include "qel/channel/dynamic_value.h"
#include "qel/channel/type_with_ratio.h"
#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"
#include "qel/core/serialization/json_serializable.h"

namespace qel {

/// One 20 MHz channel of a radio's channel list.
class QEL_EXPORT ChannelEntry final : public serialization::JSONSerializable {
 public:
  /// Takes all values unchecked; `is_valid(const ChannelEntry&)` reports errors.
  ChannelEntry(unsigned char channel_number, const kHz& frequency, const std::bitset<9>& capability_flags,
               const LastChanged<std::bitset<5>>& state_flags = {},
               const LastChanged<std::bitset<2>>& config_flags = {}, const LastChanged<float>& max_power = {},
               const LastChanged<float>& max_regulatory_power = {}, const LastUpdated<unsigned char>& ANPI = {},
               const LastUpdated<unsigned char>& channel_utilization = {})
      : channel_number_(channel_number),
        frequency_(frequency),
        capability_flags_(capability_flags),
        state_flags_(state_flags),
        config_flags_(config_flags),
        max_power_(max_power),
        max_regulatory_power_(max_regulatory_power),
        ANPI_(ANPI),
        channel_utilization_(channel_utilization) {}

  unsigned char get_channel_number() const { return channel_number_; }
  const kHz& get_frequency() const { return frequency_; }
  /// `ChannelCapabilityBit`s, determined by the hardware.
  const std::bitset<9>& get_capability_flags() const { return capability_flags_; }

  FrequencyBand get_frequency_band() const;
  DetailedFrequencyBand get_detailed_frequency_band() const;

  /// Derived from the capability flags; INVALID if they include no width.
  ChannelWidth get_min_supported_channel_width() const;
  ChannelWidth get_max_supported_channel_width() const;
  std::set<ChannelWidth> get_all_supported_channel_width() const;

  /// `ChannelStateBit`s. This setter and those below accept a later value according to the field's strategy.
  const LastChanged<std::bitset<5>>& get_state_flags() const { return state_flags_; }
  void set_state_flags(const LastChanged<std::bitset<5>>& flags) { state_flags_.update(flags); }
  void reset_state_flags() { state_flags_.reset(); }

  /// `ChannelConfigBit`s.
  const LastChanged<std::bitset<2>>& get_config_flags() const { return config_flags_; }
  void set_config_flags(const LastChanged<std::bitset<2>>& flags) { config_flags_.update(flags); }
  void reset_config_flags() { config_flags_.reset(); }

  /// One bit of the config flags; false if they are unset. Changing a bit gives the flags the current time; unset flags
  /// start from none.
  bool get_remote_disturber() const { return get_config_flag(ChannelConfigBit::REMOTE_DISTURBER); }
  void set_remote_disturber(bool value) { set_config_flag(ChannelConfigBit::REMOTE_DISTURBER, value); }
  bool get_performance_opt() const { return get_config_flag(ChannelConfigBit::PERFORMANCE_OPTIMIZATION); }
  void set_performance_opt(bool value) { set_config_flag(ChannelConfigBit::PERFORMANCE_OPTIMIZATION, value); }

  /// In dBm.
  const LastChanged<float>& get_max_power() const { return max_power_; }
  void set_max_power(const LastChanged<float>& power) { max_power_.update(power); }

  /// In dBm.
  const LastChanged<float>& get_max_regulatory_power() const { return max_regulatory_power_; }
  void set_max_regulatory_power(const LastChanged<float>& power) { max_regulatory_power_.update(power); }

  /// Average noise power indicator; see `is_valid_anpi`.
  const LastUpdated<unsigned char>& get_ANPI() const { return ANPI_; }
  void set_ANPI(const LastUpdated<unsigned char>& ANPI) { ANPI_.update(ANPI); }

  /// In percent.
  const LastUpdated<unsigned char>& get_channel_utilization() const { return channel_utilization_; }
  void set_channel_utilization(const LastUpdated<unsigned char>& utilization) {
    channel_utilization_.update(utilization);
  }

  /// True if `update(other)` would change something.
  bool can_update_from(const ChannelEntry& other) const;

  /// Takes over channel number and frequency, adds the other's capabilities, and takes each later value according to
  /// its field's strategy.
  void update(const ChannelEntry& other);

  /// True if the values are equal, whatever their timestamps. NaN differs from itself, here and in `==`.
  bool equivalent_to(const ChannelEntry& other) const;

  /// Compares values and timestamps.
  bool operator==(const ChannelEntry& other) const;

  /// Orders by frequency alone.
  friend bool operator<(const ChannelEntry& left, const ChannelEntry& right) {
    return left.frequency_ < right.frequency_;
  }

  void dbg_str(std::ostream& os) const;

  void serialize_impl(serialization::YAJLStream& stream, serialization::SerializationContext& context) const override;

 private:
  bool get_config_flag(ChannelConfigBit bit) const;
  void set_config_flag(ChannelConfigBit bit, bool value);

  unsigned char channel_number_;
  kHz frequency_;
  std::bitset<9> capability_flags_;
  LastChanged<std::bitset<5>> state_flags_;
  LastChanged<std::bitset<2>> config_flags_;
  LastChanged<float> max_power_;
  LastChanged<float> max_regulatory_power_;
  LastUpdated<unsigned char> ANPI_;
  LastUpdated<unsigned char> channel_utilization_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const ChannelEntry& entry);

}  // namespace qel
