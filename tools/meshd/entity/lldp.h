#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "qel/core/mac_address.h"

// The LLDP frame shows whether there are bridges on a link, because bridges do not forward it (IEEE 1905.1-2013, 6.1;
// IEEE 802.1AB-2016, clause 8).
namespace meshd {

inline constexpr std::uint16_t LLDP_ETHERTYPE = 0x88CC;
inline constexpr qel::MACAddress LLDP_MULTICAST_ADDRESS({0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E});

/// What we need of an LLDP frame.
struct LldpNotice {
  qel::MACAddress al_mac;             ///< the chassis
  qel::MACAddress interface;          ///< the port
  std::chrono::seconds time_to_live;  ///< up to 65535; 0 withdraws the previous notice

  bool operator==(const LldpNotice&) const = default;
};

bool is_lldp(std::span<const std::uint8_t> frame);

/// A whole frame from the interface. A longer time to live is sent as 65535 s.
std::vector<std::uint8_t> encode_lldp(const LldpNotice& notice);

/// Returns nothing if the frame is damaged, or if it does not identify chassis and port by MAC addresses.
std::optional<LldpNotice> parse_lldp(std::span<const std::uint8_t> frame);

}  // namespace meshd
