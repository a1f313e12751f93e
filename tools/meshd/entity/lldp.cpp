#include "tools/meshd/entity/lldp.h"

#include <algorithm>
#include <cstddef>

#include "tools/meshd/entity/frame.h"

namespace meshd {

namespace {

using qel::MACAddress;

constexpr std::uint8_t END = 0;
constexpr std::uint8_t CHASSIS_ID = 1;
constexpr std::uint8_t PORT_ID = 2;
constexpr std::uint8_t TIME_TO_LIVE = 3;
constexpr std::uint8_t CHASSIS_IS_MAC_ADDRESS = 4;
constexpr std::uint8_t PORT_IS_MAC_ADDRESS = 3;
constexpr std::chrono::seconds LONGEST_TIME_TO_LIVE{0xFFFF};

constexpr std::size_t ETHERTYPE_PLACE = 12;
constexpr std::size_t HEADER_SIZE = 2;  // of a TLV: seven bits of type, nine of length

class Walk {
 public:
  explicit Walk(std::span<const std::uint8_t> octets) : rest_(octets) {}

  /// The body of the next TLV, which has to be of this type and of `least` octets or more.
  std::optional<std::span<const std::uint8_t>> next(std::uint8_t type, std::size_t least) {
    if (rest_.size() < HEADER_SIZE || rest_[0] >> 1U != type) {
      return std::nullopt;
    }
    const std::size_t length = (rest_[0] & 1U) << 8U | rest_[1];
    if (length < least || rest_.size() - HEADER_SIZE < length) {
      return std::nullopt;
    }
    const auto body = rest_.subspan(HEADER_SIZE, length);
    rest_ = rest_.subspan(HEADER_SIZE + length);
    return body;
  }

  std::optional<MACAddress> next_address(std::uint8_t type, std::uint8_t subtype) {
    MACAddress mac;
    const auto body = next(type, 1 + mac.octets().size());
    if (!body || body->front() != subtype || body->size() != 1 + mac.octets().size()) {
      return std::nullopt;
    }
    std::copy(body->begin() + 1, body->end(), mac.octets().begin());
    return mac;
  }

 private:
  std::span<const std::uint8_t> rest_;
};

}  // namespace

bool is_lldp(std::span<const std::uint8_t> frame) {
  return frame.size() > ETHER_HEADER_SIZE && frame[ETHERTYPE_PLACE] == LLDP_ETHERTYPE >> 8U &&
         frame[ETHERTYPE_PLACE + 1] == (LLDP_ETHERTYPE & 0xFFU);
}

std::vector<std::uint8_t> encode_lldp(const LldpNotice& notice) {
  std::vector<std::uint8_t> frame;
  const auto add = [&](std::initializer_list<std::uint8_t> octets) { frame.insert(frame.end(), octets); };
  const auto add_address = [&](const MACAddress& mac) {
    frame.insert(frame.end(), mac.octets().begin(), mac.octets().end());
  };
  add_address(LLDP_MULTICAST_ADDRESS);
  add_address(notice.interface);
  add({LLDP_ETHERTYPE >> 8U, LLDP_ETHERTYPE & 0xFFU});
  add({CHASSIS_ID << 1U, 7, CHASSIS_IS_MAC_ADDRESS});
  add_address(notice.al_mac);
  add({PORT_ID << 1U, 7, PORT_IS_MAC_ADDRESS});
  add_address(notice.interface);
  const auto seconds = static_cast<std::uint16_t>(std::min(notice.time_to_live, LONGEST_TIME_TO_LIVE).count());
  add({TIME_TO_LIVE << 1U, 2, static_cast<std::uint8_t>(seconds >> 8U), static_cast<std::uint8_t>(seconds & 0xFFU)});
  add({END, 0});
  return frame;
}

std::optional<LldpNotice> parse_lldp(std::span<const std::uint8_t> frame) {
  Walk walk(frame.subspan(ETHER_HEADER_SIZE));
  const auto al_mac = walk.next_address(CHASSIS_ID, CHASSIS_IS_MAC_ADDRESS);
  const auto interface = walk.next_address(PORT_ID, PORT_IS_MAC_ADDRESS);
  const auto time = walk.next(TIME_TO_LIVE, 2);
  if (!al_mac || !interface || !time) {
    return std::nullopt;
  }
  return LldpNotice{*al_mac, *interface, std::chrono::seconds((*time)[0] << 8U | (*time)[1])};
}

}  // namespace meshd
