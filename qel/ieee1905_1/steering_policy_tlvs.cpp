#include "qel/ieee1905_1/steering_policy_tlvs.h"

#include <ostream>

#include "qel/core/enum_text.h"
#include "qel/core/serialization/record_impl.h"
#include "qel/core/text.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText STEERING_POLICIES[] = {
    {SteeringPolicyType::AGENT_INITIATED_STEERING_DISALLOWED, "AGENT_INITIATED_STEERING_DISALLOWED"},
    {SteeringPolicyType::AGENT_INITIATED_RCPI_BASED_STEERING_MANDATED, "AGENT_INITIATED_RCPI_BASED_STEERING_MANDATED"},
    {SteeringPolicyType::AGENT_INITIATED_RCPI_BASED_STEERING_ALLOWED, "AGENT_INITIATED_RCPI_BASED_STEERING_ALLOWED"},
    {SteeringPolicyType::RESERVED, "RESERVED"},
};

}  // namespace

std::string enum_to_string(SteeringPolicyType type) { return enum_text(STEERING_POLICIES, type); }
std::ostream& operator<<(std::ostream& os, SteeringPolicyType type) { return print_enum(os, STEERING_POLICIES, type); }

void MetricReportingRadioPolicy::dbg_str(std::ostream& os) const {
  serialization::print_rows(os, *this);
  os << " Stats: " << true_or_false(get_statistics()) << " Metrics: " << true_or_false(get_metrics());
}

template const serialization::Codec& TableOf<SteeringPolicyTLV>::codec();
template const serialization::Codec& TableOf<MetricReportingPolicyTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::SteeringRadioPolicy>::codec();
template const Codec& Record<ieee1905_1::MetricReportingRadioPolicy>::codec();
}  // namespace qel::serialization
