#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "qel/core/serialization/wire_type.h"

/// The vocabulary of wire tables. A record or TLV has one table, `static constexpr auto table()`, with a row for each
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

/// A field of fixed size.
template <class C, class T>
struct UnlabelledField {
  static constexpr bool FIXED = true;
  static constexpr std::size_t MIN_SIZE = WireType<T>::SIZE;
  T& of(C& object) const { return object.*member; }
  const T& of(const C& object) const { return object.*member; }

  T C::*member;
};

/// The same with what the debug text puts before its value.
template <class C, class T>
struct LabelledField : UnlabelledField<C, T> {
  const char* label;
};

/// `Field{label, &C::member}`; without the label, for tables of classes that print themselves, the field is not
/// printed.
template <class Base>
struct Field : Base {
  template <class C, class T>
  constexpr Field(const char* field_label, T C::*field) : Base{{field}, field_label} {}
  template <class C, class T>
  constexpr explicit Field(T C::*field) : Base{field} {}
};
template <class C, class T>
Field(const char*, T C::*) -> Field<LabelledField<C, T>>;
template <class C, class T>
Field(T C::*) -> Field<UnlabelledField<C, T>>;

/// The wire type of an octet that is written as 0 and ignored on reading.
struct ReservedOctet {
  friend constexpr bool operator==(const ReservedOctet&, const ReservedOctet&) = default;
  friend constexpr bool operator<(const ReservedOctet&, const ReservedOctet&) { return false; }
};
/// Stands for such an octet wherever one is read or written.
inline ReservedOctet RESERVED_OCTET;

/// See ReservedOctet.
template <>
struct WireType<ReservedOctet> {
  static constexpr std::size_t SIZE = 1;
  static constexpr bool OCTETS = false;
  static constexpr auto fields() { return WireType<std::uint8_t>::fields(); }
  static void store(std::uint8_t* out, const ReservedOctet&) { *out = 0; }
  static void load(const std::uint8_t*, ReservedOctet&) {}
};

/// The row of such an octet. It belongs to no member.
struct Reserved {
  static constexpr bool FIXED = true;
  static constexpr std::size_t MIN_SIZE = 1;
  template <class C>
  ReservedOctet& of(C&) const {
    return RESERVED_OCTET;
  }
};

/// How the debug text shows a list: `before`, then each element between `prefix` and `suffix`, then `after`.
/// A list without `before` is not printed.
struct ListText {
  const char* before = nullptr;
  const char* prefix = "";
  const char* suffix = "";
  const char* after = "";
};

/// How many elements a list may have when it is encoded, and what is thrown otherwise. Decoding takes any count, unless
/// there is a `decode_error` to throw for one above the maximum.
struct CountLimits {
  std::size_t min;
  std::size_t max;
  const char* error = "Invalid size";
  const char* decode_error = nullptr;
};

/// What a list that is short by design says to a count from the wire above its limit.
inline constexpr const char* SECURE_LIMIT_ERROR = "Invalid size! Vector exceeds secure limit!";

/// A list behind its count, an unsigned integer of type N.
template <class N, class C, class E>
struct CountedList {
  static constexpr bool FIXED = false;
  static constexpr std::size_t MIN_SIZE = sizeof(N);
  std::vector<E>& of(C& object) const { return object.*member; }
  const std::vector<E>& of(const C& object) const { return object.*member; }

  ListText text;
  std::vector<E> C::*member;
  CountLimits limits;
};

/// A list behind one octet of count.
template <class C, class E>
constexpr CountedList<std::uint8_t, C, E> list8(ListText text, std::vector<E> C::*member, CountLimits limits) {
  return {text, member, limits};
}

/// A list behind two octets of count.
template <class C, class E>
constexpr CountedList<std::uint16_t, C, E> list16(ListText text, std::vector<E> C::*member, CountLimits limits) {
  return {text, member, limits};
}

/// A string behind an octet of its size; no terminator, any octets. Decoding takes any size.
template <class C>
struct String8 {
  static constexpr bool FIXED = false;
  static constexpr std::size_t MIN_SIZE = 1;
  std::string& of(C& object) const { return object.*member; }
  const std::string& of(const C& object) const { return object.*member; }

  const char* label;
  std::string C::*member;
  CountLimits limits;
};

/// See String8.
template <class C>
constexpr String8<C> string8(const char* label, std::string C::*member, CountLimits limits) {
  return {label, member, limits};
}

/// A list of elements of fixed size up to the end of the body, directly behind fields of fixed size. A length that does
/// not even cover those throws `too_short`; a rest that the elements do not fill throws `uneven`, which single octets
/// have no need of.
template <class C, class E>
struct RestList {
  static constexpr bool FIXED = false;
  static constexpr std::size_t MIN_SIZE = 0;
  std::vector<E>& of(C& object) const { return object.*member; }
  const std::vector<E>& of(const C& object) const { return object.*member; }

  ListText text;
  std::vector<E> C::*member;
  const char* too_short;
  const char* uneven;
};

/// See RestList.
template <class C, class E>
constexpr RestList<C, E> rest_list(ListText text, std::vector<E> C::*member, const char* too_short,
                                   const char* uneven = nullptr) {
  return {text, member, too_short, uneven};
}

/// The table of these rows.
template <class... Rows>
constexpr std::tuple<Rows...> rows(Rows... list) {
  return {list...};
}

}  // namespace qel::serialization
