#include "tools/meshd/duplicate_filter.h"

#include <gtest/gtest.h>

#include "tests/tools_meshd/wire.h"

namespace meshd::test {
namespace {

using qel::ieee1905_1::MessageHead;
using qel::ieee1905_1::MessageType;
using qel::ieee1905_1::MessageVersion;

MessageHead head(std::uint16_t id, std::uint8_t fragment = 0,
                 MessageType type = MessageType::TOPOLOGY_NOTIFICATION_MESSAGE) {
  return {MessageVersion::IEEE1905_1, type, id, fragment, true, true};
}

TEST(DuplicateFilter, TellsMessagesApartByEachOfTheirNumbers) {
  DuplicateFilter filter;
  const TimePoint now{};
  EXPECT_TRUE(filter.is_new(device_mac(1), head(7), now));
  EXPECT_FALSE(filter.is_new(device_mac(1), head(7), now));
  EXPECT_TRUE(filter.is_new(device_mac(2), head(7), now));
  EXPECT_TRUE(filter.is_new(device_mac(1), head(8), now));
  EXPECT_TRUE(filter.is_new(device_mac(1), head(7, 1), now));
  EXPECT_TRUE(filter.is_new(device_mac(1), head(7, 0, MessageType::TOPOLOGY_DISCOVERY_MESSAGE), now));
  EXPECT_FALSE(filter.is_new(device_mac(1), head(7), now + DuplicateFilter::MEMORY - std::chrono::milliseconds(1)));
}

TEST(DuplicateFilter, ForgetsWithTimeAndTheOldestOfTooMany) {
  DuplicateFilter filter;
  const TimePoint start{};
  const TimePoint later = start + DuplicateFilter::MEMORY;
  EXPECT_TRUE(filter.is_new(device_mac(1), head(7), start));
  EXPECT_TRUE(filter.is_new(device_mac(1), head(7), later));
  EXPECT_FALSE(filter.is_new(device_mac(1), head(7), later + std::chrono::seconds(1)));
  for (std::size_t id = 0; id <= DuplicateFilter::CAPACITY; ++id) {
    EXPECT_TRUE(filter.is_new(device_mac(2), head(static_cast<std::uint16_t>(id)), later));
  }
  EXPECT_FALSE(filter.is_new(device_mac(2), head(1), later));
  EXPECT_TRUE(filter.is_new(device_mac(2), head(0), later));
}

}  // namespace
}  // namespace meshd::test
