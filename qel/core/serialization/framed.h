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

/// Fills in the length of the frame that `target` begins with and hands it over. Throws `too_long` for a body over
/// 65535 octets; then the output is as it was.
inline void finish_frame(WriteTarget& target, const char* too_long) {
  const std::size_t length = target.memory().size() - target.mark() - FRAME_HEADER_SIZE;
  if (length > std::numeric_limits<std::uint16_t>::max()) {
    throw SerializationException(too_long);
  }
  WireType<std::uint16_t>::store(target.memory().at(target.mark() + 1), static_cast<std::uint16_t>(length));
  target.finish(FRAME_PRIMITIVES);
}

/// Writes type, length and what `body(Writer&)` puts. Nothing reaches the output when it throws or is too long.
template <class Type, class Body>
void write_framed(std::ostream& os, SerializationContext& context, Type type, Body&& body) {
  static_assert(WireType<Type>::SIZE == 1);
  WriteTarget target(os, context);
  Writer out(target.memory());
  out.put(type, std::uint16_t{0});
  std::forward<Body>(body)(out);
  out.commit();
  finish_frame(target, "Invalid length");
}

/// Reads type and length, which are not compared with anything, and the body of `object`.
template <class T>
void read_framed(std::istream& is, T& object) {
  ReadSource source(is);
  Reader in(source);
  std::uint8_t type = 0;
  std::uint16_t length = 0;
  in.get(type, length);
  if constexpr (HasOwnBody<T>) {
    object.decode_body(in, length);
  } else {
    decode_rows(in, object, length);
  }
}

}  // namespace qel::serialization
