#pragma once

#include <memory>
#include <utility>

#include "qel/core/export.h"

namespace qel::signals {

/// One function connected to a signal, as its connections see it.
class QEL_EXPORT SlotBase {
 public:
  SlotBase() = default;
  SlotBase(const SlotBase&) = delete;
  SlotBase& operator=(const SlotBase&) = delete;
  virtual ~SlotBase();

  /// Whether an emission calls the function: connected and not blocked.
  virtual bool is_callable() const = 0;
  /// The signal is gone: disconnects without telling it.
  virtual void release() = 0;

  virtual bool is_connected() const = 0;
  virtual void disconnect() = 0;
  virtual bool is_blocked() const = 0;
  virtual void block(bool blocked) = 0;
};

/// A handle to a slot, which it does not keep. Without a live slot it is neither connected nor blocked, and disconnect
/// and block do nothing.
class QEL_EXPORT Connection {
 public:
  Connection() = default;
  explicit Connection(std::weak_ptr<SlotBase> slot) : slot_(std::move(slot)) {}
  Connection(const Connection&) = default;
  Connection(Connection&&) noexcept = default;
  Connection& operator=(const Connection&) = default;
  Connection& operator=(Connection&&) noexcept = default;
  Connection& operator=(const std::weak_ptr<SlotBase>& slot);
  virtual ~Connection();

  bool is_connected() const;
  void disconnect();
  bool is_blocked() const;
  /// A blocked slot stays connected, but emissions pass it by.
  void block(bool blocked);

  void swap(Connection& other) noexcept { slot_.swap(other.slot_); }

  /// Whether both have the same live slot, or neither has one.
  bool operator==(const Connection& other) const { return slot_.lock() == other.slot_.lock(); }
  /// By slot, also after its death: connections that are equal because their slots died are still ordered.
  bool operator<(const Connection& other) const { return slot_.owner_before(other.slot_); }

 private:
  std::weak_ptr<SlotBase> slot_;
};

inline void swap(Connection& left, Connection& right) noexcept { left.swap(right); }

/// Disconnects when it dies or takes another connection.
class QEL_EXPORT ScopedConnection : public Connection {
 public:
  ScopedConnection() = default;
  // NOLINTNEXTLINE(google-explicit-constructor): assigned from what Signal::connect returns
  ScopedConnection(Connection connection) : Connection(std::move(connection)) {}
  ScopedConnection(ScopedConnection&&) noexcept = default;
  ScopedConnection(const ScopedConnection&) = delete;
  ScopedConnection& operator=(const ScopedConnection&) = delete;
  ScopedConnection& operator=(ScopedConnection&& other) noexcept;
  ScopedConnection& operator=(Connection connection);
  ScopedConnection& operator=(const std::weak_ptr<SlotBase>& slot);
  ~ScopedConnection() override;
};

}  // namespace qel::signals
