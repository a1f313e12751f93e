#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/ieee1905_1/message.h"

namespace qel::ieee1905_1 {

/// Splits messages that are too large for a frame into fragments. Each fragment ends with a complete TLV; only the last
/// has the End-of-message TLV (IEEE 1905.1-2013, 7.1.2).
class QEL_EXPORT Fragmenter {
 public:
  using Fragments = std::vector<std::span<const std::uint8_t>>;

  /// Payload of an Ethernet frame of 1514 octets.
  static constexpr std::size_t ETHERNET_SIZE = 1500;

  /// Limits each CMDU to `largest` octets, including its header. Throws std::invalid_argument if that leaves no room
  /// for a TLV.
  explicit Fragmenter(std::size_t largest = ETHERNET_SIZE);

  /// Returns the CMDUs to send, in order, valid until the next call. A message that fits is returned as a single CMDU
  /// with its header unchanged. Throws SerializationException for a message that cannot be encoded, a TLV that is too
  /// large for a fragment, more than 256 fragments, and a message that is itself a fragment but too large.
  const Fragments& split(const Message& message, serialization::SerializationContext& context);

 private:
  struct Run {
    std::size_t begin;  ///< of its TLVs among those of the message
    std::size_t end;
  };
  std::vector<Run> plan(const Message& message, serialization::MemoryOStream& tlvs,
                        serialization::SerializationContext& context) const;

  std::size_t largest_;
  std::vector<std::uint8_t> octets_;
  Fragments fragments_;
};

}  // namespace qel::ieee1905_1
