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

/// Calls the private `encode_body` and `decode_body` of a class that befriends it (table_codec.h).
struct BodyAccess;

/// The operations that follow from the wire table of one class. The objects are of this class, except that the right
/// one of `equal` may be of another in a TLV's or a vendor payload's.
///
/// All classes with a table share the functions that are reached through it, so that the table is all that each adds to
/// the library, and its name all that each adds to the library's symbols.
struct Codec {
  /// Puts all octets of the object, or none when it throws.
  void (*encode)(MemoryWriteBuffer& memory, const BinarySerializable& object);
  void (*decode)(ReadSource& source, BinarySerializable& object);
  void (*print)(std::ostream& os, const BinarySerializable& object);
  bool (*equal)(const BinarySerializable& left, const BinarySerializable& right);
  /// Null for a class without an order.
  bool (*less)(const BinarySerializable& left, const BinarySerializable& right);
  /// What a stream that does not take all octets failed to write.
  std::span<const PrimitiveEnd> primitives;
};

/// `serialize_impl` of such a class.
QEL_EXPORT void encode(std::ostream& os, SerializationContext& context, const BinarySerializable& object,
                       const Codec& codec);

/// `deserialize_impl` of such a class.
QEL_EXPORT void decode(std::istream& is, BinarySerializable& object, const Codec& codec);

}  // namespace qel::serialization
