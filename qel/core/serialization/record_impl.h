#pragma once

#include "qel/core/serialization/record.h"
#include "qel/core/serialization/table_codec.h"

/// The member functions of Record, for the source files that instantiate it.
namespace qel::serialization {

namespace detail {

/// The primitives that a record begins with, to tell what failed when it is written to a stream that fails.
template <class R>
constexpr auto leading_primitives() {
  if constexpr (FixedWire<R>) {
    return PRIMITIVE_ENDS<R>;
  } else {
    return PRIMITIVE_ENDS<std::uint8_t>;
  }
}

}  // namespace detail

template <class Derived>
void Record<Derived>::serialize_impl(std::ostream& os, SerializationContext& context) const {
  static constexpr auto PRIMITIVES = detail::leading_primitives<Derived>();
  MemoryWriteBuffer* memory = memory_of(os);
  if (memory == nullptr) {
    serialize_through_memory(os, context, *this, PRIMITIVES);
    return;
  }
  Writer out(*memory);
  encode_body_of(out, static_cast<const Derived&>(*this));
  out.commit();
}

template <class Derived>
void Record<Derived>::deserialize_impl(std::istream& is, SerializationContext&) {
  ReadSource source(is);
  Reader in(source);
  decode_record(in, static_cast<Derived&>(*this));
}

template <class Derived>
void Record<Derived>::dbg_str(std::ostream& os) const {
  print_rows(os, static_cast<const Derived&>(*this));
}

template <class Derived>
bool Record<Derived>::equals(const Derived& other) const {
  return equal_rows(static_cast<const Derived&>(*this), other);
}

template <class Derived>
bool Record<Derived>::is_less_than(const Derived& other) const {
  return less_rows(static_cast<const Derived&>(*this), other);
}

}  // namespace qel::serialization
