#include "qel/daemon/state_machine.h"

#include <exception>
#include <ostream>

#include "qel/daemon/log.h"

namespace qel::state_machine {

namespace {

std::ostream& log_error() { return debug::stream("state_machine") << debug::LogLevels::ERROR; }

}  // namespace

Event::~Event() = default;

IState::IState(StateMachine& machine, CreateToken) : machine_(machine) {}

IState::~IState() = default;

void IState::on_entry() {}

void IState::on_exit() {}

void IState::on_event(const Event&) {}

/// A call in progress, of the machine or by the machine of a state. The call may end the machine: the record then notes
/// this and keeps the state alive until the call returns. Records are on the stack, the innermost on top. The class is
/// not exported although it is nested in an exported class.
class [[gnu::visibility("hidden")]] StateMachine::Call {
 public:
  enum class Of { MACHINE, STATE, ON_EXIT };

  Call(const StateMachine& machine, Of what)
      : machine_(&machine),
        state_(what == Of::MACHINE ? nullptr : machine.current_state_.get()),
        leaves_(what == Of::ON_EXIT),
        outer_(std::exchange(innermost, this)) {}
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;
  ~Call() { innermost = outer_; }

  bool machine_is_there() const { return machine_ != nullptr; }

  static bool is_leaving(const StateMachine& machine) {
    for (const Call* call = innermost; call != nullptr; call = call->outer_) {
      if (call->leaves_ && call->machine_ == &machine) {
        return true;
      }
    }
    return false;
  }

  static void forget(const StateMachine& machine) {
    for (Call* call = innermost; call != nullptr; call = call->outer_) {
      if (call->machine_ == &machine) {
        call->machine_ = nullptr;
      }
    }
  }

  /// Destroys the state once no call of it is in progress.
  static void bury(std::unique_ptr<IState> state) {
    Call* outermost = nullptr;
    for (Call* call = innermost; call != nullptr; call = call->outer_) {
      if (call->state_ == state.get()) {
        outermost = call;
      }
    }
    if (outermost != nullptr) {
      outermost->kept_ = std::move(state);
    }
  }

 private:
  static Call* innermost;

  const StateMachine* machine_;  ///< null once the machine is gone
  const IState* state_;
  bool leaves_;
  Call* outer_;
  std::unique_ptr<IState> kept_;
};

StateMachine::Call* StateMachine::Call::innermost = nullptr;

StateMachine::~StateMachine() {
  try {
    deinit();
  } catch (const std::exception& error) {
    log_error() << "failed to leave the state (" << error.what() << ')' << std::endl;
  } catch (...) {
    log_error() << "failed to leave the state" << std::endl;
  }
  drop();  // in case on_exit destroys the machine
  Call::forget(*this);
}

void StateMachine::on_event(const Event& event) {
  if (!current_state_) {
    constexpr const char* MESSAGE = "Dispatching Event on uninitialised State Machine!";
    log_error() << MESSAGE << std::endl;
    throw std::runtime_error(MESSAGE);
  }
  const Call call(*this, Call::Of::MACHINE);
  {
    const Call of_state(*this, Call::Of::STATE);
    current_state_->on_event(event);
  }
  if (call.machine_is_there()) {
    settle(call);
  }
}

void StateMachine::deinit() {
  if (!current_state_ || Call::is_leaving(*this)) {
    return;
  }
  const Call call(*this, Call::Of::ON_EXIT);
  try {
    current_state_->on_exit();
  } catch (...) {
    if (call.machine_is_there()) {
      drop();
    }
    throw;
  }
  if (call.machine_is_there()) {
    drop();
  }
}

void StateMachine::drop() {
  if (current_state_) {
    current_state_->set_entered(false);
    Call::bury(std::move(current_state_));
  }
}

void StateMachine::init(std::unique_ptr<IState> first) {
  if (current_state_) {
    throw std::logic_error("the state machine has a current state already");
  }
  const Call call(*this, Call::Of::MACHINE);
  enter(std::move(first));
  if (call.machine_is_there()) {
    settle(call);
  }
}

void StateMachine::enter(std::unique_ptr<IState> state) {
  current_state_ = std::move(state);
  IState* const entering = current_state_.get();
  const Call call(*this, Call::Of::STATE);
  const auto is_current = [&] { return call.machine_is_there() && current_state_.get() == entering; };
  try {
    entering->on_entry();
  } catch (...) {
    if (is_current()) {
      Call::bury(std::move(current_state_));
    }
    throw;
  }
  if (is_current()) {
    entering->set_entered(true);
  }
}

void StateMachine::settle(const Call& call) {
  // A state that is still in its on_entry is handled by whoever entered it, and one in its on_exit is already being
  // left.
  while (call.machine_is_there() && current_state_ && current_state_->is_entered() && !Call::is_leaving(*this)) {
    auto next = current_state_->take_transition();
    if (!next) {
      return;
    }
    deinit();
    if (call.machine_is_there()) {
      enter(std::move(next));
    }
  }
}

}  // namespace qel::state_machine
