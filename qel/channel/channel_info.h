#pragma once

#include <iosfwd>
#include <utility>

#include "qel/channel/dynamic_value.h"
#include "qel/channel/type_with_ratio.h"
#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"
#include "qel/core/serialization/json_serializable.h"

namespace qel {

/// The operating channel of a radio.
class QEL_EXPORT ChannelInfo final : public serialization::JSONSerializable {
 public:
  /// Centre frequency and width; for an 80+80 MHz channel, of its first segment.
  using Segment = std::pair<kHz, ChannelWidth>;

  /// Everything unset.
  ChannelInfo() = default;

  /// Takes all values unchecked; `is_valid(const ChannelInfo&)` reports errors.
  ChannelInfo(const LastChanged<kHz>& primary_frequency, const LastChanged<Segment>& primary_segment,
              const kHz& secondary_center_frequency, const LastChanged<float>& max_power)
      : primary_frequency_(primary_frequency),
        primary_segment_(primary_segment),
        secondary_center_frequency_(secondary_center_frequency),
        max_power_(max_power) {}

  ChannelInfo(const LastChanged<kHz>& primary_frequency, const LastChanged<float>& max_power)
      : ChannelInfo(primary_frequency, {}, kHz(0), max_power) {}

  /// Centre of the primary 20 MHz channel.
  const LastChanged<kHz>& get_primary_frequency() const { return primary_frequency_; }
  /// Accepts a value that is later and different. Does not check it against the segment.
  void set_primary_frequency(const LastChanged<kHz>& frequency) { primary_frequency_.update(frequency); }

  const LastChanged<Segment>& get_primary_segment() const { return primary_segment_; }

  /// Accepts a later and different segment together with its secondary centre. The secondary centre has no timestamp of
  /// its own: with the segment already stored, a different centre is always accepted. A segment other than 80+80 MHz
  /// sets the secondary centre to 0. An unset segment changes nothing.
  ///
  /// Throws std::invalid_argument, and changes nothing, if an acceptable segment has centre 0 or an invalid width,
  /// lacks its second half or has halves that touch, or does not contain the primary channel (if set).
  void set_segment(const LastChanged<Segment>& segment, const kHz& secondary_center_frequency);

  /// Centre of the second 80 MHz segment; 0 unless the width is 80+80 MHz.
  const kHz& get_secondary_center_frequency() const { return secondary_center_frequency_; }

  /// Transmit power in dBm.
  const LastChanged<float>& get_max_power() const { return max_power_; }
  /// Accepts a value that is later and different; NaN differs from everything.
  void set_max_power(const LastChanged<float>& power) { max_power_.update(power); }

  void reset() { *this = ChannelInfo(); }

  /// True if `update(other)` would change something or throw.
  bool can_update_from(const ChannelInfo& other) const;

  /// Calls the setters in the order of the fields. Throws as `set_segment` does, and then changes nothing.
  void update(const ChannelInfo& other);

  /// True if the values are equal, whatever their timestamps. NaN differs from itself, here and in `==`.
  bool equivalent_to(const ChannelInfo& other) const;

  /// Compares values and timestamps.
  bool operator==(const ChannelInfo& other) const;

  void dbg_str(std::ostream& os) const;

  void serialize_impl(serialization::YAJLStream& stream, serialization::SerializationContext& context) const override;

 private:
  bool takes_segment(const LastChanged<Segment>& segment, const kHz& secondary_center_frequency) const;

  LastChanged<kHz> primary_frequency_;
  LastChanged<Segment> primary_segment_;
  kHz secondary_center_frequency_;
  LastChanged<float> max_power_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const ChannelInfo& info);

/// Returns the centre of the `desired`-wide part of the segment that contains the primary channel. If the width is the
/// segment's own, this is the segment's centre; likewise for 160 MHz of an 80+80 MHz channel, which ranks as wider.
///
/// Throws std::invalid_argument if the primary frequency or the segment is not set, or if the width is 80+80 MHz,
/// invalid or wider than the segment.
QEL_EXPORT kHz get_center_frequency_of_subsegment(const ChannelInfo& info, ChannelWidth desired);

}  // namespace qel
