#pragma once

#include <cstddef>
#include <ostream>
#include <tuple>
#include <utility>
#include <vector>

#include "qel/core/serialization/reader.h"
#include "qel/core/serialization/serialization_exception.h"
#include "qel/core/serialization/table.h"
#include "qel/core/serialization/writer.h"

/// What follows from a wire table. Neighbouring fields of fixed size move in one step.
namespace qel::serialization {

template <class R>
inline constexpr auto TABLE = R::table();

template <class R>
inline constexpr std::size_t ROWS = std::tuple_size_v<decltype(R::table())>;

template <class R, std::size_t I>
using Row = std::tuple_element_t<I, decltype(R::table())>;

template <class R>
concept HasTable = requires {
  R::table();
};

/// A record that encodes and decodes its body itself.
template <class R>
concept HasOwnBody = requires {
  &R::encode_body;
};

namespace detail {

/// The first row from I on that is not of fixed size.
template <class R>
constexpr std::size_t end_of_fixed_run(std::size_t from) {
  return [&]<std::size_t... K>(std::index_sequence<K...>) {
    const bool fixed[] = {Row<R, K>::FIXED..., false};
    while (fixed[from]) {
      ++from;
    }
    return from;
  }
  (std::make_index_sequence<ROWS<R>>{});
}

/// The least octets that the rows before `end` take.
template <class R>
constexpr std::size_t min_size(std::size_t end) {
  return [&]<std::size_t... K>(std::index_sequence<K...>) {
    return ((K < end ? Row<R, K>::MIN_SIZE : 0) + ... + std::size_t{0});
  }
  (std::make_index_sequence<ROWS<R>>{});
}

template <class R>
concept FixedTable = HasTable<R> && !HasOwnBody<R> && (end_of_fixed_run<R>(0) == ROWS<R>);

template <class R, class F>
constexpr decltype(auto) with_rows(F&& function) {
  return std::apply(std::forward<F>(function), TABLE<R>);
}

}  // namespace detail

/// The least octets that an R takes on the wire.
template <class R>
constexpr std::size_t min_wire_size() {
  if constexpr (FixedWire<R>) {
    return WireType<R>::SIZE;
  } else if constexpr (HasOwnBody<R>) {
    return R::MIN_WIRE_SIZE;
  } else {
    return detail::min_size<R>(ROWS<R>);
  }
}

/// A record whose rows are all of fixed size is itself a field of fixed size.
template <class R>
requires detail::FixedTable<R>
struct WireType<R> {
  template <class RowType>
  using Member = std::remove_cvref_t<decltype(std::declval<const RowType&>().of(std::declval<R&>()))>;

