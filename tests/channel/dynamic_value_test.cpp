#include "qel/channel/data_rate_calculator.h"
#include "tests/channel/channels.h"

namespace qel {
namespace {

template <class Strategy>
bool takes(DynamicValue<float, Strategy> stored, const DynamicValue<float, Strategy>& offered) {
  const bool expected = stored.can_update_from(offered);
  const auto time = (expected ? offered : stored).get_timestamp();
  EXPECT_EQ(stored.update(offered), expected);
  EXPECT_EQ(stored.get_timestamp(), time);
  return expected;
}

// Further cases, and the comparison of values, are in the tests of the classes that contain them.
TEST(DynamicValue, IsTakenByItsStrategy) {
  EXPECT_FALSE(takes<LastChangedStrategy>({}, {1, -5}));
  EXPECT_FALSE(takes<LastChangedStrategy>({1, -5}, {}));
  EXPECT_FALSE(takes<LastChangedStrategy>({1, 5}, {1, 6}));
  EXPECT_TRUE(takes<LastUpdatedStrategy>({1, 5}, {1, 6}));
  EXPECT_FALSE(takes<LastUpdatedStrategy>({1, 5}, {2, 5}));
  EXPECT_TRUE(takes<SetOnceStrategy>({}, {1, 5}));
  EXPECT_FALSE(takes<SetOnceStrategy>({1, 5}, {2, 6}));
}

TEST(DynamicValue, IsSetNowOrNotAtAll) {
  using Value = LastChanged<float>;
  const auto before = Value::now();
  Value value(0);
  EXPECT_GE(value.get_timestamp(), before);
  EXPECT_LE(value.get_timestamp(), Value::now());
  EXPECT_FALSE(value.equivalent_to(Value()));
  value.reset();
  EXPECT_THROW(value.get(), std::logic_error);
  EXPECT_TRUE(value == Value(3, 0) && value.equivalent_to(Value(NOT_A_NUMBER, 0)));
}

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
      {7000, 8000, MS - 1, 0},
      {7000, 8000, 2 * MS - 1, 1000000},
      {18446744073709551606U, 5, 1000 * MS, 14},  // wrapped: one less than the difference
      {7000, 6999, 1000 * MS, 4294967295},
      {0, 4294967294, 1000 * MS, 4294967294},
      {0, 4294967296, 1000 * MS, 4294967295},
      {0, 1ULL << 61U, MS, 4294967295},  // the product with 1000 is 0 in 64 bits
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
      {{9000, 20 * MS}, 0},  // not later, so ignored; the next is measured from the one kept
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
