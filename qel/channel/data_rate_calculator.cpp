#include "qel/channel/data_rate_calculator.h"

#include <algorithm>
#include <limits>

namespace qel {

namespace {

constexpr std::uint64_t MAX_RATE = std::numeric_limits<std::uint32_t>::max();

/// Computes `bytes` * 1000 / `milliseconds`, at most MAX_RATE, without overflow in the product.
constexpr std::uint64_t bytes_per_second(std::uint64_t bytes, std::uint64_t milliseconds) {
  const std::uint64_t whole = bytes / milliseconds;
  const std::uint64_t rest = bytes % milliseconds;
  return whole > MAX_RATE ? MAX_RATE : std::min(MAX_RATE, whole * 1000 + rest * 1000 / milliseconds);
}

}  // namespace

void DataRateCalculator::update(const ByteCounter& counter) {
  previous_ = current_;
  if (counter.is_set()) {
    current_.update(counter);
  } else {
    current_.reset();
  }
  calculate_data_rate();
}

void DataRateCalculator::calculate_data_rate() {
  if (!current_.is_set() || !previous_.is_set()) {
    data_rate_.reset();
    return;
  }
  const std::uint64_t delta = get_byte_delta(current_.get(), previous_.get());
  const auto time_of = [](const ByteCounter& counter) { return static_cast<std::uint64_t>(counter.get_timestamp()); };
  const std::uint64_t milliseconds = (time_of(current_) - time_of(previous_)) / 1000000;
  const std::uint64_t rate = milliseconds == 0 ? 0 : bytes_per_second(delta, milliseconds);
  data_rate_ = DataRate(BytesPerSecond(static_cast<std::uint32_t>(rate)));
}

}  // namespace qel
