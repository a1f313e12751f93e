#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/ieee1905_1/message.h"

namespace qel::ieee1905_1 {

/// Splits messages that are too large for a frame into fragments. A fragment ends with a whole TLV, and only the last
/// one has the End-of-message TLV (IEEE 1905.1-2013, 7.1.2).
class QEL_EXPORT Fragmenter {
 public:
  using Fragments = std::vector<std::span<const std::uint8_t>>;

  /// What an Ethernet frame of 1514 octets carries.
  static constexpr std::size_t ETHERNET_SIZE = 1500;

  /// No CMDU is larger than `largest` octets, its head included. Throws std::invalid_argument for a size that leaves no
  /// room for a TLV.
  explicit Fragmenter(std::size_t largest = ETHERNET_SIZE);

  /// The CMDUs to be sent in this order, borrowed until the next call; a message that fits is a single one, with its
  /// head as it stands. Throws SerializationException for a message that cannot be encoded, a TLV that is too large
  /// for a fragment, more than 256 fragments, and a fragment that would have to be split again.
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
