#pragma once

#include "qel/core/export.h"

namespace qel::serialization {

class SerializationContext;
class YAJLStream;

/// A class with its own JSON format.
class QEL_EXPORT JSONSerializable {
 public:
  virtual ~JSONSerializable() = default;

  /// Writes one JSON value; throws SerializationException.
  virtual void serialize_impl(YAJLStream& stream, SerializationContext& context) const = 0;

 protected:
  JSONSerializable() = default;
  JSONSerializable(const JSONSerializable&) = default;
  JSONSerializable(JSONSerializable&&) = default;
  JSONSerializable& operator=(const JSONSerializable&) = default;
  JSONSerializable& operator=(JSONSerializable&&) = default;
};

}  // namespace qel::serialization
