#include "qel/ieee1905_1/unassociated_sta_tlvs.h"

#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

template const serialization::Codec&
TableTLV<UnassociatedSTALinkMetricsQueryTLV, TLVType::UNASSOCIATED_STA_LINK_METRICS>::codec();
template const serialization::Codec&
TableTLV<UnassociatedSTALinkMetricsResponseTLV, TLVType::UNASSOCIATED_STA_LINK_METRICS_RESPONSE>::codec();

}  // namespace qel::ieee1905_1

template const qel::serialization::Codec& qel::serialization::Record<qel::ieee1905_1::UnassociatedSTAChannel>::codec();
template const qel::serialization::Codec& qel::serialization::Record<qel::ieee1905_1::UnassociatedSTAReport>::codec();
