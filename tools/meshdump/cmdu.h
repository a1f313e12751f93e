#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/message_type.h"
#include "tools/meshdump/captured_frame.h"

namespace meshdump {

/// The frame that a CMDU came in.
struct FrameInfo {
  qel::MACAddress source;
  std::optional<qel::MACAddress> destination;  ///< empty where the capture does not tell
  CapturedFrame captured;
};

/// A CMDU as it came in, not yet decoded.
struct Cmdu {
  std::span<const std::uint8_t> octets;  ///< borrowed; padding of the frame may follow the message
  std::size_t number;                    ///< of its frame in the capture or of its line in the file; the first is 1
  std::optional<FrameInfo> frame;        ///< empty for a CMDU given in hexadecimal
  bool reassembled = false;              ///< put together from fragments, of which `frame` tells the one that came last
};

/// What the head says, also when it is cut off behind it; nothing when the octets end before it.
inline std::optional<qel::ieee1905_1::MessageType> message_type(std::span<const std::uint8_t> cmdu) {
  constexpr std::size_t OFFSET = 2;
  return cmdu.size() < OFFSET + 2
             ? std::nullopt
             : std::optional(static_cast<qel::ieee1905_1::MessageType>(cmdu[OFFSET] << 8U | cmdu[OFFSET + 1]));
}

}  // namespace meshdump
