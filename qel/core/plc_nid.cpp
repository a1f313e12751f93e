#include "qel/core/plc_nid.h"

#include <ostream>
#include <string_view>

namespace qel::plc {

std::ostream& operator<<(std::ostream& os, const NID& nid) {
  constexpr std::string_view DIGITS = "0123456789abcdef";
  std::array<char, 3 * std::tuple_size_v<NID::Octets> - 1> text;
  std::size_t position = 0;
  for (const std::uint8_t octet : nid.octets()) {
    if (position != 0) {
      text[position++] = ':';
    }
    text[position++] = DIGITS[octet >> 4U];
    text[position++] = DIGITS[octet & 0xFU];
  }
  return os << std::string_view(text.data(), text.size());
}

}  // namespace qel::plc
