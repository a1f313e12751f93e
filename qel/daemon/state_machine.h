#pragma once

#include <memory>
#include <stdexcept>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "qel/core/export.h"

/// A state machine with one current state. States are classes that name the events they handle:
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
/// All machines of a process belong to the one thread of its main loop.
namespace qel::state_machine {

class StateMachine;

/// The base of what is dispatched to states; events are told apart by their exact class.
class QEL_EXPORT Event {
 public:
  virtual ~Event();

 protected:
  Event() = default;
  Event(const Event&) = default;
  Event& operator=(const Event&) = default;
};

/// A state, alive from the transition into it to the transition out of it.
class QEL_EXPORT IState {
 public:
  /// Only the state machine makes states.
  class CreateToken {
    friend class StateMachine;
    CreateToken() = default;
  };

  IState(StateMachine& machine, CreateToken);
  IState(const IState&) = delete;
  IState& operator=(const IState&) = delete;
  virtual ~IState();

  virtual const char* get_name() const = 0;
  /// The state that this one wants to give way to, once; null when it wants to stay.
  virtual std::unique_ptr<IState> take_transition() = 0;

  /// A state whose on_entry throws is dropped; the machine then has no current state.
  virtual void on_entry();
  /// The state is still the current one, and handles events, but cannot ask for a transition any more. When it throws,
  /// the state is left all the same, and the machine has no current state.
  virtual void on_exit();
  virtual void on_event(const Event& event);

  /// From the end of on_entry() to the end of on_exit().
  bool is_entered() const { return entered_; }
  void set_entered(bool entered) { entered_ = entered; }
  StateMachine& get_state_machine() { return machine_; }
  const StateMachine& get_state_machine() const { return machine_; }

 private:
  StateMachine& machine_;
  bool entered_ = false;
};

/// Neither copied nor moved: states refer to it. An operation of a state may end its own machine, by deinit() or by
/// destroying it: the state is left at once, but lives until the operation returns.
class QEL_EXPORT StateMachine {
 public:
  StateMachine() = default;
  StateMachine(const StateMachine&) = delete;
  StateMachine& operator=(const StateMachine&) = delete;
  /// deinit(); what on_exit throws is logged. A derived machine whose members the states use calls it earlier, in its
  /// own destructor.
  virtual ~StateMachine();

  /// Enters the first state. Throws std::logic_error when there is a current state: from then on the states themselves
  /// say where to go.
  template <class First, class... Args>
  void init(Args&&... args) {
    init(create<First>(*this, std::forward<Args>(args)...));
  }

  /// Dispatches to the current state and makes the transition it asks for. Throws std::runtime_error without a state.
  void on_event(const Event& event);

  /// Leaves the current state, if there is one: on_exit, whose exceptions leave from here, then the state's destructor.
  /// Does nothing in that on_exit.
  void deinit();

  IState* get_current_state() { return current_state_.get(); }
  /// Null before init() and after deinit().
  const IState* get_current_state() const { return current_state_.get(); }

  /// Makes a state without entering it: State(machine, token, args...).
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

/// The base of a state that handles the given events, each with a public member function on(const E&); it passes by
/// the others.
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
  /// Asks for a transition once the handler, or on_entry, is over. The next state is made here and now; the last
  /// request counts.
  template <class Next, class... Args>
  void go_to(Args&&... args) {
    next_ = StateMachine::create<Next>(get_state_machine(), std::forward<Args>(args)...);
  }

 private:
  /// A handler may dispatch further events; the transition waits for the outermost one.
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
