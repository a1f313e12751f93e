#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "qel/core/serialization/reader.h"
#include "qel/core/serialization/serialization_exception.h"
#include "qel/core/serialization/table.h"
#include "qel/core/serialization/writer.h"

/// Encoding and decoding derived from a wire table. Adjacent fixed-size fields are handled in one step.
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

/// Gives the codec access to what a class declares privately for it. Always inlined.
struct BodyAccess {
  template <class R>
  static constexpr bool encodes() {
    return requires { &R::encode_body; };
  }
  template <class R>
  static constexpr bool decodes() {
    return requires { &R::decode_body; };
  }
  template <class R>
  [[gnu::always_inline]] static void encode(const R& record, Writer& out) {
    record.encode_body(out);
  }
  template <class R, class... Length>
  [[gnu::always_inline]] static void decode(R& record, Reader& in, Length... length) {
    record.decode_body(in, length...);
  }
  template <class R>
  static constexpr std::size_t min_wire_size() {
    return R::MIN_WIRE_SIZE;
  }
  template <class R>
  static constexpr bool compares() {
    return requires { &R::equals; };
  }
  template <class R>
  static constexpr bool orders() {
    return requires { &R::is_less_than; };
  }
  template <class R>
  [[gnu::always_inline]] static bool equal(const R& left, const R& right) {
    return left.equals(right);
  }
  template <class R>
  [[gnu::always_inline]] static bool less(const R& left, const R& right) {
    return left.is_less_than(right);
  }
};

/// A class that encodes, or decodes, its own body.
template <class R>
concept EncodesItself = BodyAccess::encodes<R>();
template <class R>
concept DecodesItself = BodyAccess::decodes<R>();

namespace detail {

/// Index of the first row at or after `from` that is not of fixed size.
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

/// Minimum number of octets in the rows before `end`.
template <class R>
constexpr std::size_t min_size(std::size_t end) {
  return [&]<std::size_t... K>(std::index_sequence<K...>) {
    return ((K < end ? Row<R, K>::MIN_SIZE : 0) + ... + std::size_t{0});
  }
  (std::make_index_sequence<ROWS<R>>{});
}

/// A row with a count in front.
template <class RowType>
concept Counted = requires {
  typename RowType::Count;
};

/// A row that extends to the end of the body.
template <class RowType>
concept RestOfBody = requires {
  RowType::IS_REST;
};
template <class R>
constexpr bool has_rest() {
  return []<std::size_t... K>(std::index_sequence<K...>) { return (RestOfBody<Row<R, K>> || ...); }
  (std::make_index_sequence<ROWS<R>>{});
}

template <class R>
concept FixedTable = HasTable<R> && !EncodesItself<R> && !DecodesItself<R> && (end_of_fixed_run<R>(0) == ROWS<R>);

template <class R, class F>
constexpr decltype(auto) with_rows(F&& function) {
  return std::apply(std::forward<F>(function), TABLE<R>);
}

}  // namespace detail

/// Minimum number of octets of an R on the wire.
template <class R>
constexpr std::size_t min_wire_size() {
  if constexpr (FixedWire<R>) {
    return WireType<R>::SIZE;
  } else if constexpr (DecodesItself<R>) {
    return BodyAccess::min_wire_size<R>();
  } else {
    return detail::min_size<R>(ROWS<R>);
  }
}

/// A record whose rows are all of fixed size is itself a fixed-size field.
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

/// Writes the rows of a fixed-size table and whatever follows them in one step.
template <class R, class... More>
[[gnu::always_inline]] inline void put_rows_and(Writer& out, const R& record, const More&... more) {
  detail::with_rows<R>([&](const auto&... row) { out.put(row.of(record)..., more...); });
}

template <class R, class... More>
[[gnu::always_inline]] inline void get_rows_and(Reader& in, R& record, More&... more) {
  detail::with_rows<R>([&](const auto&... row) { in.get(row.of(record)..., more...); });
}

template <class R, std::size_t FIRST = 0, std::size_t LAST = ROWS<R>, class... Lead>
[[gnu::always_inline]] inline void encode_rows(Writer& out, const R& record, const Lead&... lead);

template <class R, std::size_t FIRST = 0, class... Lead>
[[gnu::always_inline]] inline void decode_rows(Reader& in, R& record, const std::uint16_t& length, Lead&... lead);

/// Writes the fields `lead`, then a record or the body of a TLV.
template <class R, class... Lead>
[[gnu::always_inline]] inline void encode_body_of(Writer& out, const R& record, const Lead&... lead) {
  if constexpr (EncodesItself<R>) {
    out.put(lead...);
    BodyAccess::encode(record, out);
  } else {
    encode_rows(out, record, lead...);
  }
}

/// Reads a record, which has no length of its own.
template <class R>
[[gnu::always_inline]] inline void decode_body_of(Reader& in, R& record) {
  if constexpr (DecodesItself<R>) {
    BodyAccess::decode(record, in);
  } else {
    static_assert(!detail::has_rest<R>(), "A rest_list needs the length of a body: a record has none.");
    decode_rows(in, record, 0);
  }
}

