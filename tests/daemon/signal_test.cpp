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
  (*signal)(1);
  connection.block(true);
  EXPECT_TRUE(connection.is_blocked() && connection.is_connected());
  (*signal)(2);
  connection.block(false);
  (*signal)(3);
  EXPECT_THAT(log, ElementsAre("a1", "b1", "a2", "a3", "b3"));
}

TEST_F(SignalTest, DisconnectingReleasesTheFunctionWhichMayDisconnectOthersInDying) {
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

TEST_F(SignalTest, SlotsMayChangeTheSignalWhileItEmits) {
  Connection last;
  Connection self;
  self = signal->connect([&](int) {
    self.disconnect();
    last.disconnect();
    signal->connect(push("new"));
    (*signal)(0);
  });
  last = signal->connect(push("last"));
  (*signal)(1);
  (*signal)(2);
  EXPECT_THAT(log, ElementsAre("new0", "new2"));
}

TEST_F(SignalTest, ASlotMayDestroyTheSignal) {
  Connection destroyer = signal->connect([&](int) { signal.reset(); });
  signal->connect(push("never"));
  (*signal)(1);
  EXPECT_THAT(log, IsEmpty());
  EXPECT_FALSE(destroyer.is_connected());
}

TEST_F(SignalTest, AnExceptionLeavesAndTheSignalGoesOn) {
  ScopedConnection thrower = signal->connect([](int) { throw std::runtime_error("no"); });
  signal->connect(push("b"));
  EXPECT_THROW((*signal)(1), std::runtime_error);
  thrower = signal->connect(push("c"));
  (*signal)(2);
  EXPECT_THAT(log, ElementsAre("b2", "c2"));
}

TEST_F(SignalTest, ScopedConnectionsDisconnect) {
  Connection first = signal->connect(push("a"));
  Connection second = signal->connect(push("b"));
  {
    ScopedConnection scoped = first;
    ScopedConnection moved = std::move(scoped);
    EXPECT_TRUE(first.is_connected());
    moved = second;
    EXPECT_FALSE(first.is_connected());
    Connection third = signal->connect(push("c"));
    ScopedConnection other = third;
    other = std::move(moved);
    EXPECT_TRUE(second.is_connected());
    EXPECT_FALSE(third.is_connected());
  }
  EXPECT_FALSE(second.is_connected());
}

}  // namespace
}  // namespace qel::signals
