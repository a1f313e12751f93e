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

/// What is to happen when a task is done.
class QEL_EXPORT TaskContinuation {
 public:
  virtual ~TaskContinuation();
  virtual void operator()(Task& task) = 0;
};

/// An operation that ends later than it is started: by itself, by a timeout or because it is cancelled. See
/// value_task.h for the ready-made kind that ends with a value.
///
/// A task that is destroyed before it is done ends as DELETED: on_done(DELETED), then the continuation. The tasks of
/// value_task.h see to that while they are whole. A destructor reaches nothing of the classes derived from its own, so
/// a derived class calls end_as_deleted() first in its destructor: when it overrides on_done(), when its continuations
/// use members of it, and always when it derives from Task itself, of which no pure operation can be called otherwise.
class QEL_EXPORT Task {
 public:
  Task() = default;
  /// The source keeps its state and loses its continuation. Throws TaskError while either task is running.
  Task(Task&& other);             // NOLINT(bugprone-exception-escape)
  Task& operator=(Task&& other);  // NOLINT(bugprone-exception-escape)
  /// Never throws, but logs what failed.
  virtual ~Task();

 protected:
  /// Drops what a run left behind; called first in reset().
  virtual void reset_impl() = 0;

 public:
  /// Back to NEVER_STARTED, without notifications; ends the timeout of a running task.
  virtual void reset();

  /// Ends a running task as CANCELLED; false when it is not running.
  virtual bool cancel() = 0;
  /// Ends a running task as COMPLETE_WITH_EXCEPTION; false when it is not running. `exception` must not be null.
  virtual bool fail(std::exception_ptr exception) = 0;
  /// Null unless the task ended with an exception.
  virtual std::exception_ptr get_exception() const = 0;
  /// Throws unless the task ended with a value: its exception, or TaskError with TIMED_OUT, CANCELLED, IS_RUNNING or
  /// NOT_RUNNING.
  virtual void check() const = 0;

  /// From NEVER_STARTED to RUNNING; arms the timeout, if there is one. Throws TaskError in any other state.
  void start();

  bool is_running() const { return state_ == TaskState::RUNNING; }
  bool is_done() const { return task_state_is_done(state_); }
  TaskState get_state() const { return state_; }

  /// 0: none.
  std::chrono::milliseconds get_timeout() const { return timeout_; }
  /// Counts from the next start; one above time::Timer::MAX_DURATION counts as that. Throws TaskError while the task is
  /// running.
  void set_timeout(std::chrono::milliseconds timeout);
  /// Until the timeout; 0 when there is none. Throws TaskError unless the task is running.
  std::chrono::milliseconds get_remaining_time() const;

  /// Has `function(task)` called whenever the task is done; it may destroy the task. Throws TaskError when there is a
  /// continuation already.
  template <class F>
  void then(F&& function);
  void then(std::shared_ptr<TaskContinuation> continuation);
  bool has_continuation() const { return continuation_ != nullptr; }
  /// Throws TaskError when there is none.
  void remove_continuation();

 protected:
  /// The way to end a task. Entering a done state calls done(); the task may not exist any more afterwards.
  void set_state(TaskState state);
  /// What a destructor does: set_state(DELETED), of which a failure is logged, and no continuation from then on.
  void end_as_deleted() noexcept;
  /// Stops the timeout unless it is what happened, then on_done(), then the continuation.
  void done(TaskState state);

  virtual void on_started();
  virtual void on_done(TaskState state);
  virtual void on_timeout() = 0;

 private:
  void move_from(Task& other);

  time::Timer timeout_timer_;
  std::chrono::milliseconds timeout_{0};
  TaskState state_ = TaskState::NEVER_STARTED;
  /// Shared only so that it outlives its own call.
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
