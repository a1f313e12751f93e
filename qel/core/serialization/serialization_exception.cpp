#include "qel/core/serialization/serialization_exception.h"

#include <utility>

namespace qel::serialization {

SerializationException::SerializationException(const char* message) : message_(message) {}

SerializationException::SerializationException(std::string&& message) : message_(std::move(message)) {}

SerializationException::~SerializationException() = default;

const char* SerializationException::what() const noexcept { return message_.c_str(); }

void fail(const char* message) { throw SerializationException(message); }

}  // namespace qel::serialization
