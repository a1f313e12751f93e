#pragma once

#include <concepts>
#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/plc_nid.h"
#include "qel/core/serialization/json_serializable.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/core/serialization/serialization_exception.h"
#include "qel/core/serialization/wire_type.h"
#include "qel/core/serialization/yajl_stream.h"

namespace qel::serialization {

/// The JSON encoding of T: `serialize(YAJLStream&, SerializationContext&, const T&)` writes one value and throws
/// SerializationException if the generator refuses it. There is no decoding.
template <class T>
struct JSONSerializableType;

namespace detail {

constexpr const char* json_integer_failure(std::size_t octets, bool is_signed) {
  switch (octets) {
    case 1:
      return is_signed ? "Serialization of std::int8_t failed" : "Serialization of std::uint8_t failed";
    case 2:
      return is_signed ? "Serialization of std::int16_t failed" : "Serialization of std::uint16_t failed";
    case 4:
      return is_signed ? "Serialization of std::int32_t failed" : "Serialization of std::uint32_t failed";
    default:
      return is_signed ? "Serialization of std::int64_t failed" : "Serialization of std::uint64_t failed";
  }
}

}  // namespace detail

/// Writes null.
template <>
struct QEL_EXPORT JSONSerializableType<std::nullptr_t> {
  static void serialize(YAJLStream& stream, SerializationContext& context, std::nullptr_t);
};

/// Writes true or false.
template <>
struct QEL_EXPORT JSONSerializableType<bool> {
  static void serialize(YAJLStream& stream, SerializationContext& context, bool value);
};

/// Integers of any type name, distinguished by width; character types are excluded.
template <std::integral T>
requires(!detail::Character<T>) struct JSONSerializableType<T> {
  static void serialize(YAJLStream& stream, SerializationContext&, T value) {
    if (!stream.write_integer(value)) {
      fail(detail::json_integer_failure(sizeof(T), std::is_signed_v<T>));
    }
  }
};

/// Writes a string, which must be UTF-8.
template <>
struct QEL_EXPORT JSONSerializableType<std::string> {
  static void serialize(YAJLStream& stream, SerializationContext& context, const std::string& value);
};

/// Writes the characters before the first NUL, or all of them if there is none.
template <std::size_t N>
struct JSONSerializableType<char[N]> {
  static void serialize(YAJLStream& stream, SerializationContext& context, const char (&value)[N]) {
    const void* end = std::memchr(value, '\0', N);
    const std::size_t length = end == nullptr ? N : static_cast<std::size_t>(static_cast<const char*>(end) - value);
    JSONSerializableType<std::string>::serialize(stream, context, std::string(value, length));
  }
};

/// Writes a string in upper case.
template <>
struct QEL_EXPORT JSONSerializableType<MACAddress> {
  static void serialize(YAJLStream& stream, SerializationContext& context, const MACAddress& value);
};

/// Writes a string in lower case.
template <>
struct QEL_EXPORT JSONSerializableType<plc::NID> {
  static void serialize(YAJLStream& stream, SerializationContext& context, const plc::NID& value);
};

/// Writes an array.
template <class T>
struct JSONSerializableType<std::vector<T>> {
  static void serialize(YAJLStream& stream, SerializationContext& context, const std::vector<T>& value) {
    if (!stream.open_array()) {
      fail("Serialization of std::vector failed, failed to write opening brace");
    }
    for (auto&& element : value) {
      JSONSerializableType<T>::serialize(stream, context, element);
    }
    if (!stream.close_array()) {
      fail("Serialization of std::vector failed, failed to write closing brace");
    }
  }
};

template <std::derived_from<JSONSerializable> T>
struct JSONSerializableType<T> {
  static void serialize(YAJLStream& stream, SerializationContext& context, const T& value) {
    // Called through the base, because a class may have a binary serialize_impl as well.
    static_cast<const JSONSerializable&>(value).serialize_impl(stream, context);
  }
};

}  // namespace qel::serialization
