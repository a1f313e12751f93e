#include "qel/ieee1905_1/vendor/qel_ap_non_operational_bss_tlv.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/vendor/vendor_payload_impl.h"

namespace qel::ieee1905_1 {

void QELNonOperationalBSS::dbg_str(std::ostream& os) const {
  os << "BSS not operating on Radio: " << bssid_ << " SSID: \"" << ssid_ << "\"";
}

template const serialization::Codec& PayloadOf<QELAPNonOperationalBSSTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::QELNonOperationalBSS>::codec();
template const Codec& Record<ieee1905_1::QELNonOperationalBSSReport>::codec();
}  // namespace qel::serialization
