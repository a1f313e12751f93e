#pragma once

#include "qel/core/serialization/framed.h"
#include "qel/ieee1905_1/table_tlv.h"

/// The codec of TableTLV, for sources that instantiate it.
namespace qel::ieee1905_1 {

template <class Derived, TLVType TYPE>
const serialization::Codec& TableTLV<Derived, TYPE>::codec() {
  return serialization::FRAMED_CODEC<Derived, TYPE>;
}

}  // namespace qel::ieee1905_1
