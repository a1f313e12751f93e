#include "qel/ieee1905_1/unassociated_sta_tlvs.h"

#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

template class TableTLV<UnassociatedSTALinkMetricsQueryTLV, TLVType::UNASSOCIATED_STA_LINK_METRICS>;
template class TableTLV<UnassociatedSTALinkMetricsResponseTLV, TLVType::UNASSOCIATED_STA_LINK_METRICS_RESPONSE>;

}  // namespace qel::ieee1905_1

template class qel::serialization::Record<qel::ieee1905_1::UnassociatedSTAChannel>;
template class qel::serialization::Record<qel::ieee1905_1::UnassociatedSTAReport>;
