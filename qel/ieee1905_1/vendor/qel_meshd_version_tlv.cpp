#include "qel/ieee1905_1/vendor/qel_meshd_version_tlv.h"

#include "qel/ieee1905_1/vendor/vendor_payload_impl.h"

namespace qel::ieee1905_1 {

template class VendorPayload<QELMeshdVersionTLV, QELVendorTLVType::QEL_MESHD_VERSION_TLV>;

}  // namespace qel::ieee1905_1
