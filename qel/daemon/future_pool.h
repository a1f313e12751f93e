#pragma once

#include <chrono>
#include <cstddef>
#include <future>
#include <list>
#include <memory>
#include <type_traits>
#include <utility>

#include "qel/core/export.h"
#include "qel/daemon/future_connection.h"

namespace qel::async {

/// A future of any type with the handler that receives it.
template <class T, class Handler>
class FutureWrapper final : public FutureWrapperBase {
 public:
  FutureWrapper(std::future<T> future, Handler handler) : future_(std::move(future)), handler_(std::move(handler)) {}

  /// A deferred future counts as ready: the handler's get() runs it.
  bool is_ready() const override { return future_.wait_for(std::chrono::seconds(0)) != std::future_status::timeout; }
  void deliver() override { handler_(std::move(future_)); }

 private:
  std::future<T> future_;
  Handler handler_;
};

/// Futures that are polled after every turn of the main loop; the pool never blocks on one.
class QEL_EXPORT FuturePool {
 public:
  FuturePool() = default;
  FuturePool(const FuturePool&) = delete;
  FuturePool& operator=(const FuturePool&) = delete;
  ~FuturePool();

  /// Calls `handler(std::future<T>)` once, with the ready future, whose get() returns the value or throws. Throws
  /// std::future_error if the future has no shared state.
  template <class T, class Handler>
  FutureConnection add(std::future<T> future, Handler&& handler) {
    static_assert(std::is_invocable_v<std::decay_t<Handler>&, std::future<T>>, "the handler takes a std::future<T>");
    if (!future.valid()) {
      throw std::future_error(std::future_errc::no_state);
    }
    return add(
        std::make_shared<FutureWrapper<T, std::decay_t<Handler>>>(std::move(future), std::forward<Handler>(handler)));
  }
  FutureConnection add(std::shared_ptr<FutureWrapperBase> wrapper);

  std::size_t count_futures() const { return futures_.size(); }
  /// Drops all futures. If process_futures() is running, their handlers are not called either.
  void clear_futures();

  /// Returns how long to wait before the next poll: a sixteenth of the time since a future was last added or delivered,
  /// from 1 to 100 ms. A future is thus delivered late by at most a fraction of the time it took, and long-running
  /// futures cost little.
  std::chrono::milliseconds get_poll_interval(std::chrono::steady_clock::time_point now) const;

  /// Walks the list once: drops disconnected futures and delivers ready ones. Futures added by a handler wait for the
  /// next walk. An exception from a handler propagates; its future has been removed. Returns true if futures remain.
  bool process_futures();

 private:
  std::list<std::shared_ptr<FutureWrapperBase>> futures_;
  std::chrono::steady_clock::time_point changed_;
};

}  // namespace qel::async
