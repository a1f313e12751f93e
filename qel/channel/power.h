#pragma once

#include <iosfwd>
#include <optional>

#include "qel/channel/dynamic_value.h"

namespace qel {

/// "17.5 dBm" with at most six digits, "---" when unset.
std::ostream& print_power(std::ostream& os, const LastChanged<float>& power);

/// Whole dBm, truncated toward zero; none when unset, not a number or beyond the range.
std::optional<long long> whole_power(const LastChanged<float>& power);

}  // namespace qel
