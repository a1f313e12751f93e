#pragma once

#include <memory>
#include <stdexcept>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "qel/core/export.h"

/// A state machine with one current state. Each state is a class that names the events it handles:
///
///     struct LinkUp final : Event {
///       explicit LinkUp(int index) : interface(index) {}
///       int interface;
///     };
///
///     class Waiting final : public State<Waiting, LinkUp> {
///      public:
///       using State::State;
///       const char* get_name() const override { return "Waiting"; }
///       void on(const LinkUp& event) { go_to<Running>(event.interface); }
///     };
///
///     StateMachine machine;
///     machine.init<Waiting>();
///     machine.on_event(LinkUp(2));
///
/// All machines of a process run on the main loop's thread.
namespace qel::state_machine {

class StateMachine;

/// Base class of events. Events are distinguished by their exact class.
class QEL_EXPORT Event {
 public:
  virtual ~Event();

 protected:
  Event() = default;
  Event(const Event&) = default;
  Event& operator=(const Event&) = default;
};

/// A state. The object exists from the transition into it until the transition out of it.
class QEL_EXPORT IState {
 public:
  /// Only the state machine can create states.
  class CreateToken {
    friend class StateMachine;
    CreateToken() = default;
  };

  IState(StateMachine& machine, CreateToken);
  IState(const IState&) = delete;
  IState& operator=(const IState&) = delete;
  virtual ~IState();

  virtual const char* get_name() const = 0;
  /// Returns, once, the state to change to; null if this state stays current.
  virtual std::unique_ptr<IState> take_transition() = 0;

  /// If on_entry throws, the state is dropped and the machine has no current state.
  virtual void on_entry();
  /// The state is still current and handles events, but can no longer request a transition. If on_exit throws, the
  /// state is left anyway, and the machine has no current state.
  virtual void on_exit();
  virtual void on_event(const Event& event);

  /// True from the end of on_entry() to the end of on_exit().
  bool is_entered() const { return entered_; }
  void set_entered(bool entered) { entered_ = entered; }
  StateMachine& get_state_machine() { return machine_; }
  const StateMachine& get_state_machine() const { return machine_; }

 private:
  StateMachine& machine_;
  bool entered_ = false;
};

/// The machine can be neither copied nor moved, because states refer to it. A member function of a state may end its
/// own machine, with deinit() or by destroying it: the state is left at once, but exists until the function returns.
class QEL_EXPORT StateMachine {
 public:
  StateMachine() = default;
  StateMachine(const StateMachine&) = delete;
  StateMachine& operator=(const StateMachine&) = delete;
  /// Calls deinit(); an exception from on_exit is logged. If states use members of a derived machine, its destructor
  /// must call deinit() itself.
  virtual ~StateMachine();

  /// Enters the first state; afterwards the states themselves choose the next one. Throws std::logic_error if there is
  /// already a current state.
  template <class First, class... Args>
  void init(Args&&... args) {
    init(create<First>(*this, std::forward<Args>(args)...));
  }

  /// Passes the event to the current state and makes the transition that it requests. Throws std::runtime_error if
  /// there is no state.
  void on_event(const Event& event);

  /// Leaves the current state, if any: calls on_exit, whose exceptions propagate, then the state's destructor. Does
  /// nothing when called from that on_exit.
  void deinit();

  IState* get_current_state() { return current_state_.get(); }
  /// Returns null before init() and after deinit().
  const IState* get_current_state() const { return current_state_.get(); }

  /// Creates a state without entering it: State(machine, token, args...).
  template <class S, class... Args>
  static std::unique_ptr<S> create(StateMachine& machine, Args&&... args) {
    static_assert(std::is_base_of_v<IState, S>);
    return std::make_unique<S>(machine, IState::CreateToken(), std::forward<Args>(args)...);
  }

 private:
  class Call;

  void init(std::unique_ptr<IState> first);
  void enter(std::unique_ptr<IState> state);
  void settle(const Call& call);
  void drop();

  std::unique_ptr<IState> current_state_;
};

/// Base class of a state that handles the given events, each with a public member function on(const E&). It ignores
/// other events.
template <class Concrete, class... Events>
class State : public IState {
  static_assert((std::is_base_of_v<Event, Events> && ...));

 public:
  using IState::IState;

  void on_event(const Event& event) final {
    const Dispatch dispatch(dispatches_);
    static_cast<void>((handle<Events>(event) || ...));
  }

  std::unique_ptr<IState> take_transition() final { return dispatches_ == 0 ? std::move(next_) : nullptr; }

 protected:
  /// Requests a transition for when the handler, or on_entry, returns. The next state is constructed immediately; the
  /// last request counts.
  template <class Next, class... Args>
  void go_to(Args&&... args) {
    next_ = StateMachine::create<Next>(get_state_machine(), std::forward<Args>(args)...);
  }

 private:
  /// Counts nested events: a handler may dispatch further ones, and the transition waits until the outermost is
  /// handled.
  class Dispatch {
   public:
    explicit Dispatch(unsigned& count) : count_(count) { ++count_; }
    Dispatch(const Dispatch&) = delete;
    Dispatch& operator=(const Dispatch&) = delete;
    ~Dispatch() { --count_; }

   private:
    unsigned& count_;
  };

  template <class E>
  bool handle(const Event& event) {
    if (typeid(event) != typeid(E)) {
      return false;
    }
    static_cast<Concrete&>(*this).on(static_cast<const E&>(event));
    return true;
  }

  std::unique_ptr<IState> next_;
  unsigned dispatches_ = 0;
};

}  // namespace qel::state_machine
