#pragma once

#include <iosfwd>
#include <span>

#include "qel/core/export.h"

namespace qel::serialization {

class BinarySerializable;
class MemoryWriteBuffer;
class ReadSource;
class SerializationContext;
struct PrimitiveEnd;

/// Calls the private `encode_body` and `decode_body` of a class that declares it a friend (table_codec.h).
struct BodyAccess;

/// The operations derived from the wire table of one class. All objects passed in are of this class; only the right
/// operand of `equal` may be of another class, if they are TLVs or vendor payloads.
///
/// All classes with a table share the functions that call these, so each class adds to the library only its `Codec`,
/// and only one symbol.
struct Codec {
  /// Writes all octets of the object, or none if it throws.
  void (*encode)(MemoryWriteBuffer& memory, const BinarySerializable& object);
  void (*decode)(ReadSource& source, BinarySerializable& object);
  void (*print)(std::ostream& os, const BinarySerializable& object);
  bool (*equal)(const BinarySerializable& left, const BinarySerializable& right);
  /// Null for a class without an ordering.
  bool (*less)(const BinarySerializable& left, const BinarySerializable& right);
  /// The primitives of the encoding, for the exception if a stream does not take all octets.
  std::span<const PrimitiveEnd> primitives;
};

/// Implements `serialize_impl` for a class with a codec.
QEL_EXPORT void encode(std::ostream& os, SerializationContext& context, const BinarySerializable& object,
                       const Codec& codec);

/// Implements `deserialize_impl` for a class with a codec.
QEL_EXPORT void decode(std::istream& is, BinarySerializable& object, const Codec& codec);

}  // namespace qel::serialization
