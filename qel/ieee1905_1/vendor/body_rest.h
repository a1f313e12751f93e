#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

#include "qel/core/export.h"

namespace qel::ieee1905_1 {

/// The octets of a body after the fields that this version knows. They come from a newer node and are kept and written
/// back unchanged, so that they survive when the payload is passed on.
struct QEL_EXPORT BodyRest {
  friend bool operator==(const BodyRest&, const BodyRest&) = default;

  std::vector<std::uint8_t> octets;
};

/// Prints the number of octets on a line of its own; nothing for an empty rest.
QEL_EXPORT std::ostream& operator<<(std::ostream& os, const BodyRest& rest);

/// The last row of a payload's table: `RestRow{&T::rest_}`. It holds the octets beyond the other rows, up to the
/// sub-length. A sub-length shorter than those rows is ignored.
template <class C>
struct RestRow {
  constexpr explicit RestRow(BodyRest C::*rest) : member(rest) {}
  static constexpr bool FIXED = false;
  static constexpr std::size_t MIN_SIZE = 0;
  BodyRest& of(C& object) const { return object.*member; }
  const BodyRest& of(const C& object) const { return object.*member; }

  const char* label = "";
  BodyRest C::*member;
};

}  // namespace qel::ieee1905_1
