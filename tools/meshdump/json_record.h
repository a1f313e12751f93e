#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "qel/channel/spatial_streams.h"
#include "qel/core/mac_address.h"
#include "qel/core/plc_nid.h"
#include "qel/core/serialization/table.h"
#include "qel/core/text.h"
#include "qel/ieee1905_1/media_type.h"
#include "qel/ieee1905_1/vendor/body_rest.h"
#include "qel/ieee802_11/cipher_suite.h"
#include "qel/ieee802_11/little_endian.h"
#include "tools/meshdump/hex_text.h"
#include "tools/meshdump/json_key.h"
#include "tools/meshdump/json_writer.h"
#include "tools/safe_text.h"

/// JSON from wire tables. Keys are derived from the names of members and accessors (json_key.h), values from the types
/// of the fields; meshdump-fields(5) defines the rules. A class that its table does not fully describe has an overload
/// of `put_members`, found through the namespace of JsonWriter.
namespace meshdump {

template <class T>
concept HasTable = requires {
  T::table();
};

/// Writes the members of a record or a TLV, in wire order.
template <HasTable T>
void put_members(JsonWriter& json, const T& record);

template <class T>
concept HasMembers = requires(JsonWriter& json, const T& object) {
  put_members(json, object);
};

///@{
/// Writes one value.
template <class T>
requires std::is_arithmetic_v<T>
void put_value(JsonWriter& json, T value) { json.put(value); }
template <class T>
requires std::is_enum_v<T>
void put_value(JsonWriter& json, T value) { json.put(enum_to_string(value)); }
inline void put_value(JsonWriter& json, const qel::MACAddress& address) { json.put(address.to_string()); }
inline void put_value(JsonWriter& json, const qel::plc::NID& nid) { json.put(qel::to_string(nid)); }
inline void put_value(JsonWriter& json, const qel::ieee802_11::IEEE802_11_CipherSuite& suite) {
  json.put(qel::to_string(suite));
}
inline void put_value(JsonWriter& json, std::span<const std::uint8_t> octets) { json.put(to_hex(octets)); }
inline void put_value(JsonWriter& json, const std::vector<std::uint8_t>& octets) { json.put(to_hex(octets)); }
template <std::size_t N>
void put_value(JsonWriter& json, const std::array<std::uint8_t, N>& octets) {
  json.put(to_hex(octets));
}
inline void put_value(JsonWriter& json, const qel::ieee1905_1::BodyRest& rest) { json.put(to_hex(rest.octets)); }
template <class T>
void put_value(JsonWriter& json, const qel::ieee802_11::LittleEndian<T>& number) {
  json.put(number.value);
}
/// For bits without accessors of their own, writes the numbers of those that are set.
template <std::size_t N>
void put_value(JsonWriter& json, const std::bitset<N>& bits) {
  json.begin_array();
  for (std::size_t bit = 0; bit < N; ++bit) {
    if (bits[bit]) {
      json.put(bit);
    }
  }
  json.end_array();
}
template <HasMembers T>
void put_value(JsonWriter& json, const T& object) {
  json.begin_object();
  put_members(json, object);
  json.end_object();
}
///@}

template <class List>
void put_list(JsonWriter& json, const List& list) {
  json.begin_array();
  for (const auto& element : list) {
    put_value(json, element);
  }
  json.end_array();
}
template <class T>
void put_value(JsonWriter& json, const std::vector<T>& list) {
  put_list(json, list);
}

///@{
/// Writes a key with its value; null if there is no value.
template <class T>
void put_member(JsonWriter& json, std::string_view key, const T& value) {
  json.put(key);
  put_value(json, value);
}
template <class T>
void put_member(JsonWriter& json, std::string_view key, const T* value) {
  json.put(key);
  value == nullptr ? json.put(nullptr) : put_value(json, *value);
}
template <class T>
void put_member(JsonWriter& json, std::string_view key, const std::optional<T>& value) {
  put_member(json, key, value ? &*value : nullptr);
}
/// If the text is not UTF-8, its octets follow it.
inline void put_member(JsonWriter& json, std::string_view key, const std::string& text) {
  json.put(key, text);
  if (tools::to_utf8(text) != text) {
    json.put(std::string(key) + "_octets", to_hex(std::vector<std::uint8_t>(text.begin(), text.end())));
  }
}
///@}

/// Returns the accessor's result; if it takes a number of spatial streams, the results for all numbers from 1.
template <auto ACCESSOR, class T>
decltype(auto) accessed(const T& object) {
  if constexpr (requires { (object.*ACCESSOR)(); }) {
    return (object.*ACCESSOR)();
  } else {
    std::array<unsigned int, qel::MAX_MCS_STREAMS> each{};
    for (unsigned int streams = 1; streams <= each.size(); ++streams) {
      each[streams - 1] = (object.*ACCESSOR)(streams);
    }
    return each;
  }
}
inline void put_value(JsonWriter& json, const std::array<unsigned int, qel::MAX_MCS_STREAMS>& numbers) {
  put_list(json, numbers);
}

template <auto ACCESSOR, class T>
inline constexpr bool IS_FLAG = std::is_same_v<decltype(accessed<ACCESSOR>(std::declval<const T&>())), bool>;

/// Writes the values of the accessors that are not flags.
template <auto... ACCESSORS, class T>
void put_accessed(JsonWriter& json, const T& object) {
  const auto put = [&]<auto ACCESSOR>() {
    if constexpr (!IS_FLAG<ACCESSOR, T>) {
      put_member(json, JSON_KEY<ACCESSOR>, accessed<ACCESSOR>(object));
    }
  };
  (put.template operator()<ACCESSORS>(), ...);
}

/// Writes the values of the accessors that are flags, as an object.
template <auto... ACCESSORS, class T>
void put_flags(JsonWriter& json, std::string_view key, const T& object) {
  const auto put = [&]<auto ACCESSOR>() {
    if constexpr (IS_FLAG<ACCESSOR, T>) {
      put_member(json, JSON_KEY<ACCESSOR>, accessed<ACCESSOR>(object));
    }
  };
  json.put(key);
  json.begin_object();
  (put.template operator()<ACCESSORS>(), ...);
  json.end_object();
}

/// Writes row I of the table of T.
template <std::size_t I, class T, class Row>
void put_row(JsonWriter& json, const T& record, const Row& row) {
  constexpr std::string_view KEY = JSON_KEY<std::get<I>(T::table()).member>;
  // Each type of interface has an enumeration of modes.
  if constexpr (KEY == "interface_mode") {
    json.put(KEY, interface_mode_to_string(record.get_interface_type(), row.of(record)));
  } else {
    put_member(json, KEY, row.of(record));
  }
}
template <std::size_t I, class T>
void put_row(JsonWriter&, const T&, const qel::serialization::Reserved&) {}
/// Octets after a count are numbers, such as channels; octets up to the end of a body have no such meaning.
template <std::size_t I, class T, class N, class C>
void put_row(JsonWriter& json, const T& record, const qel::serialization::CountedList<N, C, std::uint8_t>& row) {
  json.put(JSON_KEY<std::get<I>(T::table()).member>);
  put_list(json, row.of(record));
}
template <std::size_t I, class T, class Row, auto... ACCESSORS>
void put_row(JsonWriter& json, const T& record, const qel::serialization::AccessedRow<Row, ACCESSORS...>&) {
  put_accessed<ACCESSORS...>(json, record);
  if constexpr ((IS_FLAG<ACCESSORS, T> || ...)) {
    put_flags<ACCESSORS...>(json, JSON_KEY<std::get<I>(T::table()).member>, record);
  }
}

template <HasTable T>
void put_rows(JsonWriter& json, const T& record) {
  constexpr auto TABLE = T::table();
  [&]<std::size_t... I>(std::index_sequence<I...>) { (put_row<I>(json, record, std::get<I>(TABLE)), ...); }
  (std::make_index_sequence<std::tuple_size_v<decltype(T::table())>>());
}

template <HasTable T>
void put_members(JsonWriter& json, const T& record) {
  put_rows(json, record);
}

}  // namespace meshdump
