#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <iosfwd>

#include "qel/core/export.h"

namespace qel::plc {

/// A powerline network identifier, in transmission order (IEEE 1901 NID); all zero by default.
class QEL_EXPORT NID {
 public:
  using Octets = std::array<std::uint8_t, 7>;

  constexpr NID() = default;
  constexpr explicit NID(const Octets& octets) : octets_(octets) {}

  constexpr const Octets& octets() const { return octets_; }
  constexpr Octets& octets() { return octets_; }

  friend constexpr bool operator==(const NID&, const NID&) = default;
  friend constexpr auto operator<=>(const NID&, const NID&) = default;

 private:
  Octets octets_{};
};

/// Prints seven colon-separated pairs of lower-case hexadecimal digits.
QEL_EXPORT std::ostream& operator<<(std::ostream& os, const NID& nid);

}  // namespace qel::plc
