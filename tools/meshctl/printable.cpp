#include "tools/meshctl/printable.h"

namespace meshctl {

std::string printable(std::string_view text, bool keep_lines) {
  constexpr std::string_view DIGITS = "0123456789abcdef";
  std::string result;
  for (std::size_t position = 0; position < text.size(); ++position) {
    const auto octet = static_cast<unsigned char>(text[position]);
    // C2 80 to C2 9F are the C1 control characters in UTF-8.
    const auto next = static_cast<unsigned char>(position + 1 < text.size() ? text[position + 1] : 0);
    const bool is_control = octet < 0x20 || octet == 0x7F || (octet == 0xC2 && next >= 0x80 && next <= 0x9F);
    if (is_control && !(keep_lines && (octet == '\n' || octet == '\t'))) {
      result += "\\x";
      result += DIGITS[octet >> 4U];
      result += DIGITS[octet & 0xFU];
      if (octet == 0xC2) {
        result += "\\x";
        result += DIGITS[next >> 4U];
        result += DIGITS[next & 0xFU];
        ++position;
      }
    } else {
      result += text[position];
    }
  }
  return result;
}

}  // namespace meshctl
