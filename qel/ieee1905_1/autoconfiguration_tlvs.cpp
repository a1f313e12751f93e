#include "qel/ieee1905_1/autoconfiguration_tlvs.h"

#include "qel/core/enum_text.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText ROLES[] = {
    {0, "REGISTRAR"},
    {255, "INVALID"},
};
constexpr EnumText FREQUENCY_BANDS[] = {
    {0, "IEEE802_11_2_4_GHZ"},
    {1, "IEEE802_11_5_GHZ"},
    {2, "IEEE802_11_60_GHZ"},
    {255, "INVALID"},
};

}  // namespace

std::string enum_to_string(RoleType role) { return enum_text(ROLES, role); }
std::string enum_to_string(FrequencyBand band) { return enum_text(FREQUENCY_BANDS, band); }
std::ostream& operator<<(std::ostream& os, RoleType role) { return print_enum(os, ROLES, role); }
std::ostream& operator<<(std::ostream& os, FrequencyBand band) { return print_enum(os, FREQUENCY_BANDS, band); }

template class TableTLV<SearchedRoleTLV, TLVType::SEARCHED_ROLE>;
template class TableTLV<SupportedRoleTLV, TLVType::SUPPORTED_ROLE>;
template class TableTLV<AutoconfigFrequencyBandTLV, TLVType::AUTOCONFIG_FREQUENCY_BAND>;
template class TableTLV<SupportedFrequencyBandTLV, TLVType::SUPPORTED_FREQUENCY_BAND>;

}  // namespace qel::ieee1905_1
