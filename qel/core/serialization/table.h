#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "qel/core/serialization/binary_serializable.h"
#include "qel/core/serialization/wire_type.h"

/// The rows of wire tables. Each record or TLV has one table, `static constexpr auto table()`, with a row for each
/// field in wire order; encoding, decoding, comparison and debug text all follow it (table_codec.h).
///
///     static constexpr auto table() {
///       using T = ClientInfoTLV;
///       return rows(Field{" BSSID: ", &T::bssid_},  //
///                   Field{" Client: ", &T::client_mac_});
///     }
namespace qel::serialization {

class Reader;
class Writer;

/// A fixed-size field.
template <class C, class T>
struct UnlabelledField {
  static constexpr bool FIXED = true;
  static constexpr std::size_t MIN_SIZE = WireType<T>::SIZE;
  T& of(C& object) const { return object.*member; }
  const T& of(const C& object) const { return object.*member; }

  T C::*member;
};

/// A fixed-size field with the text that precedes its value in the debug text.
template <class C, class T>
struct LabelledField : UnlabelledField<C, T> {
  const char* label;
};

/// `Field{label, &C::member}`. A field without a label is not printed; classes that print themselves use it.
template <class Base>
struct Field : Base {
  template <class C, class T>
  constexpr Field(const char* field_label, T C::*field) : Base{{field}, field_label} {}
  template <class C, class T>
  constexpr explicit Field(T C::*field) : Base{field} {}
};

/// Whether a Field may have type T. Only the sources of the codec know which records have a fixed size.
template <class T>
inline constexpr bool IS_FIELD_TYPE = FixedWire<T> || std::derived_from<T, BinarySerializable>;

template <class C, class T>
struct WrongField;
template <class C, class T>
Field(const char*, T C::*) -> Field<std::conditional_t<IS_FIELD_TYPE<T>, LabelledField<C, T>, WrongField<C, T>>>;
template <class C, class T>
Field(T C::*) -> Field<std::conditional_t<IS_FIELD_TYPE<T>, UnlabelledField<C, T>, WrongField<C, T>>>;

/// A row whose values are read through accessors instead of its member: the flags and numbers in a set of bits, or a
/// list that each derived class names differently. The octets, the text and the comparison are those of the row.
template <class Row, auto... ACCESSORS>
struct AccessedRow : Row {};

/// `accessed_by<&C::get_flag, &C::get_other_flag>(row)`; see AccessedRow.
template <auto... ACCESSORS, class Row>
constexpr AccessedRow<Row, ACCESSORS...> accessed_by(Row row) {
  return {row};
}

/// The type of an octet that is written as 0 and ignored when read.
struct ReservedOctet {
  friend constexpr bool operator==(const ReservedOctet&, const ReservedOctet&) = default;
  friend constexpr bool operator<(const ReservedOctet&, const ReservedOctet&) { return false; }
};
/// Used wherever such an octet is read or written.
inline ReservedOctet RESERVED_OCTET;

/// Writes 0 and ignores the octet read.
template <>
struct WireType<ReservedOctet> {
  static constexpr std::size_t SIZE = 1;
  static constexpr bool OCTETS = false;
  static constexpr auto fields() { return WireType<std::uint8_t>::fields(); }
  static void store(std::uint8_t* out, const ReservedOctet&) { *out = 0; }
  static void load(const std::uint8_t*, ReservedOctet&) {}
};

/// The row of a reserved octet. It has no member.
struct Reserved {
  static constexpr bool FIXED = true;
  static constexpr std::size_t MIN_SIZE = 1;
  template <class C>
  ReservedOctet& of(C&) const {
    return RESERVED_OCTET;
  }
};

/// Reports a member of the wrong type once; it counts as a reserved octet, so that no other error follows.
template <class C, class T>
struct Field<WrongField<C, T>> : Reserved {
  constexpr Field(const char*, T C::*) {
    static_assert(IS_FIELD_TYPE<T>,
                  "A Field has a fixed size on the wire: an integer, an enumeration, a bit set, octets or a record. "
                  "Lists and strings have their own rows: list8, list16, string8, rest_list.");
  }
  constexpr explicit Field(T C::*field) : Field("", field) {}
};

/// How the debug text shows a list: `before`, then each element between `prefix` and `suffix`, then `after`. A list
/// without `before` is not printed.
struct ListText {
  const char* before = nullptr;
  const char* prefix = "";
  const char* suffix = "";
  const char* after = "";
};

/// Limits on the number of elements when encoding, and the text thrown outside them. Decoding accepts any count, unless
/// `decode_error` is set; it is thrown for a count above the maximum.
struct CountLimits {
  std::size_t min;
  std::size_t max;
  const char* error = "Invalid size";
  const char* decode_error = nullptr;
};

/// The `decode_error` of lists that are short by design.
inline constexpr const char* SECURE_LIMIT_ERROR = "Invalid size! Vector exceeds secure limit!";

/// A list after its count, an unsigned integer of type N.
template <class N, class C, class E>
struct CountedList {
  using Count = N;
  static constexpr bool FIXED = false;
  static constexpr std::size_t MIN_SIZE = sizeof(N);
  std::vector<E>& of(C& object) const { return object.*member; }
  const std::vector<E>& of(const C& object) const { return object.*member; }

  ListText text;
  std::vector<E> C::*member;
  CountLimits limits;
};

/// A list after a one-octet count.
template <class C, class E>
constexpr CountedList<std::uint8_t, C, E> list8(ListText text, std::vector<E> C::*member, CountLimits limits) {
  return {text, member, limits};
}

/// A list after a two-octet count.
template <class C, class E>
constexpr CountedList<std::uint16_t, C, E> list16(ListText text, std::vector<E> C::*member, CountLimits limits) {
  return {text, member, limits};
}

/// A string after a one-octet size, without terminator; it may contain any octets. Decoding accepts any size.
template <class C>
struct String8 {
  using Count = std::uint8_t;
  static constexpr bool FIXED = false;
  static constexpr std::size_t MIN_SIZE = 1;
  std::string& of(C& object) const { return object.*member; }
  const std::string& of(const C& object) const { return object.*member; }

  const char* label;
  std::string C::*member;
  CountLimits limits;
};

/// A string after a one-octet size, with its label in the debug text.
template <class C>
constexpr String8<C> string8(const char* label, std::string C::*member, CountLimits limits) {
  return {label, member, limits};
}

/// A list of fixed-size elements up to the end of the body: the last row, directly after fixed-size fields. Throws
/// `too_short` if the length does not cover those fields, and `uneven` if the rest is not a whole number of elements; a
/// list of single octets needs no `uneven`.
template <class C, class E>
struct RestList {
  static constexpr bool FIXED = false;
  static constexpr bool IS_REST = true;
  static constexpr std::size_t MIN_SIZE = 0;
  std::vector<E>& of(C& object) const { return object.*member; }
  const std::vector<E>& of(const C& object) const { return object.*member; }

  ListText text;
  std::vector<E> C::*member;
  const char* too_short;
  const char* uneven;
};

/// A list up to the end of the body, with the texts thrown for a wrong length.
template <class C, class E>
constexpr RestList<C, E> rest_list(ListText text, std::vector<E> C::*member, const char* too_short,
                                   const char* uneven = nullptr) {
  return {text, member, too_short, uneven};
}

/// Makes a table from its rows.
template <class... Rows>
constexpr std::tuple<Rows...> rows(Rows... list) {
  return {list...};
}

}  // namespace qel::serialization
