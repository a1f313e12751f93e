#include "qel/channel/power.h"

#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <ostream>
#include <string_view>

namespace qel {

std::ostream& print_power(std::ostream& os, const LastChanged<float>& power) {
  if (!power.is_set()) {
    return os << "---";
  }
  // Not through the stream, whose format may have been changed.
  char digits[32];
  const auto end = std::to_chars(std::begin(digits), std::end(digits), power.get(), std::chars_format::general, 6).ptr;
  return os << std::string_view(digits, static_cast<std::size_t>(end - digits)) << " dBm";
}

std::optional<long long> whole_power(const LastChanged<float>& power) {
  constexpr float BEYOND = -static_cast<float>(std::numeric_limits<long long>::min());
  if (!power.is_set() || !(std::fabs(power.get()) < BEYOND)) {
    return std::nullopt;
  }
  return static_cast<long long>(power.get());
}

}  // namespace qel
