#include "qel/ieee802_11/cipher_suite.h"

#include <ostream>

#include "qel/core/text.h"
#include "qel/ieee802_11/hex_text.h"

namespace qel::ieee802_11 {

std::ostream& operator<<(std::ostream& os, const IEEE802_11_CipherSuite& suite) {
  return os << hex_text(suite.get_oui(), "-") << ':' << Decimal(suite.get_type());
}

}  // namespace qel::ieee802_11
