#pragma once

#include <chrono>
#include <exception>
#include <memory>
#include <type_traits>
#include <utility>

#include "qel/core/export.h"
#include "qel/daemon/task_error.h"
#include "qel/daemon/task_state.h"
#include "qel/daemon/timer.h"

namespace qel::async {

class Task;

/// Called when a task is done.
class QEL_EXPORT TaskContinuation {
 public:
  virtual ~TaskContinuation();
  virtual void operator()(Task& task) = 0;
};

/// An operation that ends later than it is started: by itself, by a timeout or by cancellation. value_task.h has the
/// ready-made kind that ends with a value.
///
/// A task that is destroyed before it is done ends as DELETED: first on_done(DELETED), then the continuation. The
/// destructors of the classes in value_task.h take care of this. A base class's destructor can no longer reach members
/// of a derived class, so the destructor of a derived class must call end_as_deleted() first if the class overrides
/// on_done(), if its continuations use its members, or if it derives directly from Task, whose pure virtual functions
/// could otherwise not be called.
class QEL_EXPORT Task {
 public:
  Task() = default;
  /// The source keeps its state and loses its continuation. Throws TaskError if either task is running.
  Task(Task&& other);             // NOLINT(bugprone-exception-escape)
  Task& operator=(Task&& other);  // NOLINT(bugprone-exception-escape)
  /// Never throws; failures are logged.
  virtual ~Task();

 protected:
  /// Discards the results of a run; reset() calls it first.
  virtual void reset_impl() = 0;

 public:
  /// Returns to NEVER_STARTED without notifications, and stops the timeout of a running task.
  virtual void reset();

  /// Ends a running task as CANCELLED. Returns false if it is not running.
  virtual bool cancel() = 0;
  /// Ends a running task as COMPLETE_WITH_EXCEPTION. Returns false if it is not running. `exception` must not be null.
  virtual bool fail(std::exception_ptr exception) = 0;
  /// Null unless the task ended with an exception.
  virtual std::exception_ptr get_exception() const = 0;
  /// Throws unless the task ended with a value: either the task's exception, or TaskError with TIMED_OUT, CANCELLED,
  /// IS_RUNNING or NOT_RUNNING.
  virtual void check() const = 0;

  /// Changes from NEVER_STARTED to RUNNING and starts the timeout, if one is set. Throws TaskError in any other state.
  void start();

  bool is_running() const { return state_ == TaskState::RUNNING; }
  bool is_done() const { return task_state_is_done(state_); }
  TaskState get_state() const { return state_; }

  /// 0 means no timeout.
  std::chrono::milliseconds get_timeout() const { return timeout_; }
  /// Takes effect at the next start; a value above time::Timer::MAX_DURATION is reduced to it. Throws TaskError if the
  /// task is running.
  void set_timeout(std::chrono::milliseconds timeout);
  /// Time until the timeout; 0 if there is none. Throws TaskError if the task is not running.
  std::chrono::milliseconds get_remaining_time() const;

  /// Calls `function(task)` whenever the task is done; it may destroy the task. Throws TaskError if there is already a
  /// continuation.
  template <class F>
  void then(F&& function);
  void then(std::shared_ptr<TaskContinuation> continuation);
  bool has_continuation() const { return continuation_ != nullptr; }
  /// Throws TaskError if there is no continuation.
  void remove_continuation();

 protected:
  /// Changes the state. Entering a done state calls done(), after which the task may no longer exist.
  void set_state(TaskState state);
  /// For destructors: calls set_state(DELETED), logs any failure, and prevents further continuations.
  void end_as_deleted() noexcept;
  /// Stops the timeout unless it has fired, then calls on_done() and the continuation.
  void done(TaskState state);

  virtual void on_started();
  virtual void on_done(TaskState state);
  virtual void on_timeout() = 0;

 private:
  void move_from(Task& other);

  time::Timer timeout_timer_;
  std::chrono::milliseconds timeout_{0};
  TaskState state_ = TaskState::NEVER_STARTED;
  /// Shared only so that it survives its own call.
  std::shared_ptr<TaskContinuation> continuation_;
};

template <class F>
void Task::then(F&& function) {
  class Continuation final : public TaskContinuation {
   public:
    explicit Continuation(F&& f) : function_(std::forward<F>(f)) {}
    void operator()(Task& task) override { function_(task); }

   private:
    std::decay_t<F> function_;
  };
  then(std::shared_ptr<TaskContinuation>(std::make_shared<Continuation>(std::forward<F>(function))));
}

}  // namespace qel::async
