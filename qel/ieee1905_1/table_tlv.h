#pragma once

#include "qel/core/serialization/codec.h"
#include "qel/core/serialization/table.h"
#include "qel/ieee1905_1/tlv.h"

namespace qel::ieee1905_1 {

/// A TLV defined by the wire table of Derived.
///
/// What does not fit a table is ordinary code in Derived: `encode_body(Writer&) const` and `decode_body(Reader&,
/// std::uint16_t length)` for the body, `equals` for comparison, an override of `dbg_str` for the text. The source file
/// of Derived must contain `template const serialization::Codec& TableOf<Derived>::codec();` (table_tlv_impl.h).
template <class Derived, TLVType TYPE>
class QEL_EXPORT TableTLV : public TLVCommon<TYPE> {
 public:
  void serialize_impl(std::ostream& os, serialization::SerializationContext& context) const override {
    serialization::encode(os, context, *this, codec());
  }
  void deserialize_impl(std::istream& is, serialization::SerializationContext&) override {
    serialization::decode(is, *this, codec());
  }
  void dbg_str(std::ostream& os) const override {
    TLV::dbg_str(os);
    codec().print(os, *this);
  }
  bool operator==(const TLV& other) const override { return TLV::operator==(other) && codec().equal(*this, other); }

 private:
  static const serialization::Codec& codec();
};

}  // namespace qel::ieee1905_1