  static constexpr std::size_t SIZE = detail::min_size<R>(ROWS<R>);
  static constexpr bool OCTETS = false;
  static constexpr auto fields() {
    return detail::with_rows<R>(
        []<class... RowTypes>(const RowTypes&...) { return PRIMITIVE_ENDS<Member<RowTypes>...>; });
  }
  static void store(std::uint8_t* out, const R& record) {
    detail::with_rows<R>([&]<class... RowTypes>(const RowTypes&... row) {
      ((WireType<Member<RowTypes>>::store(out, row.of(record)), out += RowTypes::MIN_SIZE), ...);
    });
  }
  static void load(const std::uint8_t* in, R& record) {
    detail::with_rows<R>([&]<class... RowTypes>(const RowTypes&... row) {
      ((WireType<Member<RowTypes>>::load(in, row.of(record)), in += RowTypes::MIN_SIZE), ...);
    });
  }
};

template <class R, std::size_t FIRST = 0>
void encode_rows(Writer& out, const R& record);

template <class R, std::size_t FIRST = 0>
void decode_rows(Reader& in, R& record, std::size_t length);

/// The body of a TLV or payload, or a record inside another one.
template <class R>
void encode_body_of(Writer& out, const R& record) {
  if constexpr (HasOwnBody<R>) {
    record.encode_body(out);
  } else {
    encode_rows(out, record);
  }
}

/// A record inside another one.
template <class R>
void decode_record(Reader& in, R& record) {
  if constexpr (HasOwnBody<R>) {
    record.decode_body(in);
  } else {
    decode_rows(in, record, 0);
  }
}

inline void check_count(std::size_t count, const CountLimits& limits) {
  if (count < limits.min || count > limits.max) {
    throw SerializationException(limits.error);
  }
}

template <class E>
void encode_elements(Writer& out, const std::vector<E>& elements) {
  if constexpr (FixedWire<E>) {
    out.put_list(elements);
  } else {
    for (const E& element : elements) {
      encode_body_of(out, element);
    }
  }
}

template <class E>
std::vector<E> decode_elements(Reader& in, std::size_t count) {
  std::vector<E> elements;
  if constexpr (FixedWire<E>) {
    in.get_list(elements, count);
  } else {
    elements.reserve(std::min(count, in.present(min_wire_size<E>())));
    for (; count != 0; --count) {
      decode_record(in, elements.emplace_back());
    }
  }
  return elements;
}

template <class N, class C, class E>
void encode_row(const CountedList<N, C, E>& row, Writer& out, const C& record) {
  const std::vector<E>& elements = row.of(record);
  check_count(elements.size(), row.limits);
  out.put(static_cast<N>(elements.size()));
  encode_elements(out, elements);
}

template <class N, class C, class E>
void decode_row(const CountedList<N, C, E>& row, Reader& in, C& record, std::size_t, std::size_t) {
  const std::size_t count = in.get<N>();
  row.of(record) = decode_elements<E>(in, count);
}

template <class C, class E>
void encode_row(const RestList<C, E>& row, Writer& out, const C& record) {
  encode_elements(out, row.of(record));
}

template <class C, class E>
void decode_row(const RestList<C, E>& row, Reader& in, C& record, std::size_t length, std::size_t head) {
  if (length < head) {
    throw SerializationException(row.too_short);
  }
  if ((length - head) % WireType<E>::SIZE != 0) {
    throw SerializationException(row.uneven);
  }
  row.of(record) = decode_elements<E>(in, (length - head) / WireType<E>::SIZE);
}

/// The rows from FIRST on.
template <class R, std::size_t FIRST>
void encode_rows(Writer& out, const R& record) {
  constexpr std::size_t END = detail::end_of_fixed_run<R>(FIRST);
  if constexpr (END > FIRST) {
    [&]<std::size_t... K>(std::index_sequence<K...>) { out.put(std::get<FIRST + K>(TABLE<R>).of(record)...); }
    (std::make_index_sequence<END - FIRST>{});
  }
  if constexpr (END < ROWS<R>) {
    encode_row(std::get<END>(TABLE<R>), out, record);
    encode_rows<R, END + 1>(out, record);
  }
}

/// The rows from FIRST on; `length` is that of the whole body, for the lists that reach up to its end.
template <class R, std::size_t FIRST>
void decode_rows(Reader& in, R& record, std::size_t length) {
  constexpr std::size_t END = detail::end_of_fixed_run<R>(FIRST);
  if constexpr (END > FIRST) {
    [&]<std::size_t... K>(std::index_sequence<K...>) { in.get(std::get<FIRST + K>(TABLE<R>).of(record)...); }
    (std::make_index_sequence<END - FIRST>{});
  }
  if constexpr (END < ROWS<R>) {
    decode_row(std::get<END>(TABLE<R>), in, record, length, detail::min_size<R>(END));
    decode_rows<R, END + 1>(in, record, length);
  }
}

template <class T>
void print_value(std::ostream& os, const T& value) {
  if constexpr (sizeof(T) == 1 && std::is_integral_v<T>) {
    os << int{value};
  } else {
    os << value;
  }
}

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

/// The labelled rows in table order.
template <class R>
void print_rows(std::ostream& os, const R& record) {
  const auto print = [&](const auto& row) {
    if constexpr (requires { row.text; }) {
      if (row.text.before != nullptr) {
        print_list(os, row.text, row.of(record));
      }
    } else if constexpr (requires { os << row.of(record); }) {
      if (row.label != nullptr) {
        os << row.label;
        print_value(os, row.of(record));
      }
    }
  };
  detail::with_rows<R>([&](const auto&... row) { (print(row), ...); });
}

template <class R>
bool equal_rows(const R& left, const R& right) {
  return detail::with_rows<R>([&](const auto&... row) { return ((row.of(left) == row.of(right)) && ...); });
}

template <class R>
bool equal_bodies(const R& left, const R& right) {
  if constexpr (requires { left.equals(right); }) {
    return left.equals(right);
  } else {
    return equal_rows(left, right);
  }
}

template <class T>
bool less_field(const T& left, const T& right) {
  return left < right;
}

/// Bit sets compare as numbers.
template <std::size_t N>
bool less_field(const std::bitset<N>& left, const std::bitset<N>& right) {
  return left.to_ullong() < right.to_ullong();
}

/// Lexicographic, in table order.
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

}  // namespace qel::serialization
