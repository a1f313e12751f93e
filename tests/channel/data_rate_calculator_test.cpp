#include "qel/channel/data_rate_calculator.h"

#include <gtest/gtest.h>

namespace qel {
namespace {

constexpr std::int64_t MS = 1000000;
constexpr std::int64_t UNKNOWN = -1;

std::int64_t rate(const DataRateCalculator& calculator) {
  return calculator.get_data_rate().is_set() ? std::int64_t{calculator.get_data_rate().get().value()} : UNKNOWN;
}

TEST(DataRateCalculator, DividesBytesByWholeMilliseconds) {
  const struct {
    unsigned long long before, after;
    std::int64_t nanoseconds, rate;
  } rows[] = {
      {7000, 8000, 500 * MS, 2000},
      {7000, 8000, MS / 2, 0},
      {7000, 8000, MS - 1, 0},
      {7000, 8000, 2 * MS - 1, 1000000},
      {7000, 8000, 3 * MS, 333333},
      {18446744073709551606U, 5, 1000 * MS, 14},  // wrapped: one less than the difference
      {7000, 6999, 1000 * MS, 4294967295},
      {0, 4294967294, 1000 * MS, 4294967294},
      {0, 4294967296, 1000 * MS, 4294967295},
      {0, 1ULL << 61U, MS, 4294967295},  // its product with 1000 is 0 in 64 bits
      {0, 1ULL << 60U, 1000000000000 * MS, 1152921504},
  };
  for (const auto& row : rows) {
    DataRateCalculator calculator;
    calculator.update(ByteCounter(row.before, 5 * MS));
    const DataRate::Timestamp begin = DataRate::now();
    calculator.update(ByteCounter(row.after, 5 * MS + row.nanoseconds));
    EXPECT_EQ(rate(calculator), row.rate) << row.before << " to " << row.after << " in " << row.nanoseconds;
    EXPECT_GE(calculator.get_data_rate().get_timestamp(), begin);
  }
}

TEST(DataRateCalculator, GoesFromReadingToReading) {
  const struct {
    ByteCounter counter;
    std::int64_t rate;
  } rows[] = {
      {{1000, 10 * MS}, UNKNOWN}, {{3000, 20 * MS}, 200000},
      {{9000, 20 * MS}, 0},  // not later: no progress, and the next is measured from the one that was kept
      {{3300, 30 * MS}, 30000},   {{}, UNKNOWN},
      {{5000, 40 * MS}, UNKNOWN}, {{5100, 60 * MS}, 5000},
  };
  DataRateCalculator calculator;
  for (const auto& row : rows) {
    calculator.update(row.counter);
    EXPECT_EQ(rate(calculator), row.rate) << row.counter.get_timestamp();
  }
  calculator.reset();
  calculator.calculate_data_rate();
  EXPECT_EQ(rate(calculator), UNKNOWN);
}

}  // namespace
}  // namespace qel
