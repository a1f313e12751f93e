#include "qel/daemon/timer_error.h"

#include <string>

namespace qel::time {

namespace {

class TimerErrorCategory final : public std::error_category {
 public:
  const char* name() const noexcept override { return "Timer"; }

  std::string message(int code) const override {
    switch (static_cast<TimerErrc>(code)) {
      case TimerErrc::ALREADY_RUNNING:
        return "Already running";
      case TimerErrc::NOT_RUNNING:
        return "Not running";
      case TimerErrc::INVALID_PARAMETER:
        return "Invalid parameter";
      case TimerErrc::INVALID_HANDLE:
        return "Invalid handle";
      case TimerErrc::DELETED_HANDLE:
        return "Deleted handle";
      case TimerErrc::CHANGED_HANDLE:
        return "Changed handle";
      case TimerErrc::RESOURCE_PROBLEM:
        return "Resource problem";
    }
    return "(unrecognized error)";
  }

  std::error_condition default_error_condition(int code) const noexcept override {
    switch (static_cast<TimerErrc>(code)) {
      case TimerErrc::INVALID_PARAMETER:
        return std::errc::invalid_argument;
      case TimerErrc::RESOURCE_PROBLEM:
        return std::errc::device_or_resource_busy;
      default:
        return {code, *this};
    }
  }
};

}  // namespace

const std::error_category& timer_error_category() {
  static const TimerErrorCategory category;
  return category;
}

std::error_code make_error_code(TimerErrc code) { return {static_cast<int>(code), timer_error_category()}; }

std::error_condition make_error_condition(TimerErrc code) { return {static_cast<int>(code), timer_error_category()}; }

TimerError::TimerError(std::error_code code) : std::system_error(code) {}

TimerError::~TimerError() = default;

}  // namespace qel::time
