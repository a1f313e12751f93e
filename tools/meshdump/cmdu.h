#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "qel/core/mac_address.h"

namespace meshdump {

/// What a capture tells about the frame that a CMDU came in.
struct FrameInfo {
  std::chrono::microseconds time;  ///< since 1970-01-01T00:00:00Z
  qel::MACAddress source;
  qel::MACAddress destination;
  std::size_t missing;  ///< octets at the frame's end that the capture left out, 0 for a whole frame
};

/// A CMDU as it came in, not yet decoded.
struct Cmdu {
  std::span<const std::uint8_t> octets;  ///< borrowed; padding of the frame may follow the message
  std::size_t number;                    ///< of its frame in the capture or of its line in the file; the first is 1
  std::optional<FrameInfo> frame;        ///< empty for a CMDU given in hexadecimal
};

}  // namespace meshdump
