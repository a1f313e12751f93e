#include "tools/meshdump/link_frame.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "qel/ieee1905_1/cmdu.h"
#include "qel/net/ether_header.h"

namespace meshdump {

namespace {

using qel::ieee1905_1::CMDU_ETHERTYPE;

constexpr std::size_t TAG_SIZE = 4;  // priority and VLAN, then the ethertype

/// Offsets of the fields of a cooked header. The source address has room for 8 octets, of which its size says how many
/// are used.
struct CookedLayout {
  std::size_t size;
  std::size_t ethertype;
  std::size_t address_size;  // offset of the last octet
  std::size_t address;
  std::size_t interface;  // offset of its index; 0 if there is none
};
constexpr CookedLayout COOKED{16, 14, 5, 6, 0};
constexpr CookedLayout COOKED_V2{20, 0, 11, 12, 4};

std::uint16_t number_at(std::span<const std::uint8_t> octets, std::size_t offset) {
  return static_cast<std::uint16_t>(octets[offset] << 8U | octets[offset + 1]);
}

std::optional<LinkFrame> parse_ethernet(std::span<const std::uint8_t> octets) {
  qel::EtherHeader header;
  if (octets.size() < sizeof(header)) {
    return std::nullopt;
  }
  std::memcpy(&header, octets.data(), sizeof(header));
  return LinkFrame{header.get_dest_addr(), header.get_src_addr(), ntohs(header.get_ethertype()),
                   octets.subspan(sizeof(header)), 0};
}

std::optional<LinkFrame> parse_cooked(const CookedLayout& layout, std::span<const std::uint8_t> octets) {
  if (octets.size() < layout.size) {
    return std::nullopt;
  }
  LinkFrame frame{std::nullopt, {}, number_at(octets, layout.ethertype), octets.subspan(layout.size), 0};
  if (octets[layout.address_size] == frame.source.octets().size()) {
    std::copy_n(octets.begin() + static_cast<std::ptrdiff_t>(layout.address), frame.source.octets().size(),
                frame.source.octets().begin());
  }
  if (layout.interface != 0) {
    frame.interface =
        std::uint32_t{number_at(octets, layout.interface)} << 16U | number_at(octets, layout.interface + 2);
  }
  return frame;
}

/// Linux may record the ethertype after all tags although the last tag still precedes the payload. The ethertype in
/// that tag is then where a CMDU has its message type, and no message type has this number.
bool has_hidden_tag(const LinkFrame& frame) {
  return frame.ethertype == CMDU_ETHERTYPE && frame.payload.size() >= TAG_SIZE &&
         number_at(frame.payload, 2) == CMDU_ETHERTYPE;
}

std::optional<LinkFrame> parse_untagged(LinkType link_type, std::span<const std::uint8_t> octets) {
  switch (link_type) {
    case LinkType::ETHERNET:
      return parse_ethernet(octets);
    case LinkType::LINUX_COOKED:
      return parse_cooked(COOKED, octets);
    case LinkType::LINUX_COOKED_V2:
      return parse_cooked(COOKED_V2, octets);
  }
  return std::nullopt;
}

}  // namespace

bool is_supported(int link_type) {
  const auto type = static_cast<LinkType>(link_type);
  return type == LinkType::ETHERNET || type == LinkType::LINUX_COOKED || type == LinkType::LINUX_COOKED_V2;
}

std::optional<LinkFrame> parse_link_frame(LinkType link_type, std::span<const std::uint8_t> octets) {
  std::optional<LinkFrame> frame = parse_untagged(link_type, octets);
  while (frame && (frame->ethertype == C_TAG_ETHERTYPE || frame->ethertype == S_TAG_ETHERTYPE)) {
    if (frame->payload.size() < TAG_SIZE) {
      return std::nullopt;
    }
    frame->ethertype = number_at(frame->payload, 2);
    frame->payload = frame->payload.subspan(TAG_SIZE);
  }
  if (frame && link_type != LinkType::ETHERNET && has_hidden_tag(*frame)) {
    frame->payload = frame->payload.subspan(TAG_SIZE);
  }
  return frame;
}

}  // namespace meshdump
