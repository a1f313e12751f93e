#include "qel/channel/dynamic_value.h"

#include <stdexcept>

#include "tests/channel/channels.h"

namespace qel {
namespace {

template <class Strategy>
bool takes(DynamicValue<float, Strategy> stored, const DynamicValue<float, Strategy>& offered) {
  const bool expected = stored.can_update_from(offered);
  const auto time = (expected ? offered : stored).get_timestamp();
  EXPECT_EQ(stored.update(offered), expected);
  EXPECT_EQ(stored.get_timestamp(), time);
  EXPECT_TRUE(!expected || stored == offered || offered.get() != offered.get());
  return expected;
}

TEST(DynamicValue, IsTakenByItsStrategy) {
  EXPECT_FALSE(takes<LastChangedStrategy>({}, {}));
  EXPECT_TRUE(takes<LastChangedStrategy>({}, {1, 5}));
  EXPECT_FALSE(takes<LastChangedStrategy>({}, {1, -5}));
  EXPECT_FALSE(takes<LastChangedStrategy>({1, -5}, {}));
  EXPECT_FALSE(takes<LastChangedStrategy>({1, 5}, {2, 5}));
  EXPECT_TRUE(takes<LastChangedStrategy>({1, 5}, {2, 6}));
  EXPECT_FALSE(takes<LastChangedStrategy>({1, 5}, {1, 6}));
  EXPECT_TRUE(takes<LastChangedStrategy>({NOT_A_NUMBER, 5}, {NOT_A_NUMBER, 6}));
  EXPECT_TRUE(takes<LastUpdatedStrategy>({1, 5}, {1, 6}));
  EXPECT_FALSE(takes<LastUpdatedStrategy>({1, 5}, {2, 5}));
  EXPECT_TRUE(takes<SetOnceStrategy>({}, {1, 5}));
  EXPECT_FALSE(takes<SetOnceStrategy>({1, 5}, {2, 6}));
}

// How values are compared can be seen in the tests of the classes that hold them.
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

}  // namespace
}  // namespace qel
