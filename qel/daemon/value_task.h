#pragma once

#include <exception>
#include <optional>
#include <stdexcept>
#include <utility>

#include "qel/daemon/task.h"

namespace qel::async {

/// Common base of tasks that end with a value, an exception, a timeout or a cancellation.
class QEL_EXPORT CompletingTask : public Task {
 public:
  CompletingTask() = default;
  CompletingTask(CompletingTask&&) = default;
  CompletingTask& operator=(CompletingTask&&) = default;
  ~CompletingTask() override;

  bool cancel() override;
  bool fail(std::exception_ptr exception) override;
  std::exception_ptr get_exception() const override { return exception_; }
  void check() const override;

 protected:
  void reset_impl() override;
  void on_timeout() override;

 private:
  std::exception_ptr exception_;
};

/// A task that ends with a T. The code that does the work calls complete() or fail():
///
///     ValueTask<Topology> query;
///     query.set_timeout(1s);
///     query.then([](Task& task) { ... });
///     query.start();
template <class T>
class ValueTask : public CompletingTask {
 public:
  ValueTask() = default;
  ValueTask(ValueTask&&) = default;             // NOLINT(bugprone-exception-escape)
  ValueTask& operator=(ValueTask&&) = default;  // NOLINT(bugprone-exception-escape)
  /// The continuation of a task destroyed while running may still use all of it; get() and check() throw NOT_RUNNING.
  ~ValueTask() override { end_as_deleted(); }

  /// Returns false if the task is not running: a late result is dropped.
  bool complete(T value) {
    if (!is_running()) {
      return false;
    }
    value_ = std::move(value);
    set_state(TaskState::COMPLETE_WITH_VALUE);
    return true;
  }

  /// Throws like check().
  const T& get() const {
    check();
    return *value_;
  }

 protected:
  void reset_impl() override {
    CompletingTask::reset_impl();
    value_.reset();
  }

 private:
  std::optional<T> value_;
};

}  // namespace qel::async
