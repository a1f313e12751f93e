#include "qel/ieee1905_1/vendor/qel_meshd_version_tlv.h"

#include "qel/ieee1905_1/vendor/vendor_payload_impl.h"

namespace qel::ieee1905_1 {

template const serialization::Codec&
VendorPayload<QELMeshdVersionTLV, QELVendorTLVType::QEL_MESHD_VERSION_TLV>::codec();

}  // namespace qel::ieee1905_1
