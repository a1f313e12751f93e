#include "qel/ieee1905_1/bss_tlvs.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

void BSSOperatingOnRadio::dbg_str(std::ostream& os) const {
  serialization::print_rows(os, *this);
  os << '"';
}

template const serialization::Codec& TableOf<APOperationalBSSTLV>::codec();
template const serialization::Codec& TableOf<AssociatedClientsTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::BSSOperatingOnRadio>::codec();
template const Codec& Record<ieee1905_1::BSSOperationalRadioReport>::codec();
template const Codec& Record<ieee1905_1::AssociatedClient>::codec();
template const Codec& Record<ieee1905_1::OperatedBSSClients>::codec();
}  // namespace qel::serialization
