#include "qel/ieee1905_1/unassociated_sta_tlvs.h"

#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

template const serialization::Codec& TableOf<UnassociatedSTALinkMetricsQueryTLV>::codec();
template const serialization::Codec& TableOf<UnassociatedSTALinkMetricsResponseTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::UnassociatedSTAChannel>::codec();
template const Codec& Record<ieee1905_1::UnassociatedSTAReport>::codec();
}  // namespace qel::serialization
