#include "tools/meshdump/ethernet_frame.h"

#include <arpa/inet.h>

#include <cstddef>
#include <cstring>

#include "qel/net/ether_header.h"

namespace meshdump {

namespace {

constexpr std::size_t TAG_SIZE = 4;  // priority and VLAN, and the ethertype behind them
constexpr std::uint16_t C_TAG = 0x8100;
constexpr std::uint16_t S_TAG = 0x88A8;

}  // namespace

std::optional<EthernetFrame> parse_ethernet(std::span<const std::uint8_t> octets) {
  qel::EtherHeader header;
  if (octets.size() < sizeof(header)) {
    return std::nullopt;
  }
  std::memcpy(&header, octets.data(), sizeof(header));
  std::uint16_t ethertype = ntohs(header.get_ethertype());
  std::span<const std::uint8_t> payload = octets.subspan(sizeof(header));
  while (ethertype == C_TAG || ethertype == S_TAG) {
    if (payload.size() < TAG_SIZE) {
      return std::nullopt;
    }
    ethertype = static_cast<std::uint16_t>(payload[2] << 8U | payload[3]);
    payload = payload.subspan(TAG_SIZE);
  }
  return EthernetFrame{header.get_dest_addr(), header.get_src_addr(), ethertype, payload};
}

}  // namespace meshdump
