#pragma once

#include <bitset>
#include <cstddef>
#include <ostream>
#include <type_traits>
#include <vector>

#include "qel/core/serialization/binary_serializable.h"
#include "qel/core/serialization/table_codec.h"
#include "qel/core/text.h"

/// Debug text, equality and ordering, derived from a wire table.
namespace qel::serialization {

/// Prints with operator<<, but octets as numbers.
template <class T>
void print_value(std::ostream& os, const T& value) {
  if constexpr (std::is_integral_v<T>) {
    os << Decimal(value);
  } else {
    os << value;
  }
}

/// `text` must have a `before`.
template <class E>
void print_list(std::ostream& os, const ListText& text, const std::vector<E>& elements) {
  os << text.before;
  for (const E& element : elements) {
    os << text.prefix;
    print_value(os, element);
    os << text.suffix;
  }
  os << text.after;
}

/// Prints the rows that have a label, in table order.
template <class R>
void print_rows(std::ostream& os, const R& record) {
  const auto print = [&](const auto& row) {
    if constexpr (requires { row.text; }) {
      if (row.text.before != nullptr) {
        print_list(os, row.text, row.of(record));
      }
    } else if constexpr (requires { row.label; }) {
      if (row.label != nullptr) {
        os << row.label;
        print_value(os, row.of(record));
      }
    }
  };
  detail::with_rows<R>([&](const auto&... row) { (print(row), ...); });
}

/// Compares row by row; members without a row are ignored.
template <class R>
bool equal_rows(const R& left, const R& right) {
  return detail::with_rows<R>([&](const auto&... row) { return ((row.of(left) == row.of(right)) && ...); });
}

/// Uses `equals` of R if it has one.
template <class R>
bool equal_bodies(const R& left, const R& right) {
  if constexpr (BodyAccess::compares<R>()) {
    return BodyAccess::equal(left, right);
  } else {
    return equal_rows(left, right);
  }
}

/// Orders two values of one row.
template <class T>
bool less_field(const T& left, const T& right) {
  return left < right;
}

/// Orders bit sets as numbers.
template <std::size_t N>
bool less_field(const std::bitset<N>& left, const std::bitset<N>& right) {
  for (std::size_t bit = N; bit-- > 0;) {
    if (left[bit] != right[bit]) {
      return right[bit];
    }
  }
  return false;
}

/// Orders lexicographically, in table order.
template <class R>
bool less_rows(const R& left, const R& right) {
  bool less = false;
  const auto differ = [&](const auto& row) {
    less = less_field(row.of(left), row.of(right));
    return less || less_field(row.of(right), row.of(left));
  };
  detail::with_rows<R>([&](const auto&... row) { static_cast<void>((differ(row) || ...)); });
  return less;
}

/// Uses `is_less_than` of R if it has one.
template <class R>
bool less_bodies(const R& left, const R& right) {
  if constexpr (BodyAccess::orders<R>()) {
    return BodyAccess::less(left, right);
  } else {
    return less_rows(left, right);
  }
}

/// Implements `Codec::print`.
template <class R>
void print_object(std::ostream& os, const BinarySerializable& object) {
  if constexpr (HasTable<R>) {
    print_rows(os, static_cast<const R&>(object));
  }
}

/// Implements `Codec::equal`.
template <class R>
bool equal_objects(const BinarySerializable& left, const BinarySerializable& right) {
  return equal_bodies(static_cast<const R&>(left), static_cast<const R&>(right));
}

/// Implements `Codec::less`.
template <class R>
bool less_objects(const BinarySerializable& left, const BinarySerializable& right) {
  return less_bodies(static_cast<const R&>(left), static_cast<const R&>(right));
}

}  // namespace qel::serialization
