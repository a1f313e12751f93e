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

/// Records when it is entered and left.
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

/// Requests a transition as soon as it is entered.
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

/// Runs an action of the test at a given point, and shows that it still exists afterwards.
struct Scripted final : TracedState<Scripted, Go, Number> {
  static constexpr const char* NAME = "Scripted";
  static inline std::map<std::string, std::function<void()>> script;
  using TracedState::TracedState;
  void on_entry() override { act("in"); }
  void on_exit() override {
    EXPECT_EQ(get_state_machine().get_current_state(), this);
    act("out");
  }
  void on(const Go&) { act("on"); }
  void on(const Number& event) { go_to<Last>(event.value); }
  void act(const char* where) const {
    note(where);
    if (const auto action = std::exchange(script[where], nullptr)) {
      action();
      note("lives");
    }
  }
};

TEST_F(StateMachineTest, AStateMayEndItsMachineWhereverItIsAndIsLeftOnce) {
  std::optional<StateMachine> own;
  const auto destroy = [&] { own.reset(); };
  const auto deinit = [&] { own->deinit(); };
  const std::tuple<const char*, std::function<void()>, const char*> rows[] = {
      {"in", destroy, "in, out, lives, dies, "},
      {"in", deinit, "in, out, lives, dies, "},
      {"in", [&] { own->on_event(Number(1)); }, "in, lives, out entered, dies, Last in, Last out entered, Last dies, "},
      {"on", destroy, "in, on entered, out entered, lives, dies, "},
      {"on", deinit, "in, on entered, out entered, lives, dies, "},
      {"out", destroy, "in, on entered, out entered, lives, dies, "},
      {"out", deinit, "in, on entered, out entered, lives entered, dies, "},
      {"out", [&] { own->on_event(Go()); }, "in, on entered, out entered, on entered, lives entered, dies, "},
      {"out", [&] { own->on_event(Number(1)); }, "in, on entered, out entered, lives entered, dies, Last dies, "}};
  for (const auto& [where, action, expected] : rows) {
    trace.clear();
    Scripted::script[where] = action;
    own.emplace().init<Scripted>();
    if (own && own->get_current_state() != nullptr) {
      own->on_event(Go());
    }
    if (own) {
      own->deinit();
    }
    if (own) {  // its state may have destroyed it on exit
      EXPECT_EQ(own->get_current_state(), nullptr);
    }
    std::string steps;
    for (const auto& step : trace) {
      steps += step.substr(step.starts_with("Scripted ") ? 9 : 0) + ", ";
    }
    EXPECT_EQ(steps, expected);
  }
}

TEST_F(StateMachineTest, AnOnExitThatThrowsLeavesNoStateAndIsLoggedByTheDestructor) {
  const auto refuse = [] { throw std::runtime_error("no way out"); };
  const std::function<void()> ends[] = {[&] { machine.deinit(); }, [&] { machine.on_event(Number(1)); }};
  for (const auto& end : ends) {
    machine.init<Scripted>();
    Scripted::script["out"] = refuse;
    EXPECT_THAT(end, ThrowsMessage<std::runtime_error>("no way out"));
    EXPECT_EQ(machine.get_current_state(), nullptr);
  }
  take_calls();
  {
    StateMachine local;
    local.init<Scripted>();
    Scripted::script["out"] = refuse;
  }
  EXPECT_THAT(take_calls(), ElementsAre("errmsg(%s: %s, state_machine: failed to leave the state (no way out))"));
}

TEST_F(StateMachineTest, AStateThatCannotBeEnteredIsDropped) {
  Scripted::script["in"] = [] { throw std::runtime_error("no way in"); };
  EXPECT_THROW(machine.init<Scripted>(), std::runtime_error);
  EXPECT_EQ(machine.get_current_state(), nullptr);
  EXPECT_THAT(trace, ElementsAre("Scripted in", "Scripted dies"));
}

}  // namespace
}  // namespace qel::state_machine
