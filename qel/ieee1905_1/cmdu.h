#pragma once

#include <cstddef>
#include <cstdint>

#include "qel/core/mac_address.h"

namespace qel::ieee1905_1 {

/// The ethertype of frames that carry a CMDU.
inline constexpr std::uint16_t CMDU_ETHERTYPE = 0x893A;

/// Destination of discoveries and of all relayed messages (IEEE 1905.1-2013, 6.1).
inline constexpr MACAddress CMDU_MULTICAST_ADDRESS({0x01, 0x80, 0xC2, 0x00, 0x00, 0x13});

/// Octets before the first TLV of a CMDU.
inline constexpr std::size_t MESSAGE_HEAD_SIZE = 8;

/// One octet of type and two of length, before the body of a TLV.
inline constexpr std::size_t TLV_HEADER_SIZE = 3;

/// Size of the End-of-message TLV, three octets of zero.
inline constexpr std::size_t END_OF_MESSAGE_SIZE = TLV_HEADER_SIZE;

}  // namespace qel::ieee1905_1
