#include "qel/ieee1905_1/vendor/body_rest.h"

#include <ostream>

#include "qel/core/text.h"

namespace qel::ieee1905_1 {

std::ostream& operator<<(std::ostream& os, const BodyRest& rest) {
  if (!rest.octets.empty()) {
    os << "\n\t\trest: " << Decimal(static_cast<std::int64_t>(rest.octets.size())) << " Bytes";
  }
  return os;
}

}  // namespace qel::ieee1905_1
