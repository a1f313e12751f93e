#include "qel/core/serialization/codec.h"

#include "qel/core/serialization/reader.h"
#include "qel/core/serialization/writer.h"

namespace qel::serialization {

void encode(std::ostream& os, SerializationContext& context, const BinarySerializable& object, const Codec& codec) {
  if (MemoryWriteBuffer* memory = memory_of(os); memory != nullptr) {
    codec.encode(*memory, object);
  } else {
    serialize_through_memory(os, context, object, codec.primitives);
  }
}

void decode(std::istream& is, BinarySerializable& object, const Codec& codec) {
  ReadSource source(is);
  codec.decode(source, object);
}

}  // namespace qel::serialization
