#include "qel/ieee1905_1/media_type.h"

#include "qel/core/enum_text.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText INTERFACE_TYPES[] = {
    {InterfaceType::ETHERNET, "ETHERNET"}, {InterfaceType::WLAN, "WLAN"},       {InterfaceType::PLC, "PLC"},
    {InterfaceType::CABLE, "CABLE"},       {InterfaceType::UNKNOWN, "UNKNOWN"},
};
constexpr EnumText ETHERNET_MODES[] = {
    {EthernetMode1905_1::FAST_ETHERNET, "FAST_ETHERNET"},
    {EthernetMode1905_1::GIGABIT_ETHERNET, "GIGABIT_ETHERNET"},
    {EthernetMode1905_1::INVALID, "INVALID"},
};
constexpr EnumText WLAN_MODES[] = {
    {WLANMode1905_1::B_2_4_GHZ, "B_2_4_GHZ"},
    {WLANMode1905_1::G_2_4_GHZ, "G_2_4_GHZ"},
    {WLANMode1905_1::A_5_GHZ, "A_5_GHZ"},
    {WLANMode1905_1::N_2_4_GHZ, "N_2_4_GHZ"},
    {WLANMode1905_1::N_5_GHZ, "N_5_GHZ"},
    {WLANMode1905_1::AC_5_GHZ, "AC_5_GHZ"},
    {WLANMode1905_1::AD_60_GHZ, "AD_60_GHZ"},
    {WLANMode1905_1::AF, "AF"},
    {WLANMode1905_1::AX, "AX"},
    {WLANMode1905_1::INVALID, "INVALID"},
};
constexpr EnumText PLC_MODES[] = {
    {PLCMode1905_1::WAVELET, "WAVELET"},
    {PLCMode1905_1::FFT, "FFT"},
    {PLCMode1905_1::INVALID, "INVALID"},
};
constexpr EnumText CABLE_MODES[] = {
    {CableMode1905_1::MoCA_1_1, "MoCA_1_1"},
    {CableMode1905_1::INVALID, "INVALID"},
};
constexpr EnumText DUMMY_MODES[] = {
    {DummyMode1905_1::INVALID, "dummy (INVALID)"},
};
constexpr EnumText WLAN_ROLES[] = {
    {WLANInterfaceRole1905_1::AP, "AP"},
    {WLANInterfaceRole1905_1::STA, "STA"},
    {WLANInterfaceRole1905_1::P2PClient, "P2PClient"},
    {WLANInterfaceRole1905_1::P2PGroupOwner, "P2PGroupOwner"},
    {WLANInterfaceRole1905_1::adPCP, "adPCP"},
    {WLANInterfaceRole1905_1::INVALID, "INVALID"},
};

std::span<const EnumText> modes_of(InterfaceType type) {
  switch (type) {
    case InterfaceType::ETHERNET:
      return ETHERNET_MODES;
    case InterfaceType::WLAN:
      return WLAN_MODES;
    case InterfaceType::PLC:
      return PLC_MODES;
    case InterfaceType::CABLE:
      return CABLE_MODES;
    case InterfaceType::UNKNOWN:
      break;
  }
  return DUMMY_MODES;
}

}  // namespace

std::string enum_to_string(InterfaceType type) { return enum_text(INTERFACE_TYPES, type); }
std::string enum_to_string(EthernetMode1905_1 mode) { return enum_text(ETHERNET_MODES, mode); }
std::string enum_to_string(WLANMode1905_1 mode) { return enum_text(WLAN_MODES, mode); }
std::string enum_to_string(PLCMode1905_1 mode) { return enum_text(PLC_MODES, mode); }
std::string enum_to_string(CableMode1905_1 mode) { return enum_text(CABLE_MODES, mode); }
std::string enum_to_string(DummyMode1905_1 mode) { return enum_text(DUMMY_MODES, mode); }
std::string enum_to_string(WLANInterfaceRole1905_1 role) { return enum_text(WLAN_ROLES, role); }

std::ostream& operator<<(std::ostream& os, InterfaceType type) { return print_enum(os, INTERFACE_TYPES, type); }
std::ostream& operator<<(std::ostream& os, EthernetMode1905_1 mode) { return print_enum(os, ETHERNET_MODES, mode); }
std::ostream& operator<<(std::ostream& os, WLANMode1905_1 mode) { return print_enum(os, WLAN_MODES, mode); }
std::ostream& operator<<(std::ostream& os, PLCMode1905_1 mode) { return print_enum(os, PLC_MODES, mode); }
std::ostream& operator<<(std::ostream& os, CableMode1905_1 mode) { return print_enum(os, CABLE_MODES, mode); }
std::ostream& operator<<(std::ostream& os, DummyMode1905_1 mode) { return print_enum(os, DUMMY_MODES, mode); }
std::ostream& operator<<(std::ostream& os, WLANInterfaceRole1905_1 role) { return print_enum(os, WLAN_ROLES, role); }

std::string interface_mode_to_string(InterfaceType type, _InterfaceMode mode) {
  return enum_text(modes_of(type), std::uint16_t{mode});
}

}  // namespace qel::ieee1905_1
