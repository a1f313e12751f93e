#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "qel/core/serialization/framed.h"
#include "qel/ieee1905_1/vendor/body_rest.h"
#include "qel/ieee1905_1/vendor/vendor_payload.h"

/// The codecs of VendorPayload and RestRow, for sources that instantiate payloads.
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
    rest.octets = in.get_list<std::uint8_t>(length - fields);
  }
  row.of(record) = std::move(rest);
}

template <class Derived, QELVendorTLVType TYPE>
const serialization::Codec& VendorPayload<Derived, TYPE>::codec() {
  return serialization::FRAMED_CODEC<Derived, TYPE>;
}

/// For explicit instantiations; see TableOf.
template <class Derived>
using PayloadOf = VendorPayload<Derived, Derived::TYPE>;

}  // namespace qel::ieee1905_1
