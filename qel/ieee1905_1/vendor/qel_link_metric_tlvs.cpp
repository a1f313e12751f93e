#include "qel/ieee1905_1/vendor/qel_link_metric_tlvs.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/vendor/vendor_payload_impl.h"

namespace qel::ieee1905_1 {

template <class Derived, class Information>
void QELLinkMetric<Derived, Information>::dbg_str(std::ostream& os) const {
  os << Derived::TITLE << " receiving_al_mac: " << receiving_interface_MAC_ << " (" << receiving_interface_name_
     << ") neighbor_al_mac: " << neighbor_interface_MAC_ << " (" << neighbor_interface_name_ << ")\n\t\t\t{"
     << link_metric_information_ << "}";
}

template class QELLinkMetric<QELReceiverLinkMetric, ReceiverLinkMetricInformation>;
template class QELLinkMetric<QELTransmitterLinkMetric, TransmitterLinkMetricInformation>;

template const serialization::Codec& PayloadOf<QELReceiverLinkMetricTLV>::codec();
template const serialization::Codec& PayloadOf<QELTransmitterLinkMetricTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::QELReceiverLinkMetric>::codec();
template const Codec& Record<ieee1905_1::QELTransmitterLinkMetric>::codec();
}  // namespace qel::serialization
