#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace qel {

inline constexpr std::string_view LOWER_CASE_DIGITS = "0123456789abcdef";
inline constexpr std::string_view UPPER_CASE_DIGITS = "0123456789ABCDEF";

/// Appends the two hexadecimal digits of an octet.
inline void append_hex(std::string& text, std::uint8_t octet, std::string_view digits) {
  text += digits[octet >> 4U];
  text += digits[octet & 0xFU];
}

/// Returns two digits for each octet, with `separator` between octets.
inline std::string hex_text(std::span<const std::uint8_t> octets, std::string_view digits,
                            std::string_view separator = "") {
  std::string text;
  text.reserve(octets.size() * (2 + separator.size()));
  for (const std::uint8_t octet : octets) {
    text += text.empty() ? "" : separator;
    append_hex(text, octet, digits);
  }
  return text;
}

/// Returns the four upper-case digits of a number.
inline std::string hex_text(const std::bitset<16>& bits) {
  const unsigned long number = bits.to_ulong();
  return hex_text(std::array{static_cast<std::uint8_t>(number >> 8U), static_cast<std::uint8_t>(number)},
                  UPPER_CASE_DIGITS);
}

/// The octets of an address as pairs of digits separated by colons; allocates nothing.
template <std::size_t N>
class ColonHex {
 public:
  constexpr ColonHex(const std::array<std::uint8_t, N>& octets, std::string_view digits) {
    for (std::size_t i = 0; i < N; ++i) {
      if (i != 0) {
        text_[3 * i - 1] = ':';
      }
      text_[3 * i] = digits[octets[i] >> 4U];
      text_[3 * i + 1] = digits[octets[i] & 0xFU];
    }
  }

  constexpr std::string_view view() const { return {text_.data(), text_.size()}; }

 private:
  std::array<char, 3 * N - 1> text_{};
};

}  // namespace qel
