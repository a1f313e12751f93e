#include "qel/daemon/signal.h"

#include "tests/support/testing.h"

namespace qel::signals {
namespace {

struct SignalTest : testing::Test {
  auto push(std::string name) {
    return [this, name](int value) { log.push_back(name + std::to_string(value)); };
  }
  std::optional<Signal<int>> signal{std::in_place};
  std::vector<std::string> log;
};

TEST_F(SignalTest, CallsInTheOrderOfConnectingAndSkipsBlockedSlots) {
  signal->connect(push("a"));
  Connection connection = signal->connect(push("b"));
  for (const int round : {1, 2, 3}) {
    connection.block(round == 2);
    EXPECT_EQ(connection.is_blocked(), round == 2);
    EXPECT_TRUE(connection.is_connected());
    (*signal)(round);
  }
  EXPECT_THAT(log, ElementsAre("a1", "b1", "a2", "a3", "b3"));
}

TEST_F(SignalTest, DisconnectingDestroysTheFunctionWhichMayDisconnectOthers) {
  auto other = std::make_shared<ScopedConnection>(signal->connect(push("other")));
  Connection holder = signal->connect([other](int) {});
  signal->connect(push("stays"));
  other.reset();
  holder.disconnect();
  EXPECT_FALSE(holder.is_connected());
  EXPECT_EQ(signal->count_slots(), 1u);
  (*signal)(1);
  EXPECT_THAT(log, ElementsAre("stays1"));
}

TEST_F(SignalTest, ASlotMayChangeTheSignalThrowAndDestroyIt) {
  Connection last;
  Connection self;
  self = signal->connect([&](int) {
    self.disconnect();
    last.disconnect();
    signal->connect(push("new"));
    (*signal)(0);
    throw std::runtime_error("goes through");
  });
  last = signal->connect(push("last"));
  EXPECT_THROW((*signal)(1), std::runtime_error);
  (*signal)(2);
  EXPECT_THAT(log, ElementsAre("new0", "new2"));

  const Connection destroyer = signal.emplace().connect([&](int) { signal.reset(); });
  signal->connect(push("never"));
  (*signal)(3);
  EXPECT_THAT(log, SizeIs(2));
  EXPECT_FALSE(destroyer.is_connected());
}

TEST_F(SignalTest, ScopedConnectionsDisconnect) {
  const Connection connections[] = {signal->connect(push("a")), signal->connect(push("b")), signal->connect(push("c"))};
  const auto expect_connected = [&](bool first, bool second, bool third) {
    EXPECT_TRUE(connections[0].is_connected() == first && connections[1].is_connected() == second &&
                connections[2].is_connected() == third);
  };
  {
    ScopedConnection scoped = connections[0];
    ScopedConnection moved = std::move(scoped);
    expect_connected(true, true, true);
    moved = connections[1];
    expect_connected(false, true, true);
    ScopedConnection other = connections[2];
    other = std::move(moved);
    expect_connected(false, true, false);
  }
  expect_connected(false, false, false);
}

}  // namespace
}  // namespace qel::signals
