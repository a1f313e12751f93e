#include "qel/ieee1905_1/bss_tlvs.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

void BSSOperatingOnRadio::dbg_str(std::ostream& os) const {
  serialization::print_rows(os, *this);
  os << '"';
}

template class TableTLV<APOperationalBSSTLV, TLVType::AP_OPERATIONAL_BSS>;
template class TableTLV<AssociatedClientsTLV, TLVType::ASSOCIATED_CLIENTS>;

}  // namespace qel::ieee1905_1

template class qel::serialization::Record<qel::ieee1905_1::BSSOperatingOnRadio>;
template class qel::serialization::Record<qel::ieee1905_1::BSSOperationalRadioReport>;
template class qel::serialization::Record<qel::ieee1905_1::AssociatedClient>;
template class qel::serialization::Record<qel::ieee1905_1::OperatedBSSClients>;
