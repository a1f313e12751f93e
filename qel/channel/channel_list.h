#pragma once

#include <iosfwd>
#include <utility>
#include <vector>

#include "qel/channel/channel_entry.h"
#include "qel/channel/type_with_ratio.h"
#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"
#include "qel/core/serialization/json_serializable.h"

namespace qel {

/// The channels of a radio, in the given order. An entry is identified by its frequency; if two entries share one, the
/// first is used.
class QEL_EXPORT ChannelList final : public serialization::JSONSerializable {
 public:
  ChannelList() = default;
  explicit ChannelList(std::vector<ChannelEntry> channels) : channels_(std::move(channels)) {}

  const std::vector<ChannelEntry>& get_channels() const { return channels_; }

  /// Returns null if there is no such channel. The pointer is valid until the list is updated, assigned to or
  /// destroyed.
  const ChannelEntry* get_channel_entry(const kHz& frequency) const;
  ChannelEntry* get_channel_entry(const kHz& frequency);

  /// True if a frequency is in both lists.
  bool has_common_channel_with(const ChannelList& other) const;

  /// True if both have the same frequencies in the same order with equal config flags, whatever their timestamps.
  bool channel_configuration_equivalent_to(const ChannelList& other) const;

  /// Sets the flag of the channels numbered `first` to `last`, inclusive.
  void set_performance_opt_flag(unsigned char first, unsigned char last, bool value);

  /// Makes the config flags, or the state flags, unset.
  void reset_configuration_flags();
  void reset_state_flags();
  void reset_state_and_config_flags();

  /// Gives each channel whose config flags are unset an empty set of flags with the current time.
  void set_unset_configuration_flags_to_not_penalized();

  /// Does the same for the state flags: nothing is known against the channel.
  void set_unset_state_flags_to_default_state();

  /// Returns the band that contains all channels, or the invalid band for an empty list. Throws std::logic_error if
  /// there are several, counting the invalid band; a list with both 5 GHz sub-bands has two detailed bands.
  FrequencyBand get_frequency_band() const;
  DetailedFrequencyBand get_detailed_frequency_band() const;

  /// True if `update(other)` would change something.
  bool can_update_from(const ChannelList& other) const;

  /// Updates the entries that `other` also has, and appends the others in the order of `other`.
  void update(const ChannelList& other);

  /// True if both have the same frequencies in the same order with equal values, whatever their timestamps.
  bool equivalent_to(const ChannelList& other) const;

  /// Compares values, timestamps and order.
  bool operator==(const ChannelList& other) const { return channels_ == other.channels_; }

  /// Prints one line per entry.
  void dbg_str(std::ostream& os) const;

  void serialize_impl(serialization::YAJLStream& stream, serialization::SerializationContext& context) const override;

 private:
  std::vector<ChannelEntry> channels_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const ChannelList& list);

}  // namespace qel
