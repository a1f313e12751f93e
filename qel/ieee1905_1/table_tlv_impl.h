#pragma once

#include "qel/core/serialization/framed.h"
#include "qel/core/serialization/table_codec.h"
#include "qel/ieee1905_1/table_tlv.h"

/// The member functions of TableTLV, for the source files that instantiate it.
namespace qel::ieee1905_1 {

template <class Derived, TLVType TYPE>
void TableTLV<Derived, TYPE>::serialize_impl(std::ostream& os, serialization::SerializationContext& context) const {
  serialization::write_framed(os, context, TYPE, static_cast<const Derived&>(*this));
}

template <class Derived, TLVType TYPE>
void TableTLV<Derived, TYPE>::deserialize_impl(std::istream& is, serialization::SerializationContext&) {
  serialization::read_framed(is, static_cast<Derived&>(*this));
}

template <class Derived, TLVType TYPE>
void TableTLV<Derived, TYPE>::dbg_str(std::ostream& os) const {
  TLV::dbg_str(os);
  if constexpr (serialization::HasTable<Derived>) {
    serialization::print_rows(os, static_cast<const Derived&>(*this));
  }
}

template <class Derived, TLVType TYPE>
bool TableTLV<Derived, TYPE>::operator==(const TLV& other) const {
  return TLV::operator==(other) &&
         serialization::equal_bodies(static_cast<const Derived&>(*this), static_cast<const Derived&>(other));
}

}  // namespace qel::ieee1905_1
