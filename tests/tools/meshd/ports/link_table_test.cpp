#include "tools/meshd/ports/link_table.h"

#include <net/if.h>
#include <sys/socket.h>

#include "tests/net/private_network.h"
#include "tests/support/emulator.h"
#include "tests/support/testing.h"

namespace meshd::test {
namespace {

TEST(LinkTable, IsReadAgainWhenMessagesOfTheKernelWereLost) {
  if (qel::test::UNDER_EMULATOR) {
    GTEST_SKIP() << qel::test::EMULATOR_LACKS_PACKETS;
  }
  if (const std::string& reason = qel::test::enter_private_network(); !reason.empty()) {
    GTEST_SKIP() << reason;
  }
  qel::test::add_veth_pair("l0", "l1");
  const unsigned int port = if_nametoindex("l0");
  LinkTable table([] {});
  ASSERT_NE(table.find(port), nullptr);
  const int least = 1;
  ASSERT_EQ(setsockopt(table.get_fd(), SOL_SOCKET, SO_RCVBUF, &least, sizeof(least)), 0);
  for (const char* mtu : {"1400", "1401", "1402"}) {
    qel::test::ip(std::string("link set l1 mtu ") + mtu);
  }
  qel::test::remove_interface("l0");
  qel::test::add_veth_pair("n0", "n1");
  for (int turn = 0; turn < 5; ++turn) {
    table.on_readable();
  }
  EXPECT_EQ(table.find(port), nullptr);
  ASSERT_NE(table.find(if_nametoindex("n0")), nullptr);
  EXPECT_EQ(table.find(if_nametoindex("n0"))->name, "n0");
}

}  // namespace
}  // namespace meshd::test
