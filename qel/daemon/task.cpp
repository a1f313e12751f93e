#include "qel/daemon/task.h"

#include <algorithm>
#include <ostream>

#include "qel/daemon/log.h"

namespace qel::async {

TaskContinuation::~TaskContinuation() = default;

// Moving a running task throws by design.
Task::Task(Task&& other) { move_from(other); }  // NOLINT(bugprone-exception-escape)

Task& Task::operator=(Task&& other) {  // NOLINT(bugprone-exception-escape)
  move_from(other);
  return *this;
}

Task::~Task() { end_as_deleted(); }

void Task::end_as_deleted() noexcept {
  try {
    set_state(TaskState::DELETED);
  } catch (const std::exception& error) {
    debug::stream("Task") << debug::LogLevels::ERROR << "failed to end task (" << error.what() << ")" << std::endl;
  } catch (...) {
    debug::stream("Task") << debug::LogLevels::ERROR << "failed to end task" << std::endl;
  }
  continuation_.reset();
}

void Task::move_from(Task& other) {
  if (is_running() || other.is_running()) {
    throw TaskError(TaskErrc::IS_RUNNING, "Cannot assign to or from running task!");
  }
  if (this == &other) {
    return;
  }
  // Neither is armed unless the state was set by hand; its action would refer to the other task.
  timeout_timer_.stop();
  other.timeout_timer_.stop();
  timeout_timer_ = std::move(other.timeout_timer_);
  timeout_ = other.timeout_;
  state_ = other.state_;
  continuation_ = std::move(other.continuation_);
}

void Task::reset() {
  reset_impl();
  timeout_timer_.stop();
  state_ = TaskState::NEVER_STARTED;
}

void Task::start() {
  if (state_ != TaskState::NEVER_STARTED) {
    throw TaskError(TaskErrc::ALREADY_RUNNING, "Task has already been started!");
  }
  if (timeout_.count() > 0) {
    timeout_timer_.stop();
    timeout_timer_.start(std::min<std::chrono::milliseconds>(timeout_, time::Timer::MAX_DURATION),
                         [this] { on_timeout(); });
  }
  set_state(TaskState::RUNNING);
  on_started();
}

void Task::set_timeout(std::chrono::milliseconds timeout) {
  if (is_running()) {
    throw TaskError(TaskErrc::IS_RUNNING, "Running task cannot be moved!");
  }
  timeout_ = timeout;
}

std::chrono::milliseconds Task::get_remaining_time() const {
  if (!is_running()) {
    throw TaskError(TaskErrc::NOT_RUNNING, "Task is not running!");
  }
  return timeout_timer_.is_running() ? timeout_timer_.get_remaining_time() : std::chrono::milliseconds(0);
}

void Task::then(std::shared_ptr<TaskContinuation> continuation) {
  if (continuation_) {
    throw TaskError(TaskErrc::HAS_CONTINUATION, "Task cannot be continued!");
  }
  continuation_ = std::move(continuation);
}

void Task::remove_continuation() {
  if (!continuation_) {
    throw TaskError(TaskErrc::NO_CONTINUATION, "Continuation cannot be removed!");
  }
  continuation_.reset();
}

void Task::set_state(TaskState state) {
  const bool ends = !is_done() && task_state_is_done(state);
  state_ = state;
  if (ends) {
    done(state);
  }
}

void Task::done(TaskState state) {
  if (state != TaskState::TIMEOUT) {
    timeout_timer_.stop();
  }
  on_done(state);  // NOLINT(clang-analyzer-optin.cplusplus.VirtualCall): from a destructor it is that class's version
  if (const auto continuation = continuation_) {
    (*continuation)(*this);
  }
}

void Task::on_started() {}

void Task::on_done(TaskState) {}

}  // namespace qel::async
