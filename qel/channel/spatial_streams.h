#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>

#include "qel/core/bit_field.h"

namespace qel {

///@{
/// The number of spatial streams in a bit field that stores the number minus 1. Setting keeps only the low bits that
/// fit, so 0 reads back as the largest number that the field can hold.
template <std::size_t N>
std::uint8_t get_stream_count(const std::bitset<N>& flags, BitField field) {
  return static_cast<std::uint8_t>(get_bits(flags, field) + 1);
}
template <std::size_t N>
void set_stream_count(std::bitset<N>& flags, BitField field, std::uint8_t number) {
  set_bits(flags, field, number - 1U);
}
///@}

/// The modulation and coding schemes for one number of spatial streams in a VHT map (IEEE 802.11-2020, 9.4.2.157.3).
enum class VHTMCSBit : std::uint8_t { MCS_0_TO_7 = 0, MCS_0_TO_8 = 1, MCS_0_TO_9 = 2, NOT_SUPPORTED = 3 };

/// As above, in an HE map (IEEE 802.11ax-2021, 9.4.2.248.4).
enum class HEMCSBit : std::uint8_t { MCS_0_TO_7 = 0, MCS_0_TO_9 = 1, MCS_0_TO_11 = 2, NOT_SUPPORTED = 3 };

/// Two bits for each number of spatial streams, starting with one stream in the lowest bits.
using MCSMap = std::bitset<16>;

/// NOT_SUPPORTED for every number of streams.
inline constexpr MCSMap NO_MCS_SUPPORTED{0xFFFF};
/// Largest number of streams in a map.
inline constexpr unsigned int MAX_MCS_STREAMS = 8;

/// Returns the two bits for `nss` streams, or 4 if `nss` is not 1 to 8.
inline std::uint8_t get_mcs(const MCSMap& map, unsigned int nss) {
  if (nss < 1 || nss > MAX_MCS_STREAMS) {
    return 4;
  }
  return static_cast<std::uint8_t>(get_bits(map, {2 * (nss - 1), 2}));
}

/// Does nothing if `nss` is not 1 to 8 or `mcs` has more than two bits.
template <class MCSBit>
void set_mcs(MCSMap& map, unsigned int nss, MCSBit mcs) {
  if (nss >= 1 && nss <= MAX_MCS_STREAMS && static_cast<unsigned int>(mcs) < 4) {
    set_bits(map, {2 * (nss - 1), 2}, static_cast<unsigned int>(mcs));
  }
}

}  // namespace qel
