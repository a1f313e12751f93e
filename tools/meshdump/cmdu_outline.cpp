#include "tools/meshdump/cmdu_outline.h"

namespace meshdump {

namespace {

constexpr std::size_t TYPE_OFFSET = 2;
constexpr std::size_t CMDU_HEADER_SIZE = 8;
constexpr std::size_t TLV_HEADER_SIZE = 3;
constexpr std::uint8_t END_OF_MESSAGE = 0;

std::uint16_t read_uint16(std::span<const std::uint8_t> octets, std::size_t offset) {
  return static_cast<std::uint16_t>(octets[offset] << 8U | octets[offset + 1]);
}

}  // namespace

CmduOutline outline(std::span<const std::uint8_t> cmdu) {
  CmduOutline result;
  if (cmdu.size() >= TYPE_OFFSET + 2) {
    result.type = static_cast<qel::ieee1905_1::MessageType>(read_uint16(cmdu, TYPE_OFFSET));
  }
  std::size_t position = CMDU_HEADER_SIZE;
  while (!result.complete && position < cmdu.size()) {
    const std::uint8_t type = cmdu[position];
    result.tlv_types.set(type);
    if (cmdu.size() - position < TLV_HEADER_SIZE) {
      break;
    }
    position += TLV_HEADER_SIZE + read_uint16(cmdu, position + 1);
    if (position > cmdu.size()) {
      break;
    }
    result.size = position;
    result.complete = type == END_OF_MESSAGE;
  }
  return result;
}

}  // namespace meshdump
