#pragma once

#include <cstdint>
#include <limits>
#include <ostream>
#include <utility>

#include "qel/core/serialization/serialization_exception.h"
#include "qel/core/serialization/table_codec.h"

namespace qel::serialization {

/// One octet of type, 16 bits of length: the header of a TLV, and of a vendor payload inside one.
inline constexpr std::size_t FRAME_HEADER_SIZE = 3;

/// What a frame consists of for a stream that fails: type, length, and a body written as one piece.
inline constexpr PrimitiveEnd FRAME_PRIMITIVES[] = {
    {1, &detail::INTEGER_TEXTS<1, false>},
    {FRAME_HEADER_SIZE, &detail::INTEGER_TEXTS<2, false>},
    {FRAME_HEADER_SIZE + 1, &detail::STRINGSTREAM_TEXTS},
};

/// Fills in the length of the frame that begins at offset `begin` and ends with what was put last. Throws `too_long`
/// for a body over 65535 octets.
inline void finish_frame(Writer& out, std::size_t begin, const char* too_long) {
  const std::size_t length = out.offset() - begin - FRAME_HEADER_SIZE;
  if (length > std::numeric_limits<std::uint16_t>::max()) {
    fail(too_long);
  }
  out.put_at(begin + 1, static_cast<std::uint16_t>(length));
}

/// Writes type, length and the body of `object`, whose `serialize_impl` this is. Nothing reaches the output when a
/// check fails.
template <class Type, class T>
[[gnu::always_inline]] inline void write_framed(std::ostream& os, SerializationContext& context, Type type,
                                                const T& object) {
  static_assert(WireType<Type>::SIZE == 1);
  MemoryWriteBuffer* memory = memory_of(os);
  if (memory == nullptr) {
    serialize_through_memory(os, context, object, FRAME_PRIMITIVES);
    return;
  }
  Writer out(*memory);
  const std::size_t begin = out.offset();
  encode_body_of(out, object, type, std::uint16_t{0});
  finish_frame(out, begin, "Invalid length");
  out.commit();
}

/// Reads type and length, which are not compared with anything, and the body of `object`.
template <class T>
[[gnu::always_inline]] inline void read_framed(std::istream& is, T& object) {
  ReadSource source(is);
  Reader in(source);
  std::uint8_t type = 0;
  std::uint16_t length = 0;
  if constexpr (DecodesItself<T>) {
    in.get(type, length);
    object.decode_body(in, length);
  } else {
    decode_rows(in, object, length, type, length);
  }
}

}  // namespace qel::serialization
