#pragma once

#include <iosfwd>

#include "qel/core/export.h"

namespace qel::serialization {

class SerializationContext;

/// A class with its own binary wire format: a message, a TLV, a record inside a TLV, an element.
///
/// Both operations throw SerializationException. After a failed decode the object is partly filled and the stream is at
/// the point of failure; the caller discards the object.
class QEL_EXPORT BinarySerializable {
 public:
  virtual ~BinarySerializable() = default;

  virtual void serialize_impl(std::ostream& os, SerializationContext& context) const = 0;
  virtual void deserialize_impl(std::istream& is, SerializationContext& context) = 0;

 protected:
  BinarySerializable() = default;
  BinarySerializable(const BinarySerializable&) = default;
  BinarySerializable(BinarySerializable&&) = default;
  BinarySerializable& operator=(const BinarySerializable&) = default;
  BinarySerializable& operator=(BinarySerializable&&) = default;
};

}  // namespace qel::serialization
