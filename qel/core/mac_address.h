#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>

#include "qel/core/export.h"

namespace qel {

/// An EUI-48 in transmission order; all zero by default.
class QEL_EXPORT MACAddress {
 public:
  using Octets = std::array<std::uint8_t, 6>;

  static constexpr std::size_t MAC_ADDR_STRING_LEN = 17;  ///< in the form AA:BB:CC:DD:EE:FF

  constexpr MACAddress() = default;
  constexpr explicit MACAddress(const Octets& octets) : octets_(octets) {}
  constexpr MACAddress(const std::uint8_t (&octets)[6])
      : octets_{octets[0], octets[1], octets[2], octets[3], octets[4], octets[5]} {}

  /// Throws std::invalid_argument if parse_string rejects the text.
  explicit MACAddress(const std::string& text);

  /// Parses six colon-separated pairs of hexadecimal digits in either case. Returns false on failure; the octets parsed
  /// up to that point are changed even then.
  bool parse_string(const std::string& text);

  /// Six pairs of upper-case hexadecimal digits, separated by colons.
  std::string to_string() const;

  constexpr const Octets& octets() const { return octets_; }
  constexpr Octets& octets() { return octets_; }

  void swap(MACAddress& other) noexcept { octets_.swap(other.octets_); }

  /// Compares octet by octet, first octet first.
  friend constexpr bool operator==(const MACAddress&, const MACAddress&) = default;
  friend constexpr auto operator<=>(const MACAddress&, const MACAddress&) = default;

 private:
  Octets octets_{};
};

inline void swap(MACAddress& left, MACAddress& right) noexcept { left.swap(right); }

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const MACAddress& address);

/// Reads one word. If it is not an address, sets failbit and leaves `address` unchanged.
QEL_EXPORT std::istream& operator>>(std::istream& is, MACAddress& address);

/// False for the two reserved addresses, 00:00:00:00:00:00 and 00:B0:52:00:00:01.
QEL_EXPORT bool is_valid_mac_address(const MACAddress& address);

/// True for a valid address whose individual/group bit is clear.
QEL_EXPORT bool is_valid_individual_mac_address(const MACAddress& address);

/// True if the address is not all zero and its individual/group bit is clear. Unlike is_valid_individual_mac_address,
/// it accepts 00:B0:52:00:00:01, because a powerline adapter that answers on that address is a real neighbour.
QEL_EXPORT bool is_non_zero_individual_mac_address(const MACAddress& address);

/// Same as is_valid_mac_address; overloads is_valid as for the other value types.
inline bool is_valid(const MACAddress& address) { return is_valid_mac_address(address); }

}  // namespace qel
