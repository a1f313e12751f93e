#include "qel/ieee1905_1/operating_channel_tlvs.h"

#include <ostream>

#include "qel/core/enum_text.h"
#include "qel/core/serialization/record_impl.h"
#include "qel/core/text.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText RESPONSE_CODES[] = {
    {ChannelSelectionResponseCode::ACCEPT, "ACCEPT"},
    {ChannelSelectionResponseCode::DECLINE_VIOLATES_CHANGED_PREFERED, "DECLINE_VIOLATES_CHANGED_PREFERED"},
    {ChannelSelectionResponseCode::DECLINE_VIOLATES_REPORTED_PREFERED, "DECLINE_VIOLATES_REPORTED_PREFERED"},
    {ChannelSelectionResponseCode::DECLINE_BREAKS_BACKHAUL_LINK, "DECLINE_BREAKS_BACKHAUL_LINK"},
    {ChannelSelectionResponseCode::INVALID, "INVALID"},
};

}  // namespace

std::string enum_to_string(ChannelSelectionResponseCode code) { return enum_text(RESPONSE_CODES, code); }
std::ostream& operator<<(std::ostream& os, ChannelSelectionResponseCode code) {
  return print_enum(os, RESPONSE_CODES, code);
}

void OperatingChannelReportTLV::dbg_str(std::ostream& os) const {
  TLV::dbg_str(os);
  os << " Radio Identifier: " << radio_identifier_ << " Transmit Power EIRP: " << Decimal(transmit_power_eirp_);
  serialization::print_list(os, {.before = "  [", .prefix = "\n\t", .after = "]"}, operating_class_channel_vector_);
}

template const serialization::Codec& TableOf<TransmitPowerLimitTLV>::codec();
template const serialization::Codec& TableOf<ChannelSelectionResponseTLV>::codec();
template const serialization::Codec& TableOf<OperatingChannelReportTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::OperatingClassChannel>::codec();
}  // namespace qel::serialization
