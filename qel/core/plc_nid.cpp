#include "qel/core/plc_nid.h"

#include <ostream>

#include "qel/core/hex_text.h"

namespace qel::plc {

std::ostream& operator<<(std::ostream& os, const NID& nid) {
  return os << ColonHex(nid.octets(), LOWER_CASE_DIGITS).view();
}

}  // namespace qel::plc
