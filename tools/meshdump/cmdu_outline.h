#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "qel/ieee1905_1/message_type.h"

namespace meshdump {

/// What the headers of a CMDU and its TLVs say, whatever the bodies hold. Unlike decoding this works on every octet
/// string.
struct CmduOutline {
  std::optional<qel::ieee1905_1::MessageType> type;  ///< empty when the octets end before it
  std::bitset<256> tlv_types;                        ///< of the TLVs at the top level
  bool complete = false;                             ///< the TLVs lead up to an End-of-message TLV
  std::size_t size = 0;                              ///< octets up to the end of the last whole TLV
};

CmduOutline outline(std::span<const std::uint8_t> cmdu);

}  // namespace meshdump
