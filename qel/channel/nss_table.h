#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"
#include "qel/core/serialization/json_serializable_type.h"

namespace qel {

/// How many spatial streams (NSS) a radio can use with each channel width; 0 means that it cannot use the width. Every
/// radio has at least one stream at 20 MHz. No operation takes ChannelWidth::INVALID or above: std::out_of_range.
class QEL_EXPORT NSSTable {
 public:
  /// One stream at 20 MHz.
  constexpr NSSTable() = default;

  /// `streams` at `width` and at all that are narrower.
  NSSTable(ChannelWidth width, unsigned char streams);

  std::uint8_t get_num_streams(ChannelWidth width) const;

  /// Raises the count of `width`, with `fill_narrower` those of all narrower widths too; a smaller count replaces a
  /// larger one only with `force`. 80+80 MHz counts as the widest.
  void update_num_streams(ChannelWidth width, unsigned char streams, bool fill_narrower, bool force);

  void clear() { *this = NSSTable(); }
  void swap(NSSTable& other) noexcept { num_streams_.swap(other.num_streams_); }

  /// For each width the smaller count, what both can do.
  NSSTable intersect(const NSSTable& other) const;

  /// For each width the larger count, what either can do.
  NSSTable merge(const NSSTable& other) const;

  /// The widest one with streams; 80+80 MHz ranks above 160 MHz.
  ChannelWidth get_max_channel_width() const;

  std::uint8_t get_max_streams() const;

  friend constexpr bool operator==(const NSSTable&, const NSSTable&) = default;

  /// Lexicographic, from 20 MHz to 80+80 MHz.
  friend bool operator<(const NSSTable& left, const NSSTable& right) { return left.num_streams_ < right.num_streams_; }

 private:
  using NumStreams = std::array<std::uint8_t, static_cast<std::size_t>(ChannelWidth::INVALID)>;

  NumStreams num_streams_{1};
};

inline void swap(NSSTable& left, NSSTable& right) noexcept { left.swap(right); }

/// "20 MHz: 2, 40 MHz: 2, 80 MHz: 0, 160 MHz: 0, 80+80 MHz: 0"
QEL_EXPORT std::ostream& operator<<(std::ostream& os, const NSSTable& table);

/// At least one stream at 20 MHz.
inline bool is_valid(const NSSTable& table) { return table.get_num_streams(ChannelWidth::WIDTH_20_MHZ) >= 1; }

/// An object with the text of each width as a key.
template <>
struct QEL_EXPORT serialization::JSONSerializableType<NSSTable> {
  static void serialize(YAJLStream& stream, SerializationContext& context, const NSSTable& table);
};

}  // namespace qel
