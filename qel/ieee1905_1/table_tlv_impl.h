#pragma once

#include "qel/core/serialization/framed.h"
#include "qel/ieee1905_1/table_tlv.h"

/// The codec of TableTLV, for sources that instantiate it.
namespace qel::ieee1905_1 {

template <class Derived, TLVType TYPE>
const serialization::Codec& TableTLV<Derived, TYPE>::codec() {
  return serialization::FRAMED_CODEC<Derived, TYPE>;
}

/// For explicit instantiations: `template const serialization::Codec& TableOf<ClientInfoTLV>::codec();`. C++ allows no
/// alias that is not a template there.
template <class Derived>
using TableOf = TableTLV<Derived, Derived::TYPE>;

}  // namespace qel::ieee1905_1
