#pragma once

#include <iosfwd>
#include <optional>

#include "qel/channel/dynamic_value.h"

namespace qel {

/// Prints as "17.5 dBm" with at most six digits, or as "---" if unset.
std::ostream& print_power(std::ostream& os, const LastChanged<float>& power);

/// Returns whole dBm, truncated toward zero; nothing if unset, NaN or out of range.
std::optional<long long> whole_power(const LastChanged<float>& power);

}  // namespace qel
