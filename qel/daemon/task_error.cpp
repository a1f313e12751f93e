#include "qel/daemon/task_error.h"

namespace qel::async {

namespace {

class TaskErrorCategory final : public std::error_category {
 public:
  const char* name() const noexcept override { return "Task"; }

  std::string message(int code) const override {
    switch (static_cast<TaskErrc>(code)) {
      case TaskErrc::TIMED_OUT:
        return "Task timed out";
      case TaskErrc::CANCELLED:
        return "Task cancelled";
      case TaskErrc::ALREADY_RUNNING:
        return "Task already running";
      case TaskErrc::NOT_RUNNING:
        return "Task not running";
      case TaskErrc::IS_RUNNING:
        return "Task is running";
      case TaskErrc::NO_CONTINUATION:
        return "Task has no continuation";
      case TaskErrc::HAS_CONTINUATION:
        return "Task has a continuation";
      case TaskErrc::COMPOSITION_INVALID:
        return "Task composition invalid";
    }
    return "(unrecognised error)";
  }

  std::error_condition default_error_condition(int code) const noexcept override {
    switch (static_cast<TaskErrc>(code)) {
      case TaskErrc::TIMED_OUT:
        return std::errc::timed_out;
      case TaskErrc::CANCELLED:
        return std::errc::operation_canceled;
      case TaskErrc::ALREADY_RUNNING:
        return std::errc::operation_in_progress;
      case TaskErrc::NOT_RUNNING:
      case TaskErrc::IS_RUNNING:
        return std::errc::resource_unavailable_try_again;
      case TaskErrc::NO_CONTINUATION:
      case TaskErrc::HAS_CONTINUATION:
      case TaskErrc::COMPOSITION_INVALID:
        return std::errc::operation_not_supported;
    }
    return {code, *this};
  }
};

}  // namespace

const std::error_category& task_error_category() {
  static const TaskErrorCategory category;
  return category;
}

std::error_code make_error_code(TaskErrc code) { return {static_cast<int>(code), task_error_category()}; }

std::error_condition make_error_condition(TaskErrc code) { return {static_cast<int>(code), task_error_category()}; }

TaskError::TaskError(std::error_code code, const std::string& context) : std::system_error(code, context) {}

TaskError::~TaskError() = default;

}  // namespace qel::async
