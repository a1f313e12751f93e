#include "qel/ieee1905_1/beacon_metrics_tlvs.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

namespace {

/// The limits if the list is meaningful; otherwise it must be empty.
constexpr serialization::CountLimits only_if(bool meaningful, const serialization::CountLimits& limits) {
  return meaningful ? limits : serialization::CountLimits{0, 0, limits.error};
}

}  // namespace

[[gnu::always_inline]] inline void APChannelReportList::encode_body(serialization::Writer& out) const {
  serialization::check_count(channel_vector_.size(), COUNT);
  out.put(static_cast<std::uint8_t>(1 + channel_vector_.size()), operating_class_);
  out.put_list(channel_vector_);
}

[[gnu::always_inline]] inline void APChannelReportList::decode_body(serialization::Reader& in) {
  std::uint8_t length = 0;
  in.get(length, operating_class_);
  if (length < 2) {
    serialization::fail("Invalid length, has to fit at least an opclass");
  }
  channel_vector_ = serialization::decode_elements<std::uint8_t>(in, length - 1U);
}

[[gnu::always_inline]] inline void BeaconMetricsQueryTLV::encode_body(serialization::Writer& out) const {
  serialization::check_count(ap_channel_reports_.size(), only_if(channel_number_ == CHANNELS_OF_REPORTS, REPORTS));
  serialization::check_count(reporting_element_ids_.size(), only_if(reporting_detail_ == REQUESTED_ELEMENTS, ELEMENTS));
  serialization::encode_rows(out, *this);
}

template const serialization::Codec& TableOf<BeaconMetricsQueryTLV>::codec();
template const serialization::Codec& TableOf<BeaconMetricsResponseTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::APChannelReportList>::codec();
}  // namespace qel::serialization
