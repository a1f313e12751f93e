#pragma once

#include "qel/core/serialization/codec.h"
#include "qel/core/serialization/table.h"
#include "qel/ieee1905_1/vendor/vendor_specific.h"

namespace qel::ieee1905_1 {

/// A payload of this system with the common framing: the subtype, 16 bits of length, and a body given by the wire table
/// of Derived. Neither the subtype nor, unless the class says so, the length is compared with anything on reading.
///
/// As with TableTLV, what does not fit a table is ordinary code in Derived. The source file of Derived holds
/// `template const serialization::Codec& VendorPayload<Derived, TYPE>::codec();`.
template <class Derived, QELVendorTLVType SUBTYPE>
class QEL_EXPORT VendorPayload : public VendorSpecific {
 public:
  static constexpr QELVendorTLVType TYPE = SUBTYPE;

  void serialize_impl(std::ostream& os, serialization::SerializationContext& context) const override {
    serialization::encode(os, context, *this, codec());
  }
  void deserialize_impl(std::istream& is, serialization::SerializationContext&) override {
    serialization::decode(is, *this, codec());
  }
  bool operator==(const VendorSpecific& other) const override {
    return VendorSpecific::operator==(other) && codec().equal(*this, other);
  }
  void dbg_str(std::ostream& os) const override {
    VendorSpecific::dbg_str(os);
    codec().print(os, *this);
  }
  QELVendorTLVType get_type() const override { return SUBTYPE; }

 private:
  static const serialization::Codec& codec();
};

}  // namespace qel::ieee1905_1
