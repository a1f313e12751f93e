#include "qel/ieee802_11/cipher_suite.h"

#include <ostream>

#include "qel/core/hex_text.h"
#include "qel/core/text.h"

namespace qel::ieee802_11 {

std::ostream& operator<<(std::ostream& os, const IEEE802_11_CipherSuite& suite) {
  return os << hex_text(suite.get_oui(), UPPER_CASE_DIGITS, "-") << ':' << Decimal(suite.get_type());
}

}  // namespace qel::ieee802_11
