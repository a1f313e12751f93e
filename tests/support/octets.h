#pragma once

#include <cctype>

#include "qel/core/mac_address.h"
#include "qel/core/vendor_oui.h"
#include "tests/support/testing.h"

namespace qel::test {

using Octets = std::vector<std::uint8_t>;

inline std::string hex(std::span<const std::uint8_t> octets) {
  std::string text;
  for (const std::uint8_t octet : octets) {
    text += "0123456789ABCDEF"[octet >> 4U];
    text += "0123456789ABCDEF"[octet & 0xFU];
  }
  return text;
}

/// Converts pairs of hexadecimal digits, with blanks anywhere, to octets. `#` begins a comment to the end of the line;
/// `OUI` stands for the vendor OUI with which the library was configured.
inline Octets octets(std::string_view text) {
  std::string digits;
  bool comment = false;
  for (const char character : text) {
    comment = character != '\n' && (comment || character == '#');
    if (!comment && std::isspace(static_cast<unsigned char>(character)) == 0) {
      digits += character;
    }
  }
  for (std::size_t oui = 0; (oui = digits.find("OUI")) != std::string::npos;) {
    digits.replace(oui, 3, hex(VENDOR_OUI));
  }
  if (digits.size() % 2 != 0 || digits.find_first_not_of("0123456789ABCDEF") != std::string::npos) {
    throw std::invalid_argument("not pairs of hexadecimal digits: " + digits);
  }
  Octets result;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    result.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  }
  return result;
}

inline Octets octets_of(std::string_view characters) { return {characters.begin(), characters.end()}; }
inline std::string characters_of(std::span<const std::uint8_t> octets) { return {octets.begin(), octets.end()}; }
inline Octets first(std::size_t count, const Octets& octets) {
  return {octets.begin(), octets.begin() + static_cast<std::ptrdiff_t>(count)};
}

inline MACAddress mac(std::string_view digits) {
  MACAddress address;
  std::ranges::copy(first(6, octets(digits)), address.octets().begin());
  return address;
}

/// The vendor OUI as shown in debug texts.
inline std::string oui_text() {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%x 0x%x 0x%x ", VENDOR_OUI[0], VENDOR_OUI[1], VENDOR_OUI[2]);
  return text;
}

}  // namespace qel::test
