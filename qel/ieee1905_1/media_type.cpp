#include "qel/ieee1905_1/media_type.h"

#include "qel/core/enum_text.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText INTERFACE_TYPES[] = {
    {0, "ETHERNET"}, {1, "WLAN"}, {2, "PLC"}, {3, "CABLE"}, {255, "UNKNOWN"},
};
constexpr EnumText ETHERNET_MODES[] = {
    {0, "FAST_ETHERNET"},
    {1, "GIGABIT_ETHERNET"},
    {255, "INVALID"},
};
constexpr EnumText WLAN_MODES[] = {
    {0, "B_2_4_GHZ"}, {1, "G_2_4_GHZ"}, {2, "A_5_GHZ"}, {3, "N_2_4_GHZ"}, {4, "N_5_GHZ"},
    {5, "AC_5_GHZ"},  {6, "AD_60_GHZ"}, {7, "AF"},      {8, "AX"},        {255, "INVALID"},
};
constexpr EnumText PLC_MODES[] = {
    {0, "WAVELET"},
    {1, "FFT"},
    {255, "INVALID"},
};
constexpr EnumText CABLE_MODES[] = {
    {0, "MoCA_1_1"},
    {255, "INVALID"},
};
constexpr EnumText DUMMY_MODES[] = {
    {255, "dummy (INVALID)"},
};
constexpr EnumText WLAN_ROLES[] = {
    {0x00, "AP"}, {0x40, "STA"}, {0x80, "P2PClient"}, {0x90, "P2PGroupOwner"}, {0xA0, "adPCP"}, {0xFF, "INVALID"},
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
