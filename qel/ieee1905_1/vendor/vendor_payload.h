#pragma once

#include "qel/core/serialization/table.h"
#include "qel/ieee1905_1/vendor/vendor_specific.h"

namespace qel::ieee1905_1 {

/// A payload of this system with the common framing: the subtype, 16 bits of length, and a body given by the wire table
/// of Derived. Neither the subtype nor, unless the class says so, the length is compared with anything on reading.
///
/// As with TableTLV, what does not fit a table is ordinary code in Derived. The source file of Derived holds
/// `template class VendorPayload<Derived, TYPE>;`.
template <class Derived, QELVendorTLVType TYPE>
class QEL_EXPORT VendorPayload : public VendorSpecific {
 public:
  void serialize_impl(std::ostream& os, serialization::SerializationContext& context) const override;
  void deserialize_impl(std::istream& is, serialization::SerializationContext& context) override;
  bool operator==(const VendorSpecific& other) const override;
  void dbg_str(std::ostream& os) const override;
  QELVendorTLVType get_type() const override { return TYPE; }
};

}  // namespace qel::ieee1905_1
