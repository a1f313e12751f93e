#pragma once

#include <cstdint>

namespace qel {

/// Received channel power indicator; 221 to 255 are reserved (IEEE 802.11-2020, 9.4.2.37).
constexpr bool is_valid_rcpi(std::uint8_t rcpi) { return rcpi <= 220; }

/// Average noise power indicator, on the same scale as the RCPI.
constexpr bool is_valid_anpi(std::uint8_t anpi) { return anpi <= 220; }

/// Received signal to noise indicator; every value is valid (IEEE 802.11-2020, 9.4.2.40).
constexpr bool is_valid_rsni(std::uint8_t) { return true; }

/// Channel utilization in percent.
constexpr bool is_valid_channel_utilization(std::uint8_t utilization) { return utilization <= 100; }

}  // namespace qel
