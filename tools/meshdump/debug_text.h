#pragma once

#include <string_view>

#include "qel/core/serialization/memory_stream.h"

namespace meshdump {

/// The debug text of a message or a TLV, which may contain octets from the network. Valid until the next use of
/// `stream`.
template <class T>
std::string_view debug_text(qel::serialization::MemoryOStream& stream, const T& value) {
  stream.reset();
  value.dbg_str(stream);
  const auto octets = stream.octets();
  return {reinterpret_cast<const char*>(octets.data()), octets.size()};
}

}  // namespace meshdump
