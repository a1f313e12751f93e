#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>

namespace qel {

/// A run of adjacent bits in a flag word; the word must contain all of them.
struct BitField {
  unsigned int first;  ///< lowest bit of the field; bit 0 is the least significant of the word
  unsigned int width;  ///< in bits
};

/// Returns the field as a number.
template <std::size_t N>
unsigned int get_bits(const std::bitset<N>& word, BitField field) {
  static_assert(N <= 32);
  return static_cast<unsigned int>(word.to_ulong() >> field.first & ((1UL << field.width) - 1));
}

/// Stores the low bits of `value`, as many as the field has.
template <std::size_t N>
void set_bits(std::bitset<N>& word, BitField field, unsigned int value) {
  static_assert(N <= 32);
  const unsigned long mask = (1UL << field.width) - 1;
  word = std::bitset<N>((word.to_ulong() & ~(mask << field.first)) | (value & mask) << field.first);
}

/// Returns a field of a flag octet as a number.
constexpr unsigned int get_bits(std::uint8_t octet, BitField field) {
  return unsigned{octet} >> field.first & ((1U << field.width) - 1);
}
/// Stores the low bits of `value` in a field of a flag octet.
constexpr void set_bits(std::uint8_t& octet, BitField field, unsigned int value) {
  const unsigned int mask = (1U << field.width) - 1;
  octet = static_cast<std::uint8_t>((octet & ~(mask << field.first)) | (value & mask) << field.first);
}

}  // namespace qel
