#pragma once

// What user-mode qemu, up to at least version 7.2, does not pass on to the kernel. Tests that need it are skipped with
// the reason.

namespace qel::test {

#ifdef QEL_UNDER_EMULATOR
inline constexpr bool UNDER_EMULATOR = true;
#else
inline constexpr bool UNDER_EMULATOR = false;
#endif

inline constexpr const char* EMULATOR_LACKS_ETHTOOL = "the emulator answers SIOCETHTOOL with ENOSYS";

inline constexpr const char* EMULATOR_LACKS_PACKETS =
    "the emulator answers PACKET_ADD_MEMBERSHIP, which meshd needs, with ENOPROTOOPT, "
    "and SIOCETHTOOL, which live captures need, with ENOSYS";

}  // namespace qel::test
