#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/ieee1905_1/cmdu.h"
#include "qel/ieee1905_1/fragmenter.h"
#include "qel/ieee1905_1/lenient.h"
#include "qel/ieee1905_1/message.h"
#include "qel/net/ether_header.h"
#include "qel/net/raw_sock.h"

namespace meshd {

inline constexpr std::size_t ETHER_HEADER_SIZE = sizeof(qel::EtherHeader);
inline constexpr std::size_t MAX_FRAME_SIZE = qel::RawSock::MAX_FRAME_SIZE;

/// A received frame whose headers are decoded but whose TLVs are not.
struct Frame {
  qel::MACAddress destination;
  qel::MACAddress source;
  qel::ieee1905_1::MessageHead head;
  std::span<const std::uint8_t> octets;  ///< the whole frame; borrowed

  std::span<const std::uint8_t> cmdu() const { return octets.subspan(ETHER_HEADER_SIZE); }
};

/// Encodes and decodes messages, and reuses the memory for it.
class Codec {
 public:
  /// Returns nothing for a frame that is too short, of another ethertype, or from a group address.
  std::optional<Frame> parse(std::span<const std::uint8_t> octets);

  /// Throws qel::serialization::SerializationException.
  qel::ieee1905_1::Message decode(const Frame& frame);

  /// Decodes TLV by TLV. The result refers to the octets of the frame.
  qel::ieee1905_1::LenientMessage decode_leniently(std::span<const std::uint8_t> cmdu);

  using Frames = std::vector<std::span<const std::uint8_t>>;

  /// Returns one frame, or one for each fragment in the order of sending; valid until the next call. Throws
  /// qel::serialization::SerializationException, also if a TLV does not fit into a frame.
  const Frames& encode(const qel::MACAddress& destination, const qel::MACAddress& source,
                       const qel::ieee1905_1::Message& message);

 private:
  qel::serialization::SerializationContext context_;
  qel::serialization::MemoryIStream in_;
  qel::ieee1905_1::Fragmenter fragmenter_;
  std::vector<std::uint8_t> out_;
  Frames frames_;
};

/// The originator of a message: its AL MAC address TLV, or the source of the frame if it has none. Only the types and
/// lengths of TLVs are read, so this also works for messages that cannot be decoded.
qel::MACAddress originator(const Frame& frame);

}  // namespace meshd
