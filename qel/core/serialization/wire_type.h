#pragma once

#include <array>
#include <bit>
#include <bitset>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <utility>

namespace qel::serialization {

/// The texts thrown when a primitive fails, for each direction.
struct FailureTexts {
  const char* serialize;
  const char* deserialize;
};

/// The wire format of a fixed-size type: SIZE octets, written by `store` and read by `load`, with the failure texts of
/// its primitives (`fields()`). OCTETS means that the type's memory equals its wire format, so that a whole array can
/// be copied at once.
template <class T>
struct WireType;

template <class T>
concept FixedWire = requires {
  WireType<T>::SIZE;
};

/// One primitive in a run of octets: the offset of its end, and its failure texts.
struct PrimitiveEnd {
  std::size_t end;
  const FailureTexts* texts;
};

namespace detail {

inline constexpr FailureTexts CHAR_TEXTS{"Serialization of type char failed.", "Deserialization of type char failed."};
inline constexpr FailureTexts STRINGSTREAM_TEXTS{"Serialization of type std::stringstream failed.",
                                                 "Deserialization of type std::stringstream not supported!"};

template <std::size_t OCTETS, bool SIGNED>
extern const FailureTexts INTEGER_TEXTS;

template <>
inline constexpr FailureTexts INTEGER_TEXTS<1, true>{"Serialization of type std::int8_t failed.",
                                                     "Deserialization of type std::int8_t failed."};
template <>
inline constexpr FailureTexts INTEGER_TEXTS<1, false>{"Serialization of type std::uint8_t failed.",
                                                      "Deserialization of type std::uint8_t failed."};
template <>
inline constexpr FailureTexts INTEGER_TEXTS<2, true>{"Serialization of type std::int16_t failed.",
                                                     "Deserialization of type std::int16_t failed."};
template <>
inline constexpr FailureTexts INTEGER_TEXTS<2, false>{"Serialization of type std::uint16_t failed.",
                                                      "Deserialization of type std::uint16_t failed."};
template <>
inline constexpr FailureTexts INTEGER_TEXTS<4, true>{"Serialization of type std::int32_t failed.",
                                                     "Deserialization of type std::int32_t failed."};
template <>
inline constexpr FailureTexts INTEGER_TEXTS<4, false>{"Serialization of type std::uint32_t failed.",
                                                      "Deserialization of type std::uint32_t failed."};
template <>
inline constexpr FailureTexts INTEGER_TEXTS<8, true>{"Serialization of type std::int64_t failed.",
                                                     "Deserialization of type std::int64_t failed."};
template <>
inline constexpr FailureTexts INTEGER_TEXTS<8, false>{"Serialization of type std::uint64_t failed.",
                                                      "Deserialization of type std::uint64_t failed."};

/// Converts between host and network order.
template <std::unsigned_integral T>
constexpr T network_order(T value) {
  if constexpr (std::endian::native == std::endian::big || sizeof(T) == 1) {
    return value;
  } else if constexpr (sizeof(T) == 2) {
    return __builtin_bswap16(value);
  } else if constexpr (sizeof(T) == 4) {
    return __builtin_bswap32(value);
  } else {
    return __builtin_bswap64(value);
  }
}

template <class T>
concept Character = std::same_as<T, char> || std::same_as<T, wchar_t> || std::same_as<T, char8_t> ||
    std::same_as<T, char16_t> || std::same_as<T, char32_t>;

/// A value type that consists only of its octets, such as a MAC address.
template <class T>
concept OctetValue = requires(T value) {
  { std::tuple_size<std::remove_cvref_t<decltype(value.octets())>>::value } -> std::convertible_to<std::size_t>;
};

/// Octets sent and received unchanged, each a primitive of its own with the texts TEXTS.
template <class T, std::size_t COUNT, const FailureTexts& TEXTS>
struct OctetsWireType {
  static_assert(sizeof(T) == COUNT);
  static constexpr std::size_t SIZE = COUNT;
  static constexpr bool OCTETS = true;
  static constexpr std::array<PrimitiveEnd, 1> fields() { return {PrimitiveEnd{COUNT, &TEXTS}}; }
  static void store(std::uint8_t* out, const T& value) { std::memcpy(out, &value, COUNT); }
  static void load(const std::uint8_t* in, T& value) { std::memcpy(&value, in, COUNT); }
};

}  // namespace detail

/// Integers are encoded by width, most significant octet first.
template <std::integral T>
requires(!detail::Character<T>) struct WireType<T> {
  static constexpr std::size_t SIZE = sizeof(T);
  static constexpr bool OCTETS = SIZE == 1;
  static constexpr std::array<PrimitiveEnd, 1> fields() {
    return {PrimitiveEnd{SIZE, &detail::INTEGER_TEXTS<SIZE, std::is_signed_v<T>>}};
  }
  static void store(std::uint8_t* out, const T& value) {
    const auto octets = detail::network_order(static_cast<std::make_unsigned_t<T>>(value));
    std::memcpy(out, &octets, SIZE);
  }
  static void load(const std::uint8_t* in, T& value) {
    std::make_unsigned_t<T> octets;
    std::memcpy(&octets, in, SIZE);
    value = static_cast<T>(detail::network_order(octets));
  }
};

/// Written as 1 or 0; any nonzero octet reads as true.
template <>
struct WireType<bool> {
  static constexpr std::size_t SIZE = 1;
  static constexpr bool OCTETS = false;
  static constexpr auto fields() { return WireType<std::uint8_t>::fields(); }
  static void store(std::uint8_t* out, const bool& value) { *out = value ? 1 : 0; }
  static void load(const std::uint8_t* in, bool& value) { value = *in != 0; }
};

template <>
struct WireType<char> : detail::OctetsWireType<char, 1, detail::CHAR_TEXTS> {};

/// An enumeration is encoded as its underlying integer; values without a name are kept.
template <class T>
requires std::is_enum_v<T>
struct WireType<T> {
  using Integer = std::underlying_type_t<T>;
  static constexpr std::size_t SIZE = WireType<Integer>::SIZE;
  static constexpr bool OCTETS = WireType<Integer>::OCTETS;
  static constexpr auto fields() { return WireType<Integer>::fields(); }
  static void store(std::uint8_t* out, const T& value) { WireType<Integer>::store(out, static_cast<Integer>(value)); }
  static void load(const std::uint8_t* in, T& value) {
    Integer integer;
    WireType<Integer>::load(in, integer);
    value = static_cast<T>(integer);
  }
};

template <std::size_t N>
struct WireType<std::array<std::uint8_t, N>>
    : detail::OctetsWireType<std::array<std::uint8_t, N>, N, detail::INTEGER_TEXTS<1, false>> {};

template <detail::OctetValue T>
struct WireType<T>
    : detail::OctetsWireType<T, std::tuple_size_v<std::remove_cvref_t<decltype(std::declval<T&>().octets())>>,
                             detail::INTEGER_TEXTS<1, false>> {};

/// Lowest octet first, unlike integers: octet k carries bits 8k to 8k+7; bit i of that octet is bit 8k+i.
template <std::size_t N>
requires(N % 8 == 0) struct WireType<std::bitset<N>> {
  static constexpr std::size_t SIZE = N / 8;
  static constexpr bool OCTETS = false;
  static constexpr std::array<PrimitiveEnd, 1> fields() {
    return {PrimitiveEnd{SIZE, &detail::INTEGER_TEXTS<1, false>}};
  }
  static void store(std::uint8_t* out, const std::bitset<N>& value) {
    if constexpr (N <= 64) {
      const unsigned long long bits = value.to_ullong();
      for (std::size_t octet = 0; octet < SIZE; ++octet) {
        out[octet] = static_cast<std::uint8_t>(bits >> (8 * octet));
      }
    } else {
      std::memset(out, 0, SIZE);
      for (std::size_t bit = 0; bit < N; ++bit) {
        if (value[bit]) {
          out[bit / 8] = static_cast<std::uint8_t>(out[bit / 8] | 1U << (bit % 8));
        }
      }
    }
  }
  static void load(const std::uint8_t* in, std::bitset<N>& value) {
    if constexpr (N <= 64) {
      unsigned long long bits = 0;
      for (std::size_t octet = 0; octet < SIZE; ++octet) {
        bits |= static_cast<unsigned long long>(in[octet]) << (8 * octet);
      }
      value = std::bitset<N>(bits);
    } else {
      for (std::size_t bit = 0; bit < N; ++bit) {
        value[bit] = (unsigned{in[bit / 8]} >> (bit % 8) & 1U) != 0;
      }
    }
  }
};

namespace detail {

template <FixedWire... T>
constexpr auto primitive_ends() {
  constexpr std::size_t COUNT = (WireType<T>::fields().size() + ... + 0);
  std::array<PrimitiveEnd, COUNT> ends{};
  std::size_t filled = 0;
  std::size_t offset = 0;
  [[maybe_unused]] const auto append = [&](const auto& fields, std::size_t size) {
    for (const PrimitiveEnd& field : fields) {
      ends[filled++] = {offset + field.end, field.texts};
    }
    offset += size;
  };
  (append(WireType<T>::fields(), WireType<T>::SIZE), ...);
  return ends;
}

}  // namespace detail

/// The primitives of a run of fields, in order.
template <FixedWire... T>
inline constexpr auto PRIMITIVE_ENDS = detail::primitive_ends<T...>();

/// Number of octets in a run of fields.
template <FixedWire... T>
inline constexpr std::size_t WIRE_SIZE = (WireType<T>::SIZE + ... + 0);

}  // namespace qel::serialization
