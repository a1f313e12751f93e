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

/// The channels of a radio, in the order given. An entry is known by its frequency; of two with the same one the first
/// is meant.
class QEL_EXPORT ChannelList final : public serialization::JSONSerializable {
 public:
  ChannelList() = default;
  explicit ChannelList(std::vector<ChannelEntry> channels) : channels_(std::move(channels)) {}

  const std::vector<ChannelEntry>& get_channels() const { return channels_; }

  /// Null when there is none. Valid until the list is updated, assigned to or gone.
  const ChannelEntry* get_channel_entry(const kHz& frequency) const;
  ChannelEntry* get_channel_entry(const kHz& frequency);

  /// Some frequency is in both lists.
  bool has_common_channel_with(const ChannelList& other) const;

  /// The same frequencies in the same order, each with equal config flags, whenever those are from.
  bool channel_configuration_equivalent_to(const ChannelList& other) const;

  /// Of the channels numbered from `first` to `last`, both included.
  void set_performance_opt_flag(unsigned char first, unsigned char last, bool value);

  /// Makes the config flags unset, the state flags, or both.
  void reset_configuration_flags();
  void reset_state_flags();
  void reset_state_and_config_flags();

  /// Gives each channel whose config flags are unset the empty set of them, as of now.
  void set_unset_configuration_flags_to_not_penalized();

  /// The same for the state flags: nothing is known against the channel.
  void set_unset_state_flags_to_default_state();

  /// The band that all channels lie in, the invalid one for an empty list. Throws std::logic_error when there are
  /// several, the invalid one counted; a list with both 5 GHz sub-bands has two detailed bands.
  FrequencyBand get_frequency_band() const;
  DetailedFrequencyBand get_detailed_frequency_band() const;

  /// True if `update(other)` would change something.
  bool can_update_from(const ChannelList& other) const;

  /// Updates the entries that `other` has too, and appends those that only it has, in its order.
  void update(const ChannelList& other);

  /// The same frequencies in the same order, with equal values, whenever those are from.
  bool equivalent_to(const ChannelList& other) const;

  /// Values and timestamps, in order.
  bool operator==(const ChannelList& other) const { return channels_ == other.channels_; }

  /// A line for each entry.
  void dbg_str(std::ostream& os) const;

  void serialize_impl(serialization::YAJLStream& stream, serialization::SerializationContext& context) const override;

 private:
  std::vector<ChannelEntry> channels_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const ChannelList& list);

}  // namespace qel
