#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <span>
#include <string>

namespace qel::ieee802_11 {

/// Returns two upper-case digits for each octet, with `separator` between octets.
inline std::string hex_text(std::span<const std::uint8_t> octets, const char* separator = "") {
  constexpr const char* DIGITS = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t octet : octets) {
    text += text.empty() ? "" : separator;
    text += DIGITS[octet >> 4U];
    text += DIGITS[octet & 0xFU];
  }
  return text;
}

/// Returns the hexadecimal digits of a number.
inline std::string hex_text(const std::bitset<16>& bits) {
  const unsigned long number = bits.to_ulong();
  return hex_text(std::array{static_cast<std::uint8_t>(number >> 8U), static_cast<std::uint8_t>(number)});
}

}  // namespace qel::ieee802_11
