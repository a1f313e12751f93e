#pragma once

#include <cstdint>
#include <istream>
#include <ostream>

#include "qel/core/serialization/reader.h"
#include "qel/core/serialization/writer.h"

/// The stream operations of classes that encode and decode themselves as fields.
namespace qel::ieee802_11 {

template <class T>
void write_to(std::ostream& os, serialization::SerializationContext& context, const T& object) {
  serialization::MemoryWriteBuffer* memory = serialization::memory_of(os);
  if (memory == nullptr) {
    serialization::serialize_through_memory(os, context, object, serialization::PRIMITIVE_ENDS<std::uint8_t>);
    return;
  }
  serialization::Writer out(*memory);
  object.encode_body(out);
  out.commit();
}

template <class T>
void read_from(std::istream& is, T& object) {
  serialization::ReadSource source(is);
  serialization::Reader in(source);
  object.decode_body(in);
}

}  // namespace qel::ieee802_11
