#include "qel/daemon/state_machine.h"

#include "tests/daemon/fixture.h"

namespace qel::state_machine {
namespace {

std::vector<std::string> trace;

struct Go final : Event {};
struct Nested final : Event {};
struct Number final : Event {
  explicit Number(int n) : value(n) {}
  int value;
};

/// Writes down when it is entered and left.
template <class Concrete, class... Events>
struct TracedState : State<Concrete, Events...> {
  using State<Concrete, Events...>::State;
  ~TracedState() override { note("dies"); }
  void on_entry() override { note("in"); }
  void on_exit() override { note("out"); }
  void note(const std::string& what) const {
    trace.push_back(get_name() + (" " + what) + (this->is_entered() ? " entered" : ""));
  }
  const char* get_name() const override { return Concrete::NAME; }
};

struct Last final : TracedState<Last> {
  static constexpr const char* NAME = "Last";
  Last(StateMachine& machine, CreateToken token, int n) : TracedState(machine, token), number(n) {}
  int number;
};

/// Gives way as soon as it is entered.
struct Passing final : TracedState<Passing> {
  static constexpr const char* NAME = "Passing";
  using TracedState::TracedState;
  void on_entry() override {
    TracedState::on_entry();
    go_to<Last>(7);
  }
};

struct First final : TracedState<First, Go, Number, Nested> {
  static constexpr const char* NAME = "First";
  using TracedState::TracedState;
  void on(const Go&) { go_to<Passing>(); }
  void on(const Number& event) {
    go_to<Passing>();
    go_to<Last>(event.value);
  }
  void on(const Nested&) {
    get_state_machine().on_event(Go());
    note("still here");
  }
};

class StateMachineTest : public FakePlatformTest {
 protected:
  StateMachineTest() { trace.clear(); }
  StateMachine machine;
};

TEST_F(StateMachineTest, WithoutAStateEventsAreAnError) {
  EXPECT_THAT([this] { machine.on_event(Go()); },
              ThrowsMessage<std::runtime_error>("Dispatching Event on uninitialised State Machine!"));
  EXPECT_THAT(take_calls(),
              ElementsAre("errmsg(%s: %s, state_machine: Dispatching Event on uninitialised State Machine!)"));
}

TEST_F(StateMachineTest, EntersAndLeavesInOrder) {
  machine.init<First>();
  EXPECT_THROW(machine.init<Passing>(), std::logic_error);
  trace.clear();
  machine.on_event(Go());
  machine.deinit();
  machine.deinit();
  EXPECT_THAT(trace, ElementsAre("First out entered", "First dies", "Passing in", "Passing out entered", "Passing dies",
                                 "Last in", "Last out entered", "Last dies"));
}

TEST_F(StateMachineTest, TheLastRequestCountsAfterTheOutermostHandler) {
  machine.init<First>();
  machine.on_event(Number(42));
  EXPECT_EQ(dynamic_cast<Last&>(*machine.get_current_state()).number, 42);
  machine.on_event(Number(43));  // not handled by this state
  machine.deinit();

  machine.init<First>();
  trace.clear();
  machine.on_event(Nested());
  EXPECT_EQ(trace.at(0), "First still here entered");
  EXPECT_EQ(trace.at(1), "First out entered");
  EXPECT_EQ(trace.back(), "Last in");
}

/// Sends itself away while it is still being entered.
struct Hasty final : TracedState<Hasty, Go> {
  static constexpr const char* NAME = "Hasty";
  using TracedState::TracedState;
  void on_entry() override {
    get_state_machine().on_event(Go());
    note("still entering");
  }
  void on(const Go&) { go_to<Last>(1); }
};

TEST_F(StateMachineTest, AStateIsNotLeftBeforeItIsEnteredAndTheDestructorLeaves) {
  {
    StateMachine local;
    local.init<Hasty>();
  }
  EXPECT_THAT(trace, ElementsAre("Hasty still entering", "Hasty out entered", "Hasty dies", "Last in",
                                 "Last out entered", "Last dies"));
}

struct Broken final : TracedState<Broken> {
  static constexpr const char* NAME = "Broken";
  using TracedState::TracedState;
  void on_entry() override { throw std::runtime_error("cannot enter"); }
};

TEST_F(StateMachineTest, AStateThatCannotBeEnteredIsDropped) {
  EXPECT_THROW(machine.init<Broken>(), std::runtime_error);
  EXPECT_EQ(machine.get_current_state(), nullptr);
  EXPECT_THAT(trace, ElementsAre("Broken dies"));
}

}  // namespace
}  // namespace qel::state_machine
