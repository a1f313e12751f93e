#pragma once

#include <cstdint>
#include <span>

#include "qel/core/serialization/record.h"
#include "qel/core/serialization/table_values.h"

/// The codec of Record, for sources that instantiate it.
namespace qel::serialization {

template <class R>
void encode_record(MemoryWriteBuffer& memory, const BinarySerializable& record) {
  Writer out(memory);
  encode_body_of(out, static_cast<const R&>(record));
  out.commit();
}

template <class R>
void decode_record(ReadSource& source, BinarySerializable& record) {
  Reader in(source);
  decode_body_of(in, static_cast<R&>(record));
}

/// The primitives at the beginning of a record.
template <class R>
inline constexpr std::span<const PrimitiveEnd> LEADING_PRIMITIVES = PRIMITIVE_ENDS<std::uint8_t>;
template <FixedWire R>
inline constexpr std::span<const PrimitiveEnd> LEADING_PRIMITIVES<R> = PRIMITIVE_ENDS<R>;

template <class R>
inline constexpr Codec RECORD_CODEC{
    .encode = encode_record<R>,
    .decode = decode_record<R>,
    .print = print_object<R>,
    .equal = equal_objects<R>,
    .less = less_objects<R>,
    .primitives = LEADING_PRIMITIVES<R>,
};

template <class Derived>
const Codec& Record<Derived>::codec() {
  return RECORD_CODEC<Derived>;
}

}  // namespace qel::serialization
