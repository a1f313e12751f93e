#include "tools/meshdump/ethernet_frame.h"

#include <algorithm>
#include <cstddef>

namespace meshdump {

namespace {

constexpr std::size_t ETHERTYPE_OFFSET = 12;
constexpr std::size_t ETHERTYPE_SIZE = 2;
constexpr std::size_t TAG_SIZE = 4;  // its own ethertype and two octets of priority and VLAN
constexpr std::uint16_t C_TAG = 0x8100;
constexpr std::uint16_t S_TAG = 0x88A8;

qel::MACAddress read_address(std::span<const std::uint8_t> octets) {
  qel::MACAddress address;
  std::copy_n(octets.begin(), address.octets().size(), address.octets().begin());
  return address;
}

}  // namespace

std::optional<EthernetFrame> parse_ethernet(std::span<const std::uint8_t> octets) {
  for (std::size_t offset = ETHERTYPE_OFFSET; offset + ETHERTYPE_SIZE <= octets.size(); offset += TAG_SIZE) {
    const auto ethertype = static_cast<std::uint16_t>(octets[offset] << 8U | octets[offset + 1]);
    if (ethertype != C_TAG && ethertype != S_TAG) {
      return EthernetFrame{read_address(octets), read_address(octets.subspan(6)), ethertype,
                           octets.subspan(offset + ETHERTYPE_SIZE)};
    }
  }
  return std::nullopt;
}

}  // namespace meshdump
