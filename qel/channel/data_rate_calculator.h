#pragma once

#include <cstdint>
#include <ratio>
#include <utility>

#include "qel/channel/dynamic_value.h"
#include "qel/channel/type_with_ratio.h"
#include "qel/core/export.h"

namespace qel {

/// Total number of octets that an interface has sent or received, with the time of the reading.
using ByteCounter = LastUpdated<unsigned long long>;

/// Octets per second; the ratio converts them to bits per second.
using BytesPerSecond = TypeWithRatio<std::uint32_t, std::ratio<8, 1>>;

/// A rate with the time at which it was computed; unset if unknown.
using DataRate = LastUpdated<BytesPerSecond>;

/// Every pair is valid; for generic code that validates all values.
constexpr bool is_valid(const std::pair<DataRate, DataRate>&) { return true; }

/// Computes the rate between the last two readings of a byte counter.
class QEL_EXPORT DataRateCalculator {
 public:
  /// Takes the next reading. An unset reading makes the rate unknown until two more have arrived. A reading that is not
  /// later than the previous one counts as a repetition of it.
  void update(const ByteCounter& counter);

  /// Saturates at the largest 32-bit value; 0 if the readings are less than a millisecond apart.
  const DataRate& get_data_rate() const { return data_rate_; }

  /// Returns to the initial state.
  void reset() { *this = DataRateCalculator(); }

  /// The increase of a counter from `previous` to `current`.
  static constexpr std::uint64_t get_byte_delta(std::uint64_t current, std::uint64_t previous) {
    // A counter that decreased has wrapped, and skipped the value with all bits set, which means no reading.
    return current >= previous ? current - previous : current - previous - 1;
  }

  /// Recomputes the rate from the readings that `update` took.
  void calculate_data_rate();

 private:
  ByteCounter current_;
  ByteCounter previous_;
  DataRate data_rate_;
};

}  // namespace qel
