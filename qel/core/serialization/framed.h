#pragma once

#include <cstdint>
#include <limits>

#include "qel/core/serialization/codec.h"
#include "qel/core/serialization/serialization_exception.h"
#include "qel/core/serialization/table_values.h"

namespace qel::serialization {

/// A one-octet type and a 16-bit length: the header of a TLV, and of a vendor payload inside one.
inline constexpr std::size_t FRAME_HEADER_SIZE = 3;

/// The primitives of a frame, for a stream that fails: type, length, and the body as a single piece.
inline constexpr PrimitiveEnd FRAME_PRIMITIVES[] = {
    {1, &detail::INTEGER_TEXTS<1, false>},
    {FRAME_HEADER_SIZE, &detail::INTEGER_TEXTS<2, false>},
    {FRAME_HEADER_SIZE + 1, &detail::STRINGSTREAM_TEXTS},
};

/// Writes the length of the frame that begins at offset `begin` and ends with the last octet written. Throws `too_long`
/// for a body over 65535 octets.
inline void finish_frame(Writer& out, std::size_t begin, const char* too_long) {
  const std::size_t length = out.offset() - begin - FRAME_HEADER_SIZE;
  if (length > std::numeric_limits<std::uint16_t>::max()) {
    fail(too_long);
  }
  out.put_at(begin + 1, static_cast<std::uint16_t>(length));
}

/// Writes type, length and the body of `object`.
template <class T, auto TYPE>
void encode_framed(MemoryWriteBuffer& memory, const BinarySerializable& object) {
  static_assert(WireType<decltype(TYPE)>::SIZE == 1);
  Writer out(memory);
  const std::size_t begin = out.offset();
  encode_body_of(out, static_cast<const T&>(object), TYPE, std::uint16_t{0});
  finish_frame(out, begin, "Invalid length");
  out.commit();
}

/// Reads type and length, neither of which is checked, and the body of `object`.
template <class T>
void decode_framed(ReadSource& source, BinarySerializable& object) {
  auto& derived = static_cast<T&>(object);
  Reader in(source);
  std::uint8_t type = 0;
  std::uint16_t length = 0;
  if constexpr (DecodesItself<T>) {
    in.get(type, length);
    BodyAccess::decode(derived, in, length);
  } else {
    decode_rows(in, derived, length, type, length);
  }
}

/// Also compares the classes of the objects: a user's own class may have one of our types.
template <class T>
bool equal_framed(const BinarySerializable& left, const BinarySerializable& right) {
  const auto* same_class = dynamic_cast<const T*>(&right);
  return same_class != nullptr && equal_bodies(static_cast<const T&>(left), *same_class);
}

/// The codec of a class with this header. It prints only the body.
template <class T, auto TYPE>
inline constexpr Codec FRAMED_CODEC{
    .encode = encode_framed<T, TYPE>,
    .decode = decode_framed<T>,
    .print = print_object<T>,
    .equal = equal_framed<T>,
    .less = nullptr,
    .primitives = FRAME_PRIMITIVES,
};

}  // namespace qel::serialization
