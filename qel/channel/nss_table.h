#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"
#include "qel/core/serialization/json_serializable_type.h"

namespace qel {

/// The number of spatial streams (NSS) that a radio supports at each channel width; 0 means that it cannot use the
/// width. Every radio has at least one stream at 20 MHz. All operations throw std::out_of_range for
/// ChannelWidth::INVALID and above.
class QEL_EXPORT NSSTable {
 public:
  /// One stream at 20 MHz.
  constexpr NSSTable() = default;

  /// `streams` at `width` and all narrower widths.
  NSSTable(ChannelWidth width, unsigned char streams);

  std::uint8_t get_num_streams(ChannelWidth width) const;

  /// Raises the count of `width`, and with `fill_narrower` also of all narrower widths. A smaller count replaces a
  /// larger one only with `force`. 80+80 MHz counts as the widest.
  void update_num_streams(ChannelWidth width, unsigned char streams, bool fill_narrower, bool force);

  void clear() { *this = NSSTable(); }
  void swap(NSSTable& other) noexcept { num_streams_.swap(other.num_streams_); }

  /// Takes the smaller count for each width: what both support.
  NSSTable intersect(const NSSTable& other) const;

  /// Takes the larger count for each width: what either supports.
  NSSTable merge(const NSSTable& other) const;

  /// Returns the widest width that has streams; 80+80 MHz ranks above 160 MHz.
  ChannelWidth get_max_channel_width() const;

  std::uint8_t get_max_streams() const;

  friend constexpr bool operator==(const NSSTable&, const NSSTable&) = default;

  /// Orders lexicographically, from 20 MHz to 80+80 MHz.
  friend bool operator<(const NSSTable& left, const NSSTable& right) { return left.num_streams_ < right.num_streams_; }

 private:
  using NumStreams = std::array<std::uint8_t, static_cast<std::size_t>(ChannelWidth::INVALID)>;

  NumStreams num_streams_{1};
};

inline void swap(NSSTable& left, NSSTable& right) noexcept { left.swap(right); }

/// Prints as "20 MHz: 2, 40 MHz: 2, 80 MHz: 0, 160 MHz: 0, 80+80 MHz: 0".
QEL_EXPORT std::ostream& operator<<(std::ostream& os, const NSSTable& table);

/// True if there is at least one stream at 20 MHz.
inline bool is_valid(const NSSTable& table) { return table.get_num_streams(ChannelWidth::WIDTH_20_MHZ) >= 1; }

/// Writes an object whose keys are the texts of the widths.
template <>
struct QEL_EXPORT serialization::JSONSerializableType<NSSTable> {
  static void serialize(YAJLStream& stream, SerializationContext& context, const NSSTable& table);
};

}  // namespace qel
