#pragma once

#include <charconv>
#include <concepts>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace tools {

/// The command line is wrong. The program says how to get help and exits with a status reserved for this.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Returns nothing unless the whole text is a number that fits. There may be a minus sign, but no other prefix.
template <std::integral Number>
std::optional<Number> parse_number(std::string_view text, int base = 10) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number, base);
  return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

}  // namespace tools
