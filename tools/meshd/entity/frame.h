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

/// A received frame, read as far as its TLVs need not be understood.
struct Frame {
  qel::MACAddress destination;
  qel::MACAddress source;
  qel::ieee1905_1::MessageHead head;
  std::span<const std::uint8_t> octets;  ///< all of it; borrowed

  std::span<const std::uint8_t> cmdu() const { return octets.subspan(ETHER_HEADER_SIZE); }
};

/// Encodes and decodes messages, and keeps the memory for it.
class Codec {
 public:
  /// Nothing for a frame without room for a message, of another ethertype, or from a group address.
  std::optional<Frame> parse(std::span<const std::uint8_t> octets);

  /// Throws qel::serialization::SerializationException.
  qel::ieee1905_1::Message decode(const Frame& frame);

  /// TLV by TLV; the octets are borrowed by what is returned.
  qel::ieee1905_1::LenientMessage decode_leniently(std::span<const std::uint8_t> cmdu);

  using Frames = std::vector<std::span<const std::uint8_t>>;

  /// One frame, or several with a fragment each, to be sent in this order; borrowed until the next call. Throws
  /// qel::serialization::SerializationException, also for a TLV that does not fit a frame.
  const Frames& encode(const qel::MACAddress& destination, const qel::MACAddress& source,
                       const qel::ieee1905_1::Message& message);

 private:
  qel::serialization::SerializationContext context_;
  qel::serialization::MemoryIStream in_;
  qel::ieee1905_1::Fragmenter fragmenter_;
  std::vector<std::uint8_t> out_;
  Frames frames_;
};

/// Who sent a message first. That is its AL MAC address TLV, which is found by types and lengths alone, so that it
/// tells also for messages that cannot be decoded; without such a TLV it is the source of the frame.
qel::MACAddress originator(const Frame& frame);

}  // namespace meshd
