#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "tools/meshdump/link_frame.h"

namespace meshdump {

/// A frame as libpcap gives it.
struct CapturedFrame {
  std::chrono::microseconds time;        ///< since 1970-01-01T00:00:00Z
  std::span<const std::uint8_t> octets;  ///< borrowed until the next frame is read
  std::size_t missing;                   ///< octets at the frame's end that the capture left out
  LinkType link_type;
  std::string_view origin;  ///< file or interface; borrowed from the capture
  std::size_t number;       ///< in the file, or of all interfaces; the first is 1
};

}  // namespace meshdump
