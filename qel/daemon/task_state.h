#pragma once

#include <iosfwd>
#include <string>

#include "qel/core/export.h"

namespace qel::async {

enum class TaskState : int {
  NEVER_STARTED = 0,
  RUNNING = 1,
  CANCELLED = 2,
  COMPLETE_WITH_VALUE = 3,
  COMPLETE_WITH_EXCEPTION = 4,
  TIMEOUT = 5,
  DELETED = 6,
};

constexpr bool task_state_is_done(TaskState state) {
  return state >= TaskState::CANCELLED && state <= TaskState::DELETED;
}

/// Returns "INVALID" for a value without a name.
QEL_EXPORT std::string task_state_to_string(TaskState state);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, TaskState state);

}  // namespace qel::async
