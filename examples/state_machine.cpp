// Models the onboarding of a node. States are classes that name the events they handle and choose the next state.

#include "qel/daemon/state_machine.h"

#include <iostream>
#include <string>

namespace {

using qel::state_machine::Event;
using qel::state_machine::State;
using qel::state_machine::StateMachine;

struct ControllerFound final : Event {
  explicit ControllerFound(std::string controller_name) : name(std::move(controller_name)) {}
  std::string name;
};

struct LinkLost final : Event {};

class Onboarded;

class Searching final : public State<Searching, ControllerFound> {
 public:
  using State::State;
  const char* get_name() const override { return "searching"; }
  void on_entry() override { std::cout << "searching for a controller\n"; }
  void on(const ControllerFound& event);
};

class Onboarded final : public State<Onboarded, LinkLost> {
 public:
  Onboarded(StateMachine& machine, CreateToken token, std::string controller)
      : State(machine, token), controller_(std::move(controller)) {}
  const char* get_name() const override { return "onboarded"; }
  void on_entry() override { std::cout << "onboarded at " << controller_ << '\n'; }
  void on_exit() override { std::cout << "leaving " << controller_ << '\n'; }
  void on(const LinkLost&) { go_to<Searching>(); }

 private:
  std::string controller_;
};

void Searching::on(const ControllerFound& event) { go_to<Onboarded>(event.name); }

}  // namespace

int main() {
  StateMachine machine;
  machine.init<Searching>();
  machine.on_event(LinkLost());  // ignored in this state
  machine.on_event(ControllerFound("the gateway"));
  std::cout << "now " << machine.get_current_state()->get_name() << '\n';
  machine.on_event(LinkLost());
}
