#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "qel/core/export.h"

namespace qel::ieee1905_1 {

/// The first octet of a media type (IEEE 1905.1-2013, 6.4.7). It determines the enumeration of the second octet, the
/// mode.
enum class QEL_EXPORT InterfaceType : std::uint8_t { ETHERNET = 0, WLAN = 1, PLC = 2, CABLE = 3, UNKNOWN = 255 };

/// The mode octet of a media type, kept as received.
// The underscore is part of the system's own name.
using _InterfaceMode = std::uint8_t;  // NOLINT(bugprone-reserved-identifier)

enum class EthernetMode1905_1 : std::uint8_t { FAST_ETHERNET = 0, GIGABIT_ETHERNET = 1, INVALID = 255 };

enum class WLANMode1905_1 : std::uint8_t {
  B_2_4_GHZ = 0,
  G_2_4_GHZ = 1,
  A_5_GHZ = 2,
  N_2_4_GHZ = 3,
  N_5_GHZ = 4,
  AC_5_GHZ = 5,
  AD_60_GHZ = 6,
  AF = 7,
  AX = 8,
  INVALID = 255
};

enum class PLCMode1905_1 : std::uint8_t { WAVELET = 0, FFT = 1, INVALID = 255 };

enum class CableMode1905_1 : std::uint8_t { MoCA_1_1 = 0, INVALID = 255 };

/// The mode of an interface of any other type.
enum class DummyMode1905_1 : std::uint8_t { INVALID = 255 };

/// The role of a WLAN interface (IEEE 1905.1-2013, 6.4.5).
enum class WLANInterfaceRole1905_1 : std::uint8_t {
  AP = 0x00,
  STA = 0x40,
  P2PClient = 0x80,
  P2PGroupOwner = 0x90,
  adPCP = 0xA0,
  INVALID = 0xFF
};

QEL_EXPORT std::string enum_to_string(InterfaceType type);
QEL_EXPORT std::string enum_to_string(EthernetMode1905_1 mode);
QEL_EXPORT std::string enum_to_string(WLANMode1905_1 mode);
QEL_EXPORT std::string enum_to_string(PLCMode1905_1 mode);
QEL_EXPORT std::string enum_to_string(CableMode1905_1 mode);
QEL_EXPORT std::string enum_to_string(DummyMode1905_1 mode);
QEL_EXPORT std::string enum_to_string(WLANInterfaceRole1905_1 role);

QEL_EXPORT std::ostream& operator<<(std::ostream& os, InterfaceType type);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, EthernetMode1905_1 mode);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, WLANMode1905_1 mode);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, PLCMode1905_1 mode);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, CableMode1905_1 mode);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, DummyMode1905_1 mode);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, WLANInterfaceRole1905_1 role);

/// Returns the mode's name in the enumeration for the interface type; types without one use the dummy mode.
QEL_EXPORT std::string interface_mode_to_string(InterfaceType type, _InterfaceMode mode);

}  // namespace qel::ieee1905_1
