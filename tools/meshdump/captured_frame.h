#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "tools/meshdump/link_frame.h"

namespace meshdump {

/// A frame from libpcap.
struct CapturedFrame {
  std::chrono::microseconds time;        ///< since 1970-01-01T00:00:00Z
  std::span<const std::uint8_t> octets;  ///< valid until the next frame is read
  std::size_t missing;                   ///< octets at the end of the frame that were not captured
  LinkType link_type;
  std::string_view origin;  ///< file or interface; owned by the capture
  std::size_t number;       ///< in the file, or over all interfaces; starts at 1
};

}  // namespace meshdump
