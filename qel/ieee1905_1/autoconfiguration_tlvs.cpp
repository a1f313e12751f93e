#include "qel/ieee1905_1/autoconfiguration_tlvs.h"

#include "qel/core/enum_text.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText ROLES[] = {
    {RoleType::REGISTRAR, "REGISTRAR"},
    {RoleType::INVALID, "INVALID"},
};
constexpr EnumText FREQUENCY_BANDS[] = {
    {FrequencyBand::IEEE802_11_2_4_GHZ, "IEEE802_11_2_4_GHZ"},
    {FrequencyBand::IEEE802_11_5_GHZ, "IEEE802_11_5_GHZ"},
    {FrequencyBand::IEEE802_11_60_GHZ, "IEEE802_11_60_GHZ"},
    {FrequencyBand::INVALID, "INVALID"},
};

}  // namespace

std::string enum_to_string(RoleType role) { return enum_text(ROLES, role); }
std::string enum_to_string(FrequencyBand band) { return enum_text(FREQUENCY_BANDS, band); }
std::ostream& operator<<(std::ostream& os, RoleType role) { return print_enum(os, ROLES, role); }
std::ostream& operator<<(std::ostream& os, FrequencyBand band) { return print_enum(os, FREQUENCY_BANDS, band); }

template const serialization::Codec& TableOf<SearchedRoleTLV>::codec();
template const serialization::Codec& TableOf<SupportedRoleTLV>::codec();
template const serialization::Codec& TableOf<AutoconfigFrequencyBandTLV>::codec();
template const serialization::Codec& TableOf<SupportedFrequencyBandTLV>::codec();

}  // namespace qel::ieee1905_1
