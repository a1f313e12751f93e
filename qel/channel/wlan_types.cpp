#include "qel/channel/wlan_types.h"

#include <ostream>

#include "qel/core/enum_text.h"
#include "qel/core/text.h"

namespace qel {

namespace {

constexpr EnumText BANDS[] = {{0, "2.4 GHz"}, {1, "5 GHz"}, {2, "6 GHz"}, {3, "INVALID BAND MAX"}};
constexpr EnumText WIDTHS[] = {
    {0, "20 MHz"}, {1, "40 MHz"}, {2, "80 MHz"}, {3, "160 MHz"}, {4, "80+80 MHz"}, {5, "INVALID"},
};
constexpr EnumText PHYMODES[] = {{0, "a"}, {1, "b"}, {2, "g"}, {3, "n"}, {4, "ac"}, {5, "ax"}, {6, "INVALID MAX"}};
constexpr EnumText PHY_TYPES[] = {
    {2, "DSSS"},
    {4, "OFDM"},
    {5, "HRDSSS"},
    {6, "ERP"},
    {7, "HT"},
    {8, "DMG"},
    {9, "VHT"},
    {10, "TVHT"},
    {11, "S1G"},
    {12, "CDMG"},
    {13, "CMMG"},
    {14, "HE"},
    {15, "INVALID_PHYTYPE_MAX"},
};
constexpr EnumText OPMODES[] = {
    {0, "AP"},     {1, "AP_GUEST"},     {2, "ATACLIENT"},  {3, "WDS_REPEATER"}, {5, "REPEATER"},        {6, "HS_2.0"},
    {7, "AP_OWE"}, {8, "AP_GUEST_OWE"}, {9, "HS_2.0_OWE"}, {10, "STATION"},     {11, "AP_UNSPECIFIED"}, {12, "INVALID"},
};
constexpr EnumText SECURITIES[] = {
    {0, "UNDEFINED"},        {1, "NONE"},           {2, "WEP_OPEN"}, {3, "WEP_SHARED"}, {4, "WPAPSK"},
    {5, "WPA2PSK"},          {6, "WPA_WPA2_MIXED"}, {7, "WPAENT"},   {8, "WPA2ENT"},    {9, "WPA3PSK"},
    {10, "WPA2_WPA3_MIXED"}, {11, "OWE"},           {12, "INVALID"},
};
constexpr EnumText CAPABILITIES[] = {
    {0, "WPA_PSK"},      {1, "WPA_ENT"},
    {2, "WPA2_PSK"},     {3, "WPA2_ENT"},
    {4, "WPS"},          {5, "WME"},
    {6, "ATH"},          {7, "PRIVACY"},
    {8, "STBC"},         {9, "LDPC"},
    {10, "WME_PS"},      {11, "TXBF"},
    {12, "PMF"},         {13, "AMSDU"},
    {14, "AMPDU"},       {15, "UAPSD"},
    {16, "MU-MIMO"},     {17, "BAND_2GHz"},
    {18, "BAND_5GHz"},   {19, "RRM"},
    {20, "FBT"},         {21, "BTM"},
    {22, "N_2G_256QAM"}, {23, "WPA3_PSK"},
    {24, "OWE"},         {25, "OWE_TRANSITION"},
    {26, "NAC_1024QAM"}, {27, "BAND_6GHz"},
    {29, "MINI"},        {30, "QEL_WDS"},
    {31, "QEL"},
};
constexpr EnumText IFACE_STATES[] = {
    {0, "UNCONFIGURED"}, {1, "CONFIGURING"},  {2, "INACTIVE"},        {3, "INITIATING"},         {4, "SCANNING"},
    {5, "DFS_WAIT"},     {6, "ACS_ACTIVE"},   {7, "WAIT_FOR_UPLINK"}, {8, "UPLINK_ESTABLISHED"}, {9, "WPS_ACTIVE"},
    {10, "ON_AIR"},      {11, "DEACTIVATED"}, {12, "SUPPRESSED"},     {13, "CONFIGURED_FINAL"},  {14, "INVALID"},
};
constexpr EnumText STATE_BITS[] = {
    {0, "DFS_CLEAR"},   {1, "RADAR_FOUND"},        {2, "CAC_RUNNING"},
    {3, "PRECAC_TODO"}, {4, "INTERFERENCE_FOUND"}, {5, "INVALID_MAX"},
};
constexpr EnumText CAPABILITY_BITS[] = {
    {0, "HT20"},
    {1, "HT40"},
    {2, "HT80"},
    {3, "HT160"},
    {4, "DFS"},
    {5, "DFS_WEATHER"},
    {6, "HT8080"},
    {7, "PRIMARY_LOWER_BEHAVIOR"},
    {8, "PRIMARY_UPPER_BEHAVIOR"},
    {9, "INVALID_MAX"},
};
constexpr EnumText CONFIG_BITS[] = {{0, "REMOTE_DISTURBER"}, {1, "PERFORMANCE_OPTIMIZATION"}, {2, "INVALID_MAX"}};

/// The text of a value, or the one text that stands for all values without a row.
template <class E>
const char* text_or(std::span<const EnumText> table, E value, const char* unknown) {
  const char* text = find_enum_text(table, static_cast<std::uint16_t>(value));
  return text != nullptr ? text : unknown;
}

/// The text of a value, or `unknown` and the value in decimal.
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
