#include "qel/ieee1905_1/vendor/qel_meshd_version_tlv.h"

#include "qel/ieee1905_1/vendor/vendor_payload_impl.h"

namespace qel::ieee1905_1 {

template const serialization::Codec& PayloadOf<QELMeshdVersionTLV>::codec();

}  // namespace qel::ieee1905_1
