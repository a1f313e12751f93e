#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "qel/core/mac_address.h"

namespace meshdump {

struct EthernetFrame {
  qel::MACAddress destination;
  qel::MACAddress source;
  std::uint16_t ethertype;  ///< the one behind all VLAN tags
  std::span<const std::uint8_t> payload;
};

/// Looks through any number of C-tags and S-tags (IEEE 802.1Q-2018, 9.5). Nothing for a frame that ends before its
/// ethertype. The payload is borrowed from `octets`.
std::optional<EthernetFrame> parse_ethernet(std::span<const std::uint8_t> octets);

}  // namespace meshdump
