#include "qel/daemon/future_connection.h"

namespace qel::async {

FutureWrapperBase::~FutureWrapperBase() = default;

bool FutureConnection::connected() const {
  const auto wrapper = wrapper_.lock();
  return wrapper && wrapper->connected();
}

bool FutureConnection::disconnect() {
  const auto wrapper = wrapper_.lock();
  if (wrapper) {
    wrapper->disconnect();
  }
  return wrapper != nullptr;
}

ScopedFutureConnection& ScopedFutureConnection::operator=(ScopedFutureConnection&& other) noexcept {
  if (this != &other) {
    connection_.disconnect();
    connection_ = std::exchange(other.connection_, {});
  }
  return *this;
}

ScopedFutureConnection& ScopedFutureConnection::operator=(FutureConnection connection) {
  connection_.disconnect();
  connection_ = std::move(connection);
  return *this;
}

ScopedFutureConnection::~ScopedFutureConnection() { connection_.disconnect(); }

}  // namespace qel::async
