#pragma once

#include <bitset>
#include <cstddef>

namespace qel {

/// Neighbouring bits of a flag word, which must have them all.
struct BitField {
  unsigned int first;  ///< the lowest of them; bit 0 is the least significant of the word
  unsigned int width;  ///< in bits
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
