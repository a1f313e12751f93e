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

namespace {

template <class Number>
std::ostream& print_digits(std::ostream& os, Number number, int base) {
  std::array<char, std::numeric_limits<Number>::digits10 + 2> text;  // room for one more digit and a sign
  const auto [end, error] = std::to_chars(text.begin(), text.end(), number, base);
  return os << std::string_view(text.data(), static_cast<std::size_t>(end - text.data()));
}

}  // namespace

std::ostream& operator<<(std::ostream& os, Decimal number) { return print_digits(os, number.value(), 10); }
std::ostream& operator<<(std::ostream& os, Hexadecimal number) { return print_digits(os, number.value(), 16); }

}  // namespace qel
