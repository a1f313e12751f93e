#pragma once

#include <exception>
#include <string>

#include "qel/core/export.h"

namespace qel::serialization {

/// The only exception for invalid data and failed streams.
class QEL_EXPORT SerializationException : public std::exception {
 public:
  explicit SerializationException(const char* message);
  explicit SerializationException(std::string&& message);
  SerializationException(const SerializationException&) = default;
  SerializationException& operator=(const SerializationException&) = default;
  ~SerializationException() override;

  const char* what() const noexcept override;

 private:
  std::string message_;
};

/// Throws SerializationException. It is out of line to keep the throwing code out of every decoder.
[[noreturn]] QEL_EXPORT void fail(const char* message);

}  // namespace qel::serialization
