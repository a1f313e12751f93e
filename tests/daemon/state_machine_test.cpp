#include "qel/daemon/state_machine.h"

#include "tests/daemon/fixture.h"

namespace qel::state_machine {
namespace {

std::string trace;

struct Go final : Event {};
struct Again final : Event {};
struct Number final : Event {
  explicit Number(int n) : value(n) {}
  int value;
};

/// Records when it is entered, left and destroyed.
template <class Concrete, class... Events>
struct TracedState : State<Concrete, Events...> {
  using State<Concrete, Events...>::State;
  ~TracedState() override { note("dies"); }
  void on_entry() override { note("in"); }
  void on_exit() override { note("out"); }
  void note(const std::string& what) const { trace += get_name() + what + (this->is_entered() ? " entered, " : ", "); }
  const char* get_name() const override { return Concrete::NAME; }
};

struct Last final : TracedState<Last> {
  static constexpr const char* NAME = "Last ";
  Last(StateMachine& machine, CreateToken token, int n) : TracedState(machine, token) { note(std::to_string(n)); }
};

/// Runs an action of the test at a given point, and shows that it still exists afterwards.
struct Scripted final : TracedState<Scripted, Go, Again, Number> {
  static constexpr const char* NAME = "";
  static inline std::map<std::string, std::function<void()>> script;
  using TracedState::TracedState;
  void on_entry() override { act("in"); }
  void on_exit() override {
    EXPECT_EQ(get_state_machine().get_current_state(), this);
    act("out");
  }
  void on(const Go&) { act("on"); }
  void on(const Again&) { go_to<Scripted>(); }
  void on(const Number& event) { go_to<Last>(event.value); }
  void act(const char* where) const {
    note(where);
    if (const auto action = std::exchange(script[where], nullptr)) {
      action();
      note("lives");
    }
  }
};

class StateMachineTest : public FakePlatformTest {
 protected:
  StateMachineTest() { trace.clear(); }
  StateMachine machine;
};

TEST_F(StateMachineTest, RefusesEventsWithoutAStateAndASecondState) {
  EXPECT_THAT([this] { machine.on_event(Go()); },
              ThrowsMessage<std::runtime_error>("Dispatching Event on uninitialised State Machine!"));
  EXPECT_THAT(take_calls(),
              ElementsAre("errmsg(%s: %s, state_machine: Dispatching Event on uninitialised State Machine!)"));
  machine.init<Last>(1);
  EXPECT_THROW(machine.init<Last>(2), std::logic_error);
}

TEST_F(StateMachineTest, StatesChangeAfterTheOutermostHandlerAndMayDestroyTheMachine) {
  std::optional<StateMachine> own;
  const auto destroy = [&] { own.reset(); };
  const auto deinit = [&] { own->deinit(); };
  const auto number = [&] { own->on_event(Number(1)); };
  const auto numbers = [&] {
    number();
    own->on_event(Number(2));
  };
  const auto again = [&] {
    Scripted::script["in"] = number;
    own->on_event(Again());
  };
  const std::string end = "out entered, dies, Last in, Last out entered, Last dies, ";
  const std::tuple<const char*, std::function<void()>, std::string> rows[] = {
      {"in", destroy, "in, out, lives, dies, "},
      {"in", deinit, "in, out, lives, dies, "},
      {"in", number, "in, Last 1, lives, " + end},
      {"on", destroy, "in, on entered, out entered, lives, dies, "},
      {"on", deinit, "in, on entered, out entered, lives, dies, "},
      {"on", numbers, "in, on entered, Last 1, Last 2, Last dies, lives entered, " + end},
      {"on", again, "in, on entered, lives entered, out entered, dies, in, Last 1, lives, " + end},
      {"out", destroy, "in, on entered, out entered, lives, dies, "},
      {"out", deinit, "in, on entered, out entered, lives entered, dies, "},
      {"out", [&] { own->on_event(Go()); }, "in, on entered, out entered, on entered, lives entered, dies, "},
      {"out", number, "in, on entered, out entered, Last 1, lives entered, dies, Last dies, "}};
  for (const auto& [where, action, steps] : rows) {
    trace.clear();
    Scripted::script[where] = action;
    own.emplace().init<Scripted>();
    if (own && own->get_current_state() != nullptr) {
      own->on_event(Go());
    }
    for (int time = 0; own && time < 2; ++time) {  // its state may destroy it on exit
      own->deinit();
    }
    EXPECT_TRUE(!own || own->get_current_state() == nullptr);
    EXPECT_EQ(trace, steps);
  }
}

TEST_F(StateMachineTest, AnOnExitThatThrowsLeavesNoStateAndIsLoggedByTheDestructor) {
  const auto init = [](StateMachine& of) {
    of.init<Scripted>();
    Scripted::script["out"] = [] { throw std::runtime_error("no way out"); };
  };
  const std::function<void()> ends[] = {[&] { machine.deinit(); }, [&] { machine.on_event(Number(1)); }};
  for (const auto& end : ends) {
    init(machine);
    EXPECT_THAT(end, ThrowsMessage<std::runtime_error>("no way out"));
    EXPECT_EQ(machine.get_current_state(), nullptr);
  }
  init(*std::make_unique<StateMachine>());
  EXPECT_THAT(take_calls(), ElementsAre("errmsg(%s: %s, state_machine: failed to leave the state (no way out))"));
}

TEST_F(StateMachineTest, AStateThatCannotBeEnteredIsDropped) {
  Scripted::script["in"] = [] { throw std::runtime_error("no way in"); };
  EXPECT_THROW(machine.init<Scripted>(), std::runtime_error);
  EXPECT_EQ(machine.get_current_state(), nullptr);
  EXPECT_EQ(trace, "in, dies, ");
}

}  // namespace
}  // namespace qel::state_machine
