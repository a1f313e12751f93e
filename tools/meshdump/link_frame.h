#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "qel/core/mac_address.h"

namespace meshdump {

/// What a capture says of the frames in it, by the numbers of the pcap formats.
enum class LinkType : int {
  ETHERNET = 1,
  LINUX_COOKED = 113,     ///< what the interface "any" gives; frames without their destination
  LINUX_COOKED_V2 = 276,  ///< the same with the interface
};

bool is_supported(int link_type);

struct LinkFrame {
  std::optional<qel::MACAddress> destination;  ///< empty for a cooked frame
  qel::MACAddress source;                      ///< zero for a cooked frame without an EUI-48
  std::uint16_t ethertype;                     ///< the one behind all VLAN tags
  std::span<const std::uint8_t> payload;       ///< borrowed
};

/// Looks through any number of C-tags and S-tags (IEEE 802.1Q-2018, 9.5). Nothing for a frame that ends before its
/// ethertype.
std::optional<LinkFrame> parse_link_frame(LinkType link_type, std::span<const std::uint8_t> octets);

}  // namespace meshdump
