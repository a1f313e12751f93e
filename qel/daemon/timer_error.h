#pragma once

#include <system_error>

#include "qel/core/export.h"

namespace qel::time {

enum class TimerErrc : int {
  ALREADY_RUNNING = 1,
  NOT_RUNNING = 2,
  INVALID_PARAMETER = 3,
  INVALID_HANDLE = 4,
  DELETED_HANDLE = 5,
  CHANGED_HANDLE = 6,
  RESOURCE_PROBLEM = 7,
};

/// The category named "Timer".
QEL_EXPORT const std::error_category& timer_error_category();
QEL_EXPORT std::error_code make_error_code(TimerErrc code);
QEL_EXPORT std::error_condition make_error_condition(TimerErrc code);

/// Thrown when a timer operation fails.
class QEL_EXPORT TimerError : public std::system_error {
 public:
  explicit TimerError(std::error_code code);
  TimerError(const TimerError&) = default;
  TimerError& operator=(const TimerError&) = default;
  ~TimerError() override;
};

}  // namespace qel::time

template <>
struct std::is_error_code_enum<qel::time::TimerErrc> : std::true_type {};
