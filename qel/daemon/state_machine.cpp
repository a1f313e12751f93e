#include "qel/daemon/state_machine.h"

#include <ostream>

#include "qel/daemon/log.h"

namespace qel::state_machine {

Event::~Event() = default;

IState::IState(StateMachine& machine, CreateToken) : machine_(machine) {}

IState::~IState() = default;

void IState::on_entry() {}

void IState::on_exit() {}

void IState::on_event(const Event&) {}

StateMachine::~StateMachine() { deinit(); }

void StateMachine::on_event(const Event& event) {
  if (!current_state_) {
    constexpr const char* MESSAGE = "Dispatching Event on uninitialised State Machine!";
    debug::stream("state_machine") << debug::LogLevels::ERROR << MESSAGE << std::endl;
    throw std::runtime_error(MESSAGE);
  }
  current_state_->on_event(event);
  settle();
}

void StateMachine::deinit() {
  if (const auto leaving = std::move(current_state_)) {
    leaving->on_exit();
    leaving->set_entered(false);
  }
}

void StateMachine::init(std::unique_ptr<IState> first) {
  if (current_state_) {
    throw std::logic_error("the state machine has a current state already");
  }
  enter(std::move(first));
  settle();
}

void StateMachine::enter(std::unique_ptr<IState> state) {
  current_state_ = std::move(state);
  try {
    current_state_->on_entry();
  } catch (...) {
    current_state_.reset();
    throw;
  }
  current_state_->set_entered(true);
}

void StateMachine::settle() {
  // A state that is still in its on_entry is settled by whoever entered it.
  while (current_state_ && current_state_->is_entered()) {
    auto next = current_state_->take_transition();
    if (!next) {
      return;
    }
    deinit();
    enter(std::move(next));
  }
}

}  // namespace qel::state_machine
