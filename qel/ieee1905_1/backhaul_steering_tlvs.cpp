#include "qel/ieee1905_1/backhaul_steering_tlvs.h"

#include "qel/core/enum_text.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText RESULT_CODES[] = {
    {BackhaulSteeringResultCode::SUCCESS, "SUCCESS"},
    {BackhaulSteeringResultCode::FAILURE, "FAILURE"},
    {BackhaulSteeringResultCode::INVALID, "INVALID"},
};

}  // namespace

std::string enum_to_string(BackhaulSteeringResultCode code) { return enum_text(RESULT_CODES, code); }
std::ostream& operator<<(std::ostream& os, BackhaulSteeringResultCode code) {
  return print_enum(os, RESULT_CODES, code);
}

template const serialization::Codec& TableOf<BackhaulSteeringRequestTLV>::codec();
template const serialization::Codec& TableOf<BackhaulSteeringResponseTLV>::codec();

}  // namespace qel::ieee1905_1
