#pragma once

#include <optional>
#include <string>

#include "qel/core/serialization/json_serializable_type.h"

namespace qel::serialization {

/// Writes a key of a JSON object and its value.
template <class T>
void write_member(YAJLStream& stream, SerializationContext& context, const std::string& key, const T& value) {
  JSONSerializableType<std::string>::serialize(stream, context, key);
  JSONSerializableType<T>::serialize(stream, context, value);
}

/// Writes a key and its value, or null if there is no value. If that fails, the text of the SerializationException has
/// the key between its two parts.
template <class T>
void write_member_or_null(YAJLStream& stream, SerializationContext& context, const std::string& key,
                          const std::optional<T>& value, const char* failure_before, const char* failure_after) {
  if (value) {
    write_member(stream, context, key, *value);
    return;
  }
  JSONSerializableType<std::string>::serialize(stream, context, key);
  if (!stream.write_null()) {
    throw SerializationException(failure_before + key + failure_after);
  }
}

}  // namespace qel::serialization
