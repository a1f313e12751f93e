#include "qel/daemon/task_state.h"

#include <ostream>

namespace qel::async {

std::string task_state_to_string(TaskState state) {
  switch (state) {
    case TaskState::NEVER_STARTED:
      return "NEVER_STARTED";
    case TaskState::RUNNING:
      return "RUNNING";
    case TaskState::CANCELLED:
      return "CANCELLED";
    case TaskState::COMPLETE_WITH_VALUE:
      return "COMPLETE_WITH_VALUE";
    case TaskState::COMPLETE_WITH_EXCEPTION:
      return "COMPLETE_WITH_EXCEPTION";
    case TaskState::TIMEOUT:
      return "TIMEOUT";
    case TaskState::DELETED:
      return "DELETED";
  }
  return "INVALID";
}

std::ostream& operator<<(std::ostream& os, TaskState state) { return os << task_state_to_string(state); }

}  // namespace qel::async
