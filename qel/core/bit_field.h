#pragma once

#include <bitset>
#include <cstddef>

namespace qel {

/// `width` bits of a flag word, from bit `first` on; bit 0 is the least significant. The word must have them all.
struct BitField {
  unsigned int first;
  unsigned int width;
};

/// The bits of the field as a number.
template <std::size_t N>
unsigned int get_bits(const std::bitset<N>& word, BitField field) {
  static_assert(N <= 32);
  return static_cast<unsigned int>(word.to_ulong() >> field.first & ((1UL << field.width) - 1));
}

/// Keeps of `value` as many low bits as the field has.
template <std::size_t N>
void set_bits(std::bitset<N>& word, BitField field, unsigned int value) {
  static_assert(N <= 32);
  const unsigned long mask = (1UL << field.width) - 1;
  word = std::bitset<N>((word.to_ulong() & ~(mask << field.first)) | (value & mask) << field.first);
}

}  // namespace qel
