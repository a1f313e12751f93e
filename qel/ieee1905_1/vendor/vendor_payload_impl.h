#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "qel/core/serialization/framed.h"
#include "qel/core/serialization/table_codec.h"
#include "qel/ieee1905_1/vendor/body_rest.h"
#include "qel/ieee1905_1/vendor/vendor_payload.h"

/// The member functions of VendorPayload and the codec of RestRow, for the source files that instantiate payloads.
namespace qel::ieee1905_1 {

template <class C>
[[gnu::always_inline]] inline void encode_row(const RestRow<C>& row, serialization::Writer& out, const C& record) {
  out.put_list(row.of(record).octets);
}

template <class C>
[[gnu::always_inline]] inline void decode_row(const RestRow<C>& row, serialization::Reader& in, C& record,
                                              std::uint16_t length, std::size_t) {
  const std::size_t fields = in.taken() - serialization::FRAME_HEADER_SIZE;
  BodyRest rest;
  if (length > fields) {
    in.get_list(rest.octets, length - fields);
  }
  row.of(record) = std::move(rest);
}

template <class Derived, QELVendorTLVType TYPE>
void VendorPayload<Derived, TYPE>::serialize_impl(std::ostream& os,
                                                  serialization::SerializationContext& context) const {
  serialization::write_framed(os, context, TYPE, static_cast<const Derived&>(*this));
}

template <class Derived, QELVendorTLVType TYPE>
void VendorPayload<Derived, TYPE>::deserialize_impl(std::istream& is, serialization::SerializationContext&) {
  serialization::read_framed(is, static_cast<Derived&>(*this));
}

template <class Derived, QELVendorTLVType TYPE>
bool VendorPayload<Derived, TYPE>::operator==(const VendorSpecific& other) const {
  return VendorSpecific::operator==(other) &&
         serialization::equal_bodies(static_cast<const Derived&>(*this), static_cast<const Derived&>(other));
}

template <class Derived, QELVendorTLVType TYPE>
void VendorPayload<Derived, TYPE>::dbg_str(std::ostream& os) const {
  VendorSpecific::dbg_str(os);
  serialization::print_rows(os, static_cast<const Derived&>(*this));
}

}  // namespace qel::ieee1905_1
