#include "qel/daemon/value_task.h"

namespace qel::async {

CompletingTask::~CompletingTask() { end_as_deleted(); }

bool CompletingTask::cancel() {
  if (!is_running()) {
    return false;
  }
  set_state(TaskState::CANCELLED);
  return true;
}

bool CompletingTask::fail(std::exception_ptr exception) {
  if (!is_running()) {
    return false;
  }
  exception_ = std::move(exception);
  set_state(TaskState::COMPLETE_WITH_EXCEPTION);
  return true;
}

void CompletingTask::check() const {
  constexpr const char* CONTEXT = "Task has no value!";
  switch (get_state()) {
    case TaskState::COMPLETE_WITH_VALUE:
      return;
    case TaskState::COMPLETE_WITH_EXCEPTION:
      if (exception_ != nullptr) {
        std::rethrow_exception(exception_);
      }
      break;
    case TaskState::TIMEOUT:
      throw TaskError(TaskErrc::TIMED_OUT, CONTEXT);
    case TaskState::CANCELLED:
      throw TaskError(TaskErrc::CANCELLED, CONTEXT);
    case TaskState::RUNNING:
      throw TaskError(TaskErrc::IS_RUNNING, CONTEXT);
    case TaskState::NEVER_STARTED:
    case TaskState::DELETED:
      break;
  }
  throw TaskError(TaskErrc::NOT_RUNNING, CONTEXT);
}

void CompletingTask::reset_impl() { exception_ = nullptr; }

void CompletingTask::on_timeout() { set_state(TaskState::TIMEOUT); }

}  // namespace qel::async
