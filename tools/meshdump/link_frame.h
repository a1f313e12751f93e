#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "qel/core/mac_address.h"

namespace meshdump {

/// The kind of frames in a capture, with the numbers of the pcap formats.
enum class LinkType : int {
  ETHERNET = 1,
  LINUX_COOKED = 113,     ///< captured on the interface "any"; frames without a destination
  LINUX_COOKED_V2 = 276,  ///< as above, including the interface
};

bool is_supported(int link_type);

inline constexpr std::uint16_t C_TAG_ETHERTYPE = 0x8100;
inline constexpr std::uint16_t S_TAG_ETHERTYPE = 0x88A8;

struct LinkFrame {
  std::optional<qel::MACAddress> destination;  ///< empty for a cooked frame
  qel::MACAddress source;                      ///< zero if a cooked frame has no EUI-48
  std::uint16_t ethertype;                     ///< after all VLAN tags
  std::span<const std::uint8_t> payload;       ///< part of `octets`
  std::uint32_t interface = 0;                 ///< index in the machine that captured it; 0 if the frame has none
};

/// Skips any number of C-tags and S-tags (IEEE 802.1Q-2018, 9.5). Returns nothing if the frame ends before its
/// ethertype.
std::optional<LinkFrame> parse_link_frame(LinkType link_type, std::span<const std::uint8_t> octets);

}  // namespace meshdump
