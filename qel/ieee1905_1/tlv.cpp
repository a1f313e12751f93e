#include "qel/ieee1905_1/tlv.h"

#include <ostream>

namespace qel::ieee1905_1 {

void TLV::dbg_str(std::ostream& os) const { os << "type: " << get_type(); }

bool TLV::operator==(const TLV& other) const { return is_same_type(other); }

std::ostream& operator<<(std::ostream& os, const TLV& tlv) {
  tlv.dbg_str(os);
  return os;
}

}  // namespace qel::ieee1905_1
