#include "qel/ieee1905_1/ap_capability_tlvs.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/core/text.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

void APCapabilityTLV::dbg_str(std::ostream& os) const {
  TLV::dbg_str(os);
  os << "\n\tLinkMetricSupportOperatedChannel:" << true_or_false(get_link_metrics_support_operated_channel())
     << "\n\tLinkMetricSupportUnOperatedChannel:" << true_or_false(get_link_metrics_support_unoperated_channel())
     << "\n\tAgendInitiatedRCPIBasedSteering:" << true_or_false(get_agent_initiated_rcpi_based_steering());
}

[[gnu::always_inline]] inline void BackhaulSTARadioCapabilitiesTLV::encode_body(serialization::Writer& out) const {
  serialization::put_rows_and(out, *this);
  if (get_is_mac_included()) {
    out.put(backhaul_sta_mac_);
  }
}

[[gnu::always_inline]] inline void BackhaulSTARadioCapabilitiesTLV::decode_body(serialization::Reader& in,
                                                                                std::uint16_t) {
  serialization::get_rows_and(in, *this);
  if (get_is_mac_included()) {
    in.get(backhaul_sta_mac_);
  }
}

bool BackhaulSTARadioCapabilitiesTLV::equals(const BackhaulSTARadioCapabilitiesTLV& other) const {
  return reported_radio_mac_ == other.reported_radio_mac_ && get_is_mac_included() == other.get_is_mac_included() &&
         (!get_is_mac_included() || backhaul_sta_mac_ == other.backhaul_sta_mac_);
}

void BackhaulSTARadioCapabilitiesTLV::dbg_str(std::ostream& os) const {
  TableTLV::dbg_str(os);
  if (get_is_mac_included()) {
    os << ", Backhaul STA MAC: " << backhaul_sta_mac_;
  }
}

template const serialization::Codec& TableOf<APCapabilityTLV>::codec();
template const serialization::Codec& TableOf<APRadioBasicCapabilitiesTLV>::codec();
template const serialization::Codec& TableOf<BackhaulSTARadioCapabilitiesTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::OperatingClassInformation>::codec();
}  // namespace qel::serialization
