#include "qel/ieee1905_1/vendor/vendor_specific.h"

#include <istream>
#include <ostream>

#include "qel/core/serialization/serialization_exception.h"
#include "qel/core/text.h"

namespace qel::ieee1905_1 {

bool VendorSpecific::operator==(const VendorSpecific& other) const { return is_same_type(other); }

bool VendorSpecific::operator!=(const VendorSpecific& other) const { return !operator==(other); }

void VendorSpecific::dbg_str(std::ostream& os) const { os << "type: " << get_type(); }

std::ostream& operator<<(std::ostream& os, const VendorSpecific& payload) {
  payload.dbg_str(os);
  return os;
}

void VendorSpecificUnknown::serialize_impl(std::ostream&, serialization::SerializationContext&) const {
  serialization::fail("VendorSpecificUnknown is not serializable!");
}

void VendorSpecificUnknown::deserialize_impl(std::istream& is, serialization::SerializationContext&) {
  is.seekg(length_, std::ios_base::cur);
  if (is.fail()) {
    serialization::fail("Deserialization of VendorSpecificUnknown failed, could not seek stream!");
  }
}

bool VendorSpecificUnknown::operator==(const VendorSpecific& other) const {
  const auto* same_class = dynamic_cast<const VendorSpecificUnknown*>(&other);
  return same_class != nullptr && length_ == same_class->length_;
}

void VendorSpecificUnknown::dbg_str(std::ostream& os) const {
  VendorSpecific::dbg_str(os);
  os << " length: " << Decimal(length_) << " Bytes";
}

}  // namespace qel::ieee1905_1
