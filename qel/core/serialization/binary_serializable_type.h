#pragma once

#include <concepts>
#include <istream>
#include <ostream>
#include <sstream>
#include <string>

#include "qel/core/export.h"
#include "qel/core/serialization/binary_serializable.h"
#include "qel/core/serialization/reader.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/core/serialization/wire_type.h"
#include "qel/core/serialization/writer.h"

namespace qel::serialization {

/// The codec of T: `serialize(std::ostream&, SerializationContext&, const T&)` and `deserialize(std::istream&,
/// SerializationContext&, T&)`. Both throw SerializationException; a target that cannot be read completely is left
/// unchanged.
template <class T>
struct BinarySerializableType;

/// Integers, `bool`, `char`, enumerations, octet values, bit sets and fixed-size records: one call on the stream.
template <FixedWire T>
requires(!std::derived_from<T, BinarySerializable>) struct BinarySerializableType<T> {
  static void serialize(std::ostream& os, SerializationContext&, const T& value) {
    std::uint8_t octets[WireType<T>::SIZE];
    WireType<T>::store(octets, value);
    write_octets(os, octets, PRIMITIVE_ENDS<T>);
  }
  static void deserialize(std::istream& is, SerializationContext&, T& value) {
    ReadSource source(is);
    Reader(source).get(value);
  }
};

template <std::derived_from<BinarySerializable> T>
struct BinarySerializableType<T> {
  static void serialize(std::ostream& os, SerializationContext& context, const T& value) {
    value.serialize_impl(os, context);
  }
  static void deserialize(std::istream& is, SerializationContext& context, T& value) {
    value.deserialize_impl(is, context);
  }
};

/// The characters alone, without length or terminator; they can therefore not be read back.
template <>
struct QEL_EXPORT BinarySerializableType<std::string> {
  static void serialize(std::ostream& os, SerializationContext& context, const std::string& value);
  [[noreturn]] static void deserialize(std::istream& is, SerializationContext& context, std::string& value);
};

/// The whole contents of the stream's buffer. An empty buffer sets failbit and throws, as copying a stream buffer does.
template <>
struct QEL_EXPORT BinarySerializableType<std::stringstream> {
  static void serialize(std::ostream& os, SerializationContext& context, const std::stringstream& value);
  [[noreturn]] static void deserialize(std::istream& is, SerializationContext& context, std::stringstream& value);
};

}  // namespace qel::serialization
