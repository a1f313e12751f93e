#include "qel/daemon/connection.h"

namespace qel::signals {

SlotBase::~SlotBase() = default;

Connection::~Connection() = default;

Connection& Connection::operator=(const std::weak_ptr<SlotBase>& slot) {
  slot_ = slot;
  return *this;
}

bool Connection::is_connected() const {
  const auto slot = slot_.lock();
  return slot && slot->is_connected();
}

void Connection::disconnect() {
  if (const auto slot = slot_.lock()) {
    slot->disconnect();
  }
}

bool Connection::is_blocked() const {
  const auto slot = slot_.lock();
  return slot && slot->is_blocked();
}

void Connection::block(bool blocked) {
  if (const auto slot = slot_.lock()) {
    slot->block(blocked);
  }
}

ScopedConnection& ScopedConnection::operator=(ScopedConnection&& other) noexcept {
  if (this != &other) {
    disconnect();
    Connection::operator=(std::move(other));
  }
  return *this;
}

ScopedConnection& ScopedConnection::operator=(Connection connection) {
  disconnect();
  Connection::operator=(std::move(connection));
  return *this;
}

ScopedConnection& ScopedConnection::operator=(const std::weak_ptr<SlotBase>& slot) { return *this = Connection(slot); }

ScopedConnection::~ScopedConnection() { disconnect(); }

}  // namespace qel::signals
