#include "qel/ieee1905_1/metrics_tlvs.h"

#include <algorithm>
#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/core/text.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

[[gnu::always_inline]] inline void APMetricsTLV::encode_body(serialization::Writer& out) const {
  serialization::put_rows_and(out, *this);
  for (const auto& [bit, information] : OPTIONAL) {
    if (include_bits_[bit]) {
      out.put(this->*information);
    }
  }
}

[[gnu::always_inline]] inline void APMetricsTLV::decode_body(serialization::Reader& in, std::uint16_t) {
  serialization::get_rows_and(in, *this);
  for (const auto& [bit, information] : OPTIONAL) {
    if (include_bits_[bit]) {
      in.get(this->*information);
    }
  }
}

void APMetricsTLV::dbg_str(std::ostream& os) const {
  TableTLV::dbg_str(os);
  os << "\n\t Estimated Service Parameters Information Field:"
     << "\n\t\tAC_BE = true"
     << "\tAC_BK = " << true_or_false(get_include_bit_ac_bk())      //
     << "\n\t\tAC_VO = " << true_or_false(get_include_bit_ac_vo())  //
     << "\tAC_VI = " << true_or_false(get_include_bit_ac_vi());
}

bool APMetricsTLV::equals(const APMetricsTLV& other) const {
  return serialization::equal_rows(*this, other) &&
         std::all_of(std::begin(OPTIONAL), std::end(OPTIONAL), [&](const auto& optional) {
           const auto& [bit, information] = optional;
           return !include_bits_[bit] || this->*information == other.*information;
         });
}

template const serialization::Codec& TableOf<APMetricQueryTLV>::codec();
template const serialization::Codec& TableOf<APMetricsTLV>::codec();
template const serialization::Codec& TableOf<AssociatedSTALinkMetricsTLV>::codec();
template const serialization::Codec& TableOf<AssociatedSTATrafficStatsTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::STALinkMetric>::codec();
}  // namespace qel::serialization
