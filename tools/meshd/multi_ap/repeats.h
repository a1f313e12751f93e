#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/message_type.h"
#include "tools/meshd/multi_ap/mesh.h"

namespace meshd::multi_ap {

/// Recognizes messages that are sent again because their acknowledgment was lost. Remembers as many as there is room
/// for, and not for long, since a restarted device may use an identifier again.
class Repeats {
 public:
  static constexpr std::chrono::seconds MEMORY{10};
  static constexpr std::size_t ROOM = 512;  ///< messages; the oldest gives way

  /// Whether a message of the same sender, type and identifier is remembered.
  bool knows(const Received& received) const;
  void remember(const Received& received);

 private:
  struct Entry {
    qel::MACAddress from;
    qel::ieee1905_1::MessageType type;
    std::uint16_t id;
    TimePoint time;
  };
  std::deque<Entry> entries_;  // the oldest first
};

}  // namespace meshd::multi_ap
