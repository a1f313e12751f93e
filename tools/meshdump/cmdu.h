#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/message_type.h"
#include "tools/meshdump/captured_frame.h"

namespace meshdump {

/// The frame that contained a CMDU.
struct FrameInfo {
  qel::MACAddress source;
  std::optional<qel::MACAddress> destination;  ///< empty if the capture does not record it
  CapturedFrame captured;
  std::string interface = {};  ///< name or index, if the frame records it; otherwise empty
};

/// A CMDU as received, not yet decoded.
struct Cmdu {
  std::span<const std::uint8_t> octets;  ///< borrowed; padding of the frame may follow the message
  std::size_t number;                    ///< of its frame in the capture or its line in the file; starts at 1
  std::optional<FrameInfo> frame;        ///< empty for a CMDU read from hexadecimal
  bool reassembled = false;              ///< made from fragments; `frame` is that of the last one to arrive
};

/// The message type in the header, even if the CMDU is cut off after it; nothing if the octets end before it.
inline std::optional<qel::ieee1905_1::MessageType> message_type(std::span<const std::uint8_t> cmdu) {
  constexpr std::size_t OFFSET = 2;
  return cmdu.size() < OFFSET + 2
             ? std::nullopt
             : std::optional(static_cast<qel::ieee1905_1::MessageType>(cmdu[OFFSET] << 8U | cmdu[OFFSET + 1]));
}

}  // namespace meshdump
