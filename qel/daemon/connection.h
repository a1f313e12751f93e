#pragma once

#include <memory>
#include <utility>

#include "qel/core/export.h"

namespace qel::signals {

/// A function connected to a signal, as seen by its connections.
class QEL_EXPORT SlotBase {
 public:
  SlotBase() = default;
  SlotBase(const SlotBase&) = delete;
  SlotBase& operator=(const SlotBase&) = delete;
  virtual ~SlotBase();

  /// True if an emission calls the function: it is connected and not blocked.
  virtual bool is_callable() const = 0;
  /// Called when the signal is gone; disconnects without notifying it.
  virtual void release() = 0;

  virtual bool is_connected() const = 0;
  virtual void disconnect() = 0;
  virtual bool is_blocked() const = 0;
  virtual void block(bool blocked) = 0;
};

/// A non-owning handle to a slot. If the slot is gone, the connection is neither connected nor blocked, and disconnect
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
  /// A blocked slot stays connected, but emissions skip it.
  void block(bool blocked);

  void swap(Connection& other) noexcept { slot_.swap(other.slot_); }

  /// True if both refer to the same live slot, or neither has a live slot.
  bool operator==(const Connection& other) const { return slot_.lock() == other.slot_.lock(); }
  /// Orders by slot, even after the slot is gone: connections that compare equal because their slots are gone are still
  /// ordered.
  bool operator<(const Connection& other) const { return slot_.owner_before(other.slot_); }

 private:
  std::weak_ptr<SlotBase> slot_;
};

inline void swap(Connection& left, Connection& right) noexcept { left.swap(right); }

/// Disconnects when it is destroyed or assigned another connection.
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
