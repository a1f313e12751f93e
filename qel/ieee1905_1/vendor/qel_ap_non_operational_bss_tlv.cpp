#include "qel/ieee1905_1/vendor/qel_ap_non_operational_bss_tlv.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/vendor/vendor_payload_impl.h"

namespace qel::ieee1905_1 {

void QELNonOperationalBSS::dbg_str(std::ostream& os) const {
  os << "BSS not operating on Radio: " << bssid_ << " SSID: \"" << ssid_ << "\"";
}

template const serialization::Codec&
VendorPayload<QELAPNonOperationalBSSTLV, QELVendorTLVType::QEL_AP_NON_OPERATIONAL_BSS_TLV>::codec();

}  // namespace qel::ieee1905_1

template const qel::serialization::Codec& qel::serialization::Record<qel::ieee1905_1::QELNonOperationalBSS>::codec();
template const qel::serialization::Codec&
qel::serialization::Record<qel::ieee1905_1::QELNonOperationalBSSReport>::codec();
