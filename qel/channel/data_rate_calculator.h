#pragma once

#include <cstdint>
#include <ratio>
#include <utility>

#include "qel/channel/dynamic_value.h"
#include "qel/channel/type_with_ratio.h"
#include "qel/core/export.h"

namespace qel {

/// Octets that an interface has sent or received in all, as of the timestamp.
using ByteCounter = LastUpdated<unsigned long long>;

/// In octets; the ratio is that to bits per second.
using BytesPerSecond = TypeWithRatio<std::uint32_t, std::ratio<8, 1>>;

/// As of the time of its computation; unset when unknown.
using DataRate = LastUpdated<BytesPerSecond>;

/// Any pair is; for code that validates whatever it gets.
constexpr bool is_valid(const std::pair<DataRate, DataRate>&) { return true; }

/// The rate between the last two readings of a byte counter.
class QEL_EXPORT DataRateCalculator {
 public:
  /// Takes the next reading. One that is unset makes the rate unknown until two more have come; one that is not later
  /// than the last counts as the last once more.
  void update(const ByteCounter& counter);

  /// Saturates at the largest 32-bit value; 0 when less than a millisecond lies between the readings.
  const DataRate& get_data_rate() const { return data_rate_; }

  /// As made anew.
  void reset() { *this = DataRateCalculator(); }

  /// How far a counter went from `previous` to `current`.
  static constexpr std::uint64_t get_byte_delta(std::uint64_t current, std::uint64_t previous) {
    // A counter that went backwards has wrapped, and skipped the value of all ones, which stands for no reading.
    return current >= previous ? current - previous : current - previous - 1;
  }

  /// Computes the rate anew from the readings that `update` took.
  void calculate_data_rate();

 private:
  ByteCounter current_;
  ByteCounter previous_;
  DataRate data_rate_;
};

}  // namespace qel
