#include "qel/channel/wlan_types.h"

#include <ostream>

#include "qel/core/enum_text.h"
#include "qel/core/text.h"

namespace qel {

namespace {

constexpr EnumText BANDS[] = {{FrequencyBand::BAND_2_4_GHZ, "2.4 GHz"},
                              {FrequencyBand::BAND_5_GHZ, "5 GHz"},
                              {FrequencyBand::BAND_6_GHZ, "6 GHz"},
                              {FrequencyBand::INVALID_BAND_MAX, "INVALID BAND MAX"}};
constexpr EnumText WIDTHS[] = {
    {ChannelWidth::WIDTH_20_MHZ, "20 MHz"},       {ChannelWidth::WIDTH_40_MHZ, "40 MHz"},
    {ChannelWidth::WIDTH_80_MHZ, "80 MHz"},       {ChannelWidth::WIDTH_160_MHZ, "160 MHz"},
    {ChannelWidth::WIDTH_80_80_MHZ, "80+80 MHz"}, {ChannelWidth::INVALID, "INVALID"},
};
constexpr EnumText PHYMODES[] = {{WLANPhymode::A, "a"},
                                 {WLANPhymode::B, "b"},
                                 {WLANPhymode::G, "g"},
                                 {WLANPhymode::N, "n"},
                                 {WLANPhymode::AC, "ac"},
                                 {WLANPhymode::AX, "ax"},
                                 {WLANPhymode::INVALID_MAX, "INVALID MAX"}};
constexpr EnumText PHY_TYPES[] = {
    {PHYType::DSSS, "DSSS"},
    {PHYType::OFDM, "OFDM"},
    {PHYType::HRDSSS, "HRDSSS"},
    {PHYType::ERP, "ERP"},
    {PHYType::HT, "HT"},
    {PHYType::DMG, "DMG"},
    {PHYType::VHT, "VHT"},
    {PHYType::TVHT, "TVHT"},
    {PHYType::S1G, "S1G"},
    {PHYType::CDMG, "CDMG"},
    {PHYType::CMMG, "CMMG"},
    {PHYType::HE, "HE"},
    {PHYType::INVALID_PHYTYPE_MAX, "INVALID_PHYTYPE_MAX"},
};
constexpr EnumText OPMODES[] = {
    {WLANOpmode::AP, "AP"},
    {WLANOpmode::AP_GUEST, "AP_GUEST"},
    {WLANOpmode::ATACLIENT, "ATACLIENT"},
    {WLANOpmode::WDS_REPEATER, "WDS_REPEATER"},
    {WLANOpmode::REPEATER, "REPEATER"},
    {WLANOpmode::HS_2_0, "HS_2.0"},
    {WLANOpmode::AP_OWE, "AP_OWE"},
    {WLANOpmode::AP_GUEST_OWE, "AP_GUEST_OWE"},
    {WLANOpmode::HS_2_0_OWE, "HS_2.0_OWE"},
    {WLANOpmode::STATION, "STATION"},
    {WLANOpmode::AP_UNSPECIFIED, "AP_UNSPECIFIED"},
    {WLANOpmode::INVALID, "INVALID"},
};
constexpr EnumText SECURITIES[] = {
    {WLANSecurity::UNDEFINED, "UNDEFINED"},
    {WLANSecurity::NONE, "NONE"},
    {WLANSecurity::WEP_OPEN, "WEP_OPEN"},
    {WLANSecurity::WEP_SHARED, "WEP_SHARED"},
    {WLANSecurity::WPAPSK, "WPAPSK"},
    {WLANSecurity::WPA2PSK, "WPA2PSK"},
    {WLANSecurity::WPA_WPA2_MIXED, "WPA_WPA2_MIXED"},
    {WLANSecurity::WPAENT, "WPAENT"},
    {WLANSecurity::WPA2ENT, "WPA2ENT"},
    {WLANSecurity::WPA3PSK, "WPA3PSK"},
    {WLANSecurity::WPA2_WPA3_MIXED, "WPA2_WPA3_MIXED"},
    {WLANSecurity::OWE, "OWE"},
    {WLANSecurity::INVALID, "INVALID"},
};
constexpr EnumText CAPABILITIES[] = {
    {WLANCapability::WPA_PSK, "WPA_PSK"},
    {WLANCapability::WPA_ENT, "WPA_ENT"},
    {WLANCapability::WPA2_PSK, "WPA2_PSK"},
    {WLANCapability::WPA2_ENT, "WPA2_ENT"},
    {WLANCapability::WPS, "WPS"},
    {WLANCapability::WME, "WME"},
    {WLANCapability::ATH, "ATH"},
    {WLANCapability::PRIVACY, "PRIVACY"},
    {WLANCapability::STBC, "STBC"},
    {WLANCapability::LDPC, "LDPC"},
    {WLANCapability::WME_PS, "WME_PS"},
    {WLANCapability::TXBF, "TXBF"},
    {WLANCapability::PMF, "PMF"},
    {WLANCapability::AMSDU, "AMSDU"},
    {WLANCapability::AMPDU, "AMPDU"},
    {WLANCapability::UAPSD, "UAPSD"},
    {WLANCapability::MU_MIMO, "MU-MIMO"},
    {WLANCapability::BAND_2GHZ, "BAND_2GHz"},
    {WLANCapability::BAND_5GHZ, "BAND_5GHz"},
    {WLANCapability::RRM, "RRM"},
    {WLANCapability::FBT, "FBT"},
    {WLANCapability::BTM, "BTM"},
    {WLANCapability::N_2G_256QAM, "N_2G_256QAM"},
    {WLANCapability::WPA3_PSK, "WPA3_PSK"},
    {WLANCapability::OWE, "OWE"},
    {WLANCapability::OWE_TRANSITION, "OWE_TRANSITION"},
    {WLANCapability::NAC_1024QAM, "NAC_1024QAM"},
    {WLANCapability::BAND_6GHZ, "BAND_6GHz"},
    {WLANCapability::MINI, "MINI"},
    {WLANCapability::QEL_WDS, "QEL_WDS"},
    {WLANCapability::QEL, "QEL"},
};
constexpr EnumText IFACE_STATES[] = {
    {WLANIfaceState::UNCONFIGURED, "UNCONFIGURED"},
    {WLANIfaceState::CONFIGURING, "CONFIGURING"},
    {WLANIfaceState::INACTIVE, "INACTIVE"},
    {WLANIfaceState::INITIATING, "INITIATING"},
    {WLANIfaceState::SCANNING, "SCANNING"},
    {WLANIfaceState::DFS_WAIT, "DFS_WAIT"},
    {WLANIfaceState::ACS_ACTIVE, "ACS_ACTIVE"},
    {WLANIfaceState::WAIT_FOR_UPLINK, "WAIT_FOR_UPLINK"},
    {WLANIfaceState::UPLINK_ESTABLISHED, "UPLINK_ESTABLISHED"},
    {WLANIfaceState::WPS_ACTIVE, "WPS_ACTIVE"},
    {WLANIfaceState::ON_AIR, "ON_AIR"},
    {WLANIfaceState::DEACTIVATED, "DEACTIVATED"},
    {WLANIfaceState::SUPPRESSED, "SUPPRESSED"},
    {WLANIfaceState::CONFIGURED_FINAL, "CONFIGURED_FINAL"},
    {WLANIfaceState::INVALID, "INVALID"},
};
constexpr EnumText STATE_BITS[] = {
    {ChannelStateBit::DFS_CLEAR, "DFS_CLEAR"},
    {ChannelStateBit::RADAR_FOUND, "RADAR_FOUND"},
    {ChannelStateBit::CAC_RUNNING, "CAC_RUNNING"},
    {ChannelStateBit::PRECAC_TODO, "PRECAC_TODO"},
    {ChannelStateBit::INTERFERENCE_FOUND, "INTERFERENCE_FOUND"},
    {ChannelStateBit::INVALID_MAX, "INVALID_MAX"},
};
constexpr EnumText CAPABILITY_BITS[] = {
    {ChannelCapabilityBit::HT20, "HT20"},
    {ChannelCapabilityBit::HT40, "HT40"},
    {ChannelCapabilityBit::HT80, "HT80"},
    {ChannelCapabilityBit::HT160, "HT160"},
    {ChannelCapabilityBit::DFS, "DFS"},
    {ChannelCapabilityBit::DFS_WEATHER, "DFS_WEATHER"},
    {ChannelCapabilityBit::HT8080, "HT8080"},
    {ChannelCapabilityBit::PRIMARY_LOWER_BEHAVIOR, "PRIMARY_LOWER_BEHAVIOR"},
    {ChannelCapabilityBit::PRIMARY_UPPER_BEHAVIOR, "PRIMARY_UPPER_BEHAVIOR"},
    {ChannelCapabilityBit::INVALID_MAX, "INVALID_MAX"},
};
constexpr EnumText CONFIG_BITS[] = {{ChannelConfigBit::REMOTE_DISTURBER, "REMOTE_DISTURBER"},
                                    {ChannelConfigBit::PERFORMANCE_OPTIMIZATION, "PERFORMANCE_OPTIMIZATION"},
                                    {ChannelConfigBit::INVALID_MAX, "INVALID_MAX"}};

/// The text of a value; `unknown` for values without a row.
template <class E>
const char* text_or(std::span<const EnumText> table, E value, const char* unknown) {
  const char* text = find_enum_text(table, static_cast<std::uint16_t>(value));
  return text != nullptr ? text : unknown;
}

/// The text of a value; `unknown` and the decimal value for values without a row.
template <class E>
std::string text_or_number(std::span<const EnumText> table, E value, const char* unknown) {
  const char* text = find_enum_text(table, static_cast<std::uint16_t>(value));
  return text != nullptr ? text : unknown + std::to_string(static_cast<unsigned>(value));
}

}  // namespace

std::string enum_to_string(FrequencyBand band) { return text_or(BANDS, band, "INVALID BAND"); }
std::string enum_to_string(ChannelWidth width) { return text_or_number(WIDTHS, width, "INVALID CHANNEL WIDTH "); }
std::string enum_to_string(WLANPhymode mode) { return text_or_number(PHYMODES, mode, "INVALID WLAN PHYMODE "); }
std::string enum_to_string(PHYType type) { return text_or(PHY_TYPES, type, "INVALID_PHYTYPE"); }
std::string enum_to_string(WLANOpmode mode) { return text_or_number(OPMODES, mode, "INVALID WLAN OPMODE "); }
std::string enum_to_string(WLANSecurity security) {
  return text_or(SECURITIES, security, "INVALID WLAN SECURITY MODE");
}
std::string enum_to_string(WLANCapability capability) { return text_or(CAPABILITIES, capability, "INVALID"); }
std::string enum_to_string(WLANIfaceState state) {
  return text_or(IFACE_STATES, state, "INVALID WLAN INTERFACE STATE");
}
std::string enum_to_string(ChannelStateBit bit) { return text_or(STATE_BITS, bit, "INVALID CHANNEL STATE"); }
std::string enum_to_string(ChannelCapabilityBit bit) {
  return text_or(CAPABILITY_BITS, bit, "INVALID CHANNEL CAPABILITY");
}
std::string enum_to_string(ChannelConfigBit bit) { return text_or(CONFIG_BITS, bit, "INVALID CHANNEL PROPERTY"); }

std::ostream& operator<<(std::ostream& os, FrequencyBand band) { return os << enum_to_string(band); }
std::ostream& operator<<(std::ostream& os, ChannelWidth width) { return os << enum_to_string(width); }
std::ostream& operator<<(std::ostream& os, WLANPhymode mode) { return os << enum_to_string(mode); }
std::ostream& operator<<(std::ostream& os, PHYType type) { return os << enum_to_string(type); }
std::ostream& operator<<(std::ostream& os, WLANOpmode mode) { return os << enum_to_string(mode); }
std::ostream& operator<<(std::ostream& os, WLANSecurity security) { return os << enum_to_string(security); }
std::ostream& operator<<(std::ostream& os, WLANCapability capability) { return os << enum_to_string(capability); }
std::ostream& operator<<(std::ostream& os, WLANIfaceState state) { return os << enum_to_string(state); }
std::ostream& operator<<(std::ostream& os, ChannelStateBit bit) { return os << enum_to_string(bit); }
std::ostream& operator<<(std::ostream& os, ChannelCapabilityBit bit) { return os << enum_to_string(bit); }
std::ostream& operator<<(std::ostream& os, ChannelConfigBit bit) { return os << enum_to_string(bit); }

}  // namespace qel
