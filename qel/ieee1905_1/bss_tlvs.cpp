#include "qel/ieee1905_1/bss_tlvs.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

void BSSOperatingOnRadio::dbg_str(std::ostream& os) const {
  serialization::print_rows(os, *this);
  os << '"';
}

template const serialization::Codec& TableTLV<APOperationalBSSTLV, TLVType::AP_OPERATIONAL_BSS>::codec();
template const serialization::Codec& TableTLV<AssociatedClientsTLV, TLVType::ASSOCIATED_CLIENTS>::codec();

}  // namespace qel::ieee1905_1

template const qel::serialization::Codec& qel::serialization::Record<qel::ieee1905_1::BSSOperatingOnRadio>::codec();
template const qel::serialization::Codec&
qel::serialization::Record<qel::ieee1905_1::BSSOperationalRadioReport>::codec();
template const qel::serialization::Codec& qel::serialization::Record<qel::ieee1905_1::AssociatedClient>::codec();
template const qel::serialization::Codec& qel::serialization::Record<qel::ieee1905_1::OperatedBSSClients>::codec();
