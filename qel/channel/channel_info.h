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
  /// Centre frequency and width; of an 80+80 MHz channel the first of its two segments.
  using Segment = std::pair<kHz, ChannelWidth>;

  /// All unset.
  ChannelInfo() = default;

  /// Takes everything as it is; `is_valid(const ChannelInfo&)` tells what is wrong with it.
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
  /// Takes a later and different one. Does not look at the segment.
  void set_primary_frequency(const LastChanged<kHz>& frequency) { primary_frequency_.update(frequency); }

  const LastChanged<Segment>& get_primary_segment() const { return primary_segment_; }

  /// Takes a later and different segment with its secondary centre. The secondary centre has no time of its own: with
  /// the segment that is stored already, a different one is taken whenever it is from. A segment other than 80+80 MHz
  /// has none, and sets it to 0. An unset segment changes nothing.
  ///
  /// Throws std::invalid_argument, and changes nothing, for a segment to be taken that has centre 0 or an invalid
  /// width, whose two halves touch, that lacks the second one, or that does not hold the primary channel if that is
  /// set.
  void set_segment(const LastChanged<Segment>& segment, const kHz& secondary_center_frequency);

  /// Centre of the second 80 MHz segment; 0 unless the width is 80+80 MHz.
  const kHz& get_secondary_center_frequency() const { return secondary_center_frequency_; }

  /// Transmit power in dBm.
  const LastChanged<float>& get_max_power() const { return max_power_; }
  /// Takes a later and different one; NaN differs from everything.
  void set_max_power(const LastChanged<float>& power) { max_power_.update(power); }

  void reset() { *this = ChannelInfo(); }

  /// True if `update(other)` would change something, or throw.
  bool can_update_from(const ChannelInfo& other) const;

  /// The setters, by order of the fields. Throws what `set_segment` throws, and changes nothing then.
  void update(const ChannelInfo& other);

  /// Equal values, whenever they are from. NaN is unequal to itself, here and in `==`.
  bool equivalent_to(const ChannelInfo& other) const;

  /// Values and timestamps.
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

/// The centre of that part of the segment, `desired` wide, that holds the primary channel. The segment's own centre if
/// the width is its own, and if 160 MHz are desired of an 80+80 MHz channel, which ranks as the wider one.
///
/// Throws std::invalid_argument when the primary frequency or the segment is not set, and for a width that is 80+80
/// MHz, invalid or wider than the segment's.
QEL_EXPORT kHz get_center_frequency_of_subsegment(const ChannelInfo& info, ChannelWidth desired);

}  // namespace qel
