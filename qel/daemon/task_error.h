#pragma once

#include <string>
#include <system_error>

#include "qel/core/export.h"

namespace qel::async {

enum class TaskErrc : int {
  TIMED_OUT = 1,
  CANCELLED = 2,
  ALREADY_RUNNING = 3,
  NOT_RUNNING = 4,
  IS_RUNNING = 5,
  NO_CONTINUATION = 6,
  HAS_CONTINUATION = 7,
  COMPOSITION_INVALID = 8,
};

/// The category named "Task".
QEL_EXPORT const std::error_category& task_error_category();
QEL_EXPORT std::error_code make_error_code(TaskErrc code);
QEL_EXPORT std::error_condition make_error_condition(TaskErrc code);

/// Misuse of a task, or the way it ended. what() is "context: message".
class QEL_EXPORT TaskError : public std::system_error {
 public:
  TaskError(std::error_code code, const std::string& context);
  TaskError(const TaskError&) = default;
  TaskError& operator=(const TaskError&) = default;
  ~TaskError() override;
};

}  // namespace qel::async

template <>
struct std::is_error_code_enum<qel::async::TaskErrc> : std::true_type {};
