#include "qel/core/text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <limits>
#include <ostream>
#include <string_view>

namespace qel {

std::string to_upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char character) { return static_cast<char>(std::toupper(character)); });
  return text;
}

std::ostream& operator<<(std::ostream& os, Decimal number) {
  std::array<char, std::numeric_limits<std::int64_t>::digits10 + 2> text;
  const auto [end, error] = std::to_chars(text.begin(), text.end(), number.value());
  return os << std::string_view(text.data(), static_cast<std::size_t>(end - text.data()));
}

}  // namespace qel