inline void check_count(std::size_t count, const CountLimits& limits) {
  if (count < limits.min || count > limits.max) {
    fail(limits.error);
  }
}

template <class E>
[[gnu::always_inline]] inline void encode_elements(Writer& out, const std::vector<E>& elements) {
  if constexpr (FixedWire<E>) {
    out.put_list(elements);
  } else {
    for (const E& element : elements) {
      encode_body_of(out, element);
    }
  }
}

template <class E>
[[gnu::always_inline]] inline std::vector<E> decode_elements(Reader& in, std::size_t count) {
  if constexpr (FixedWire<E>) {
    return in.get_list<E>(count);
  } else {
    std::vector<E> elements;
    elements.reserve(std::min(count, in.present(min_wire_size<E>())));
    for (; count != 0; --count) {
      decode_body_of(in, elements.emplace_back());
    }
    return elements;
  }
}

template <class N, class C, class E>
[[gnu::always_inline]] inline void encode_row(const CountedList<N, C, E>& row, Writer& out, const C& record) {
  const std::vector<E>& elements = row.of(record);
  check_count(elements.size(), row.limits);
  out.put(static_cast<N>(elements.size()));
  encode_elements(out, elements);
}

template <class N, class C, class E>
[[gnu::always_inline]] inline void decode_counted(const CountedList<N, C, E>& row, Reader& in, C& record, N count) {
  if (row.limits.decode_error != nullptr && count > row.limits.max) {
    fail(row.limits.decode_error);
  }
  row.of(record) = decode_elements<E>(in, count);
}

template <class C, std::derived_from<C> R>
[[gnu::always_inline]] inline void encode_row(const String8<C>& row, Writer& out, const R& record) {
  const std::string& text = row.of(record);
  check_count(text.size(), row.limits);
  out.put(static_cast<std::uint8_t>(text.size()));
  out.put_characters(text);
}

template <class C, std::derived_from<C> R>
[[gnu::always_inline]] inline void decode_counted(const String8<C>& row, Reader& in, R& record, std::uint8_t size) {
  std::string text;
  in.get_characters(text, size);
  row.of(record) = std::move(text);
}

template <class C, class E>
[[gnu::always_inline]] inline void encode_row(const RestList<C, E>& row, Writer& out, const C& record) {
  encode_elements(out, row.of(record));
}

template <class C, class E>
[[gnu::always_inline]] inline void decode_row(const RestList<C, E>& row, Reader& in, C& record, std::uint16_t length,
                                              std::size_t head) {
  if (length < head) {
    fail(row.too_short);
  }
  if ((length - head) % WireType<E>::SIZE != 0) {
    fail(row.uneven);
  }
  row.of(record) = decode_elements<E>(in, (length - head) / WireType<E>::SIZE);
}

/// Writes the fields `lead` and the rows from FIRST to before LAST.
template <class R, std::size_t FIRST, std::size_t LAST, class... Lead>
[[gnu::always_inline]] inline void encode_rows(Writer& out, const R& record, const Lead&... lead) {
  constexpr std::size_t END = std::min(detail::end_of_fixed_run<R>(FIRST), LAST);
  [&]<std::size_t... K>(std::index_sequence<K...>) { out.put(lead..., std::get<FIRST + K>(TABLE<R>).of(record)...); }
  (std::make_index_sequence<END - FIRST>{});
  if constexpr (END < LAST) {
    encode_row(std::get<END>(TABLE<R>), out, record);
    encode_rows<R, END + 1, LAST>(out, record);
  }
}

/// Reads the fields `lead` and the rows from FIRST on. `length`, which may be one of `lead`, is the length of the whole
/// body, for lists that extend to its end. The count of a list is read in one step with the fields before it.
template <class R, std::size_t FIRST, class... Lead>
[[gnu::always_inline]] inline void decode_rows(Reader& in, R& record, const std::uint16_t& length, Lead&... lead) {
  constexpr std::size_t END = detail::end_of_fixed_run<R>(FIRST);
  const auto get_fixed = [&]<std::size_t... K, class... Count>(std::index_sequence<K...>, Count & ... count) {
    in.get(lead..., std::get<FIRST + K>(TABLE<R>).of(record)..., count...);
  };
  constexpr std::make_index_sequence<END - FIRST> FIXED;
  if constexpr (END == ROWS<R>) {
    get_fixed(FIXED);
  } else {
    constexpr const auto& ROW = std::get<END>(TABLE<R>);
    if constexpr (detail::Counted<Row<R, END>>) {
      typename Row<R, END>::Count count{};
      get_fixed(FIXED, count);
      decode_counted(ROW, in, record, count);
    } else {
      constexpr bool IS_ALONE = FIRST == 0 && END + 1 == ROWS<R>;
      static_assert(IS_ALONE || !detail::RestOfBody<Row<R, END>>,
                    "A rest_list is the last row of its table, directly behind fields of fixed size.");
      get_fixed(FIXED);
      decode_row(ROW, in, record, length, detail::min_size<R>(END));
    }
    decode_rows<R, END + 1>(in, record, length);
  }
}

}  // namespace qel::serialization
