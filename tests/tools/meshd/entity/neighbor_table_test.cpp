#include "tools/meshd/entity/neighbor_table.h"

#include "tests/support/testing.h"
#include "tests/tools/meshd/wire.h"

namespace meshd::test {
namespace {

using Discovery = NeighborTable::Discovery;
using namespace std::chrono_literals;

TimePoint at(int seconds) { return TimePoint(std::chrono::seconds(seconds)); }

TEST(NeighborTable, KnowsNeighborsByDeviceAndLinksByBothInterfaces) {
  NeighborTable table;
  EXPECT_EQ(table.discover(device_mac(1), 0, interface_mac(0x11), at(0)), Discovery::NEW_NEIGHBOR);
  EXPECT_EQ(table.discover(device_mac(1), 0, interface_mac(0x11), at(1)), Discovery::REFRESHED);
  EXPECT_EQ(table.discover(device_mac(1), 1, interface_mac(0x11), at(2)), Discovery::NEW_LINK);
  EXPECT_EQ(table.discover(device_mac(1), 1, interface_mac(0x12), at(3)), Discovery::NEW_LINK);
  EXPECT_EQ(table.discover(device_mac(2), 0, interface_mac(0x21), at(4)), Discovery::NEW_NEIGHBOR);
  ASSERT_EQ(table.all().size(), 2U);
  EXPECT_EQ(table.find(device_mac(1))->links.size(), 3U);
  EXPECT_EQ(table.find_sender(interface_mac(0x12)), table.find(device_mac(1)));
  EXPECT_EQ(table.find_sender(device_mac(2)), table.find(device_mac(2)));
  EXPECT_EQ(table.find(interface_mac(0x12)), nullptr);
  EXPECT_EQ(table.find_sender(device_mac(3)), nullptr);
  table.discover(device_mac(2), 0, interface_mac(0x12), at(4));
  EXPECT_EQ(table.find_sender(interface_mac(0x12)), nullptr) << "who of the two?";
}

TEST(NeighborTable, DropsLinksAndThenNeighborsThatAreNotHeardOf) {
  NeighborTable table;
  table.discover(device_mac(1), 0, interface_mac(0x11), at(0));
  table.discover(device_mac(1), 1, interface_mac(0x12), at(0));
  table.discover(device_mac(2), 0, interface_mac(0x21), at(0));
  table.hear(device_mac(1), 1, at(10));  // the link over that interface
  table.hear(device_mac(2), 0, at(10));
  table.hear(interface_mac(0x11), 0, at(10));  // which anybody may claim to have
  EXPECT_THAT(table.expire(at(10), 10s), IsEmpty()) << "heard of at the limit is not too old";
  EXPECT_THAT(table.expire(at(11), 10s), ElementsAre(device_mac(1)));
  ASSERT_NE(table.find(device_mac(1)), nullptr);
  ASSERT_EQ(table.find(device_mac(1))->links.size(), 1U);
  EXPECT_EQ(table.find(device_mac(1))->links[0].interface, 1U);
  EXPECT_THAT(table.expire(at(21), 10s), ElementsAre(device_mac(1), device_mac(2)));
  EXPECT_THAT(table.all(), IsEmpty());
}

TEST(NeighborTable, KeepsALinkForAWhileOnlyBySuchAsABridgeForwards) {
  NeighborTable table;
  table.discover(device_mac(1), 0, interface_mac(0x11), at(0));
  for (int second = 0; second <= 180; ++second) {
    table.hear(device_mac(1), 0, at(second));
    EXPECT_THAT(table.expire(at(second), 10s), IsEmpty()) << second;
  }
  EXPECT_THAT(table.expire(at(181), 10s), ElementsAre(device_mac(1)));
}

TEST(NeighborTable, ADeviceBehindADirectNeighborIsNoNeighborForLong) {
  NeighborTable table;
  table.discover(device_mac(1), 0, interface_mac(0x11), at(0));
  table.discover(device_mac(2), 0, interface_mac(0x21), at(0));
  table.hear_unbridged(device_mac(1), 0, interface_mac(0x11), at(100));
  table.hear(device_mac(1), 0, at(10));
  table.hear(device_mac(2), 0, at(10));
  EXPECT_THAT(table.expire(at(11), 10s), ElementsAre(device_mac(2)));
}

TEST(NeighborTable, MakesRoomWhereMostClaimsAreUnlessThatWouldTurnTheTables) {
  NeighborTable table;
  ToldByDevice told;
  told.interfaces.push_back({interface_mac(0x11), {}, {}});
  for (std::uint8_t i = 0; i < 6; ++i) {
    table.discover(device_mac(1), 0, interface_mac(0x11), at(0));
    table.discover(device_mac(1), 1, interface_mac(0x12), at(8));  // not among those that it tells of
    table.discover(device_mac(2), 1, interface_mac(static_cast<std::uint8_t>(0x21 + i)), at(9 - i));
  }
  table.prove(device_mac(1), told);
  EXPECT_THAT(table.make_room(1), IsEmpty());
  for (std::uint8_t gone = 0x26; gone > 0x22; --gone) {
    EXPECT_THAT(table.make_room(0), ElementsAre(device_mac(2)));
    EXPECT_EQ(table.find_sender(interface_mac(gone)), nullptr);
  }
  EXPECT_THAT(table.make_room(0), ElementsAre(device_mac(1)));
  EXPECT_EQ(table.find(device_mac(1))->links.size(), 1U);
  table.discover(device_mac(3), 0, interface_mac(0x31), at(0));
  EXPECT_THAT(table.make_room(0), IsEmpty()) << "two against one";
}

TEST(NeighborTable, MakesRoomAlsoWhereAllIsProvenButNoMoreThanOthersHaveAShareOf) {
  NeighborTable table(8);
  for (std::uint8_t i = 1; i <= 8; ++i) {
    table.discover(device_mac(i), 0, interface_mac(i), at(10 - i));
    ToldByDevice told;
    told.interfaces.push_back({interface_mac(i), {}, {}});
    table.prove(device_mac(i), told);
  }
  EXPECT_THAT(table.make_room(0), IsEmpty());
  for (std::uint8_t gone = 8; gone > 4; --gone) {
    EXPECT_THAT(table.make_room(1), ElementsAre(device_mac(gone)));
    const std::uint8_t newcomer = 0x20 + gone;
    table.discover(device_mac(newcomer), 1, interface_mac(newcomer), at(20));
    EXPECT_THAT(table.make_room(1), IsEmpty()) << "before it has proven the first";
    ToldByDevice told;
    told.interfaces.push_back({interface_mac(newcomer), {}, {}});
    table.prove(device_mac(newcomer), told);
  }
  EXPECT_THAT(table.make_room(1), IsEmpty()) << "each has its share";
}

}  // namespace
}  // namespace meshd::test
