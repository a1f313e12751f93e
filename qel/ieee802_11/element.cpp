#include "qel/ieee802_11/element.h"

#include <ostream>

namespace qel::ieee802_11 {

std::ostream& operator<<(std::ostream& os, const IEEE802_11_Element_Base& element) {
  element.dbg_str(os);
  return os;
}

}  // namespace qel::ieee802_11
