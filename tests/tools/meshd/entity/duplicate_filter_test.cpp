#include "tools/meshd/entity/duplicate_filter.h"

#include "tests/support/testing.h"
#include "tests/tools/meshd/wire.h"

namespace meshd::test {
namespace {

using qel::ieee1905_1::MessageHead;
using qel::ieee1905_1::MessageType;
using qel::ieee1905_1::MessageVersion;

MessageHead head(std::uint16_t id, std::uint8_t fragment = 0,
                 MessageType type = MessageType::TOPOLOGY_NOTIFICATION_MESSAGE) {
  return {MessageVersion::IEEE1905_1, type, id, fragment, true, true};
}

using Verdict = DuplicateFilter::Verdict;
constexpr auto MOMENT = std::chrono::milliseconds(1);

TEST(DuplicateFilter, TellsMessagesApartByEachOfTheirNumbersForSomeTime) {
  DuplicateFilter filter;
  const TimePoint now{};
  for (const Verdict verdict : {Verdict::NEW, Verdict::DUPLICATE}) {
    EXPECT_EQ(filter.take(0, device_mac(1), head(7), now), verdict);
    EXPECT_EQ(filter.take(0, device_mac(2), head(7), now), verdict);
    EXPECT_EQ(filter.take(0, device_mac(1), head(8), now), verdict);
    EXPECT_EQ(filter.take(0, device_mac(1), head(7, 1), now), verdict);
    EXPECT_EQ(filter.take(0, device_mac(1), head(7, 0, MessageType::TOPOLOGY_DISCOVERY_MESSAGE), now), verdict);
  }
  EXPECT_EQ(filter.take(1, device_mac(1), head(7), now + DuplicateFilter::MEMORY - MOMENT), Verdict::DUPLICATE);
  EXPECT_EQ(filter.take(1, device_mac(1), head(7), now + DuplicateFilter::MEMORY), Verdict::NEW);
}

TEST(DuplicateFilter, HasRoomForOthersWhenOneFloodsAndForgetsNothingBeforeItsTime) {
  DuplicateFilter filter;
  const TimePoint start{};
  const auto flood = [&](std::size_t interface, std::uint8_t originator, TimePoint at) {
    std::size_t count = 0;
    for (std::uint16_t id = 0; id < 3 * DuplicateFilter::ROOM; ++id) {
      count += filter.take(interface, device_mac(originator), head(id), at) == Verdict::NEW ? 1U : 0U;
    }
    return count;
  };
  EXPECT_EQ(flood(0, 1, start), DuplicateFilter::ROOM_OF_ORIGINATOR);
  for (std::uint8_t originator = 2; originator < 20; ++originator) {
    flood(0, originator, start + MOMENT);
  }
  EXPECT_EQ(filter.size(), DuplicateFilter::ROOM);
  EXPECT_EQ(flood(1, 20, start + MOMENT), DuplicateFilter::ROOM_OF_ORIGINATOR) << "another interface has its own room";
  const TimePoint late = start + DuplicateFilter::MEMORY;
  EXPECT_EQ(filter.take(0, device_mac(30), head(0), late - MOMENT), Verdict::NO_ROOM);
  EXPECT_EQ(filter.take(1, device_mac(1), head(0), late - MOMENT), Verdict::DUPLICATE);
  EXPECT_EQ(flood(0, 1, late), DuplicateFilter::ROOM_OF_ORIGINATOR) << "the first have been forgotten";
  EXPECT_EQ(filter.take(0, device_mac(2), head(0), late), Verdict::DUPLICATE) << "the others have not";
}

}  // namespace
}  // namespace meshd::test
