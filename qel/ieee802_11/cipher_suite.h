#pragma once

#include <array>
#include <iosfwd>

#include "qel/core/export.h"

namespace qel::ieee802_11 {

/// The selector of a cipher or AKM suite: an OUI and a type defined by it (IEEE 802.11-2020, 9.4.2.24.2 and
/// 9.4.2.24.3). The default is type 0 of the standard's OUI, 00-0F-AC, which for a cipher means "use group cipher
/// suite".
class QEL_EXPORT IEEE802_11_CipherSuite {
 public:
  using OUI = std::array<unsigned char, 3>;
  using Octets = std::array<unsigned char, 4>;

  static constexpr OUI IEEE802_11_OUI{0x00, 0x0F, 0xAC};

  constexpr IEEE802_11_CipherSuite() = default;
  constexpr explicit IEEE802_11_CipherSuite(unsigned char type) { set_type(type); }

  constexpr OUI get_oui() const { return {octets_[0], octets_[1], octets_[2]}; }
  constexpr void set_oui(const OUI& oui) { octets_ = {oui[0], oui[1], oui[2], get_type()}; }
  constexpr unsigned char get_type() const { return octets_[3]; }
  constexpr void set_type(unsigned char type) { octets_[3] = type; }

  /// As on the wire: the OUI, then the type.
  constexpr const Octets& octets() const { return octets_; }
  constexpr Octets& octets() { return octets_; }

  friend constexpr bool operator==(const IEEE802_11_CipherSuite&, const IEEE802_11_CipherSuite&) = default;

 private:
  Octets octets_{IEEE802_11_OUI[0], IEEE802_11_OUI[1], IEEE802_11_OUI[2], 0};
};

/// Prints as 00-0F-AC:4.
QEL_EXPORT std::ostream& operator<<(std::ostream& os, const IEEE802_11_CipherSuite& suite);

}  // namespace qel::ieee802_11
