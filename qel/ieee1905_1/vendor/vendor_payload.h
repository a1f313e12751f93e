#pragma once

#include "qel/core/serialization/codec.h"
#include "qel/core/serialization/table.h"
#include "qel/ieee1905_1/vendor/vendor_specific.h"

namespace qel::ieee1905_1 {

/// A payload of this system with the common framing: the subtype, a 16-bit length, and a body defined by the wire table
/// of Derived. When reading, the subtype is not checked, nor is the length unless the class says so.
///
/// As with TableTLV, what does not fit a table is ordinary code in Derived. The source file of Derived must contain
/// `template const serialization::Codec& PayloadOf<Derived>::codec();` (vendor_payload_impl.h).
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
