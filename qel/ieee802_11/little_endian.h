#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>

#include "qel/core/serialization/wire_type.h"

namespace qel::ieee802_11 {

/// An integer as IEEE 802.11 encodes it: least significant octet first, unlike the integers of IEEE 1905.1.
template <std::unsigned_integral T>
struct LittleEndian {
  T value = 0;

  friend constexpr bool operator==(LittleEndian, LittleEndian) = default;
};

}  // namespace qel::ieee802_11

/// Least significant octet first; failures have the texts of T.
template <class T>
struct qel::serialization::WireType<qel::ieee802_11::LittleEndian<T>> {
  static constexpr std::size_t SIZE = sizeof(T);
  static constexpr bool OCTETS = false;
  static constexpr auto fields() { return WireType<T>::fields(); }
  static void store(std::uint8_t* out, const ieee802_11::LittleEndian<T>& field) {
    for (std::size_t octet = 0; octet < SIZE; ++octet) {
      out[octet] = static_cast<std::uint8_t>(field.value >> (8 * octet));
    }
  }
  static void load(const std::uint8_t* in, ieee802_11::LittleEndian<T>& field) {
    field.value = 0;
    for (std::size_t octet = 0; octet < SIZE; ++octet) {
      field.value = static_cast<T>(field.value | static_cast<T>(static_cast<T>(in[octet]) << (8 * octet)));
    }
  }
};
