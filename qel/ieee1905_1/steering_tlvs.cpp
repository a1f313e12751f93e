#include "qel/ieee1905_1/steering_tlvs.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/core/text.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

bool SteeringRequestTargetBSSID::equals(const SteeringRequestTargetBSSID& other) const {
  return bssid_ == other.bssid_ && (bssid_ == WILDCARD || serialization::equal_rows(*this, other));
}

[[gnu::always_inline]] inline void SteeringRequestTLV::encode_body(serialization::Writer& out) const {
  const std::size_t stations = steering_sta_mac_vector_.size();
  const std::size_t targets = target_bssid_vector_.size();
  serialization::check_count(stations, COUNT);
  serialization::check_count(targets, COUNT);
  const bool mandated = get_steering_mandated();
  if (mandated && targets != 1 && targets != stations) {
    serialization::fail("Invalid size: Constrains violated!");
  }
  constexpr std::size_t TARGETS = serialization::ROWS<SteeringRequestTLV> - 1;
  serialization::encode_rows<SteeringRequestTLV, 0, TARGETS>(out, *this);
  if (mandated) {
    serialization::encode_rows<SteeringRequestTLV, TARGETS>(out, *this);
  } else {
    out.put(std::uint8_t{0});
  }
}

void SteeringRequestTLV::dbg_str(std::ostream& os) const {
  TLV::dbg_str(os);
  os << " BSSID: " << bssid_  //
     << " Request is " << (get_steering_mandated() ? "Mandate" : "Opportunity")
     << "\n\tBTM Disassociation Imminent bit: " << true_or_false(get_btm_disassociation_imminent())
     << " BTM Abridged Bit: " << true_or_false(get_btm_abridged())
     << "\n\tOpportunity Window: " << Decimal(steering_opertunity_window_)
     << " Disassociation Timer: " << Decimal(disassociation_timer_);
  serialization::print_rows(os, *this);
}

[[gnu::always_inline]] inline void SteeringBTMReportTLV::encode_body(serialization::Writer& out) const {
  if (target_bssid_) {
    serialization::put_rows_and(out, *this, *target_bssid_);
  } else {
    serialization::put_rows_and(out, *this);
  }
}

[[gnu::always_inline]] inline void SteeringBTMReportTLV::decode_body(serialization::Reader& in, std::uint16_t length) {
  constexpr std::uint16_t WITHOUT_TARGET = 13;
  constexpr std::uint16_t WITH_TARGET = 19;
  if (length != WITHOUT_TARGET && length != WITH_TARGET) {
    serialization::fail("Invalid length");
  }
  serialization::get_rows_and(in, *this);
  target_bssid_.reset();
  if (length == WITH_TARGET) {
    target_bssid_ = in.get<MACAddress>();
  }
}

void SteeringBTMReportTLV::dbg_str(std::ostream& os) const {
  TableTLV::dbg_str(os);
  if (target_bssid_) {
    os << " Target BSSID: " << *target_bssid_;
  }
}

bool SteeringBTMReportTLV::equals(const SteeringBTMReportTLV& other) const {
  return serialization::equal_rows(*this, other) && target_bssid_ == other.target_bssid_;
}

template const serialization::Codec& TableOf<SteeringRequestTLV>::codec();
template const serialization::Codec& TableOf<SteeringBTMReportTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::SteeringRequestTargetBSSID>::codec();
}  // namespace qel::serialization
