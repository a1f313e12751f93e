#pragma once

#include <memory>
#include <utility>

#include "qel/core/export.h"

namespace qel::async {

/// A pending future and its handler.
class QEL_EXPORT FutureWrapperBase {
 public:
  FutureWrapperBase() = default;
  FutureWrapperBase(const FutureWrapperBase&) = delete;
  FutureWrapperBase& operator=(const FutureWrapperBase&) = delete;
  virtual ~FutureWrapperBase();

  /// Never blocks.
  virtual bool is_ready() const = 0;
  /// Passes the ready future to the handler.
  virtual void deliver() = 0;

  bool connected() const { return connected_; }
  void disconnect() { connected_ = false; }

 private:
  bool connected_ = true;
};

/// Tells whether the handler of a future is still to be called, and can prevent the call. Does not own the future.
class QEL_EXPORT FutureConnection {
 public:
  FutureConnection() = default;
  explicit FutureConnection(std::weak_ptr<FutureWrapperBase> wrapper) : wrapper_(std::move(wrapper)) {}

  bool connected() const;
  /// Returns false if the future has already been delivered or dropped.
  bool disconnect();
  void swap(FutureConnection& other) noexcept { wrapper_.swap(other.wrapper_); }

 private:
  std::weak_ptr<FutureWrapperBase> wrapper_;
};

inline void swap(FutureConnection& left, FutureConnection& right) noexcept { left.swap(right); }

/// Disconnects when it is destroyed or assigned another connection.
class QEL_EXPORT ScopedFutureConnection {
 public:
  ScopedFutureConnection() = default;
  // NOLINTNEXTLINE(google-explicit-constructor): assigned from what FuturePool::add returns
  ScopedFutureConnection(FutureConnection connection) : connection_(std::move(connection)) {}
  ScopedFutureConnection(ScopedFutureConnection&& other) noexcept { swap(other); }
  ScopedFutureConnection& operator=(ScopedFutureConnection&& other) noexcept;
  ScopedFutureConnection& operator=(FutureConnection connection);
  ~ScopedFutureConnection();

  bool connected() const { return connection_.connected(); }
  bool disconnect() { return connection_.disconnect(); }
  void swap(ScopedFutureConnection& other) noexcept { connection_.swap(other.connection_); }

 private:
  FutureConnection connection_;
};

inline void swap(ScopedFutureConnection& left, ScopedFutureConnection& right) noexcept { left.swap(right); }

}  // namespace qel::async
