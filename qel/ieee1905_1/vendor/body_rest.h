#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

#include "qel/core/export.h"

namespace qel::ieee1905_1 {

/// What a body holds behind the fields that this version knows. It comes from a newer node, is kept as it came and
/// written back, so that it is not lost where the payload is only passed on.
struct QEL_EXPORT BodyRest {
  friend bool operator==(const BodyRest&, const BodyRest&) = default;

  std::vector<std::uint8_t> octets;
};

/// Prints, on a line of its own, how much there is; nothing for an empty rest.
QEL_EXPORT std::ostream& operator<<(std::ostream& os, const BodyRest& rest);

/// The last row of a payload's table: `RestRow{&T::rest_}`. It takes what the sub-length says beyond the other rows; a
/// sub-length that says less than those is ignored as everywhere.
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
