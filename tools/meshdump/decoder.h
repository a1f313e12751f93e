#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/ieee1905_1/lenient.h"
#include "qel/ieee1905_1/message.h"

namespace meshdump {

/// A decoded message that was encoded again.
struct Reencoding {
  std::span<const std::uint8_t> octets;  ///< borrowed from the decoder until it decodes the next CMDU
  std::optional<std::string> error;      ///< why the message cannot be encoded; `octets` mean nothing then

  bool reproduces(std::span<const std::uint8_t> received) const {
    return !error && std::equal(octets.begin(), octets.end(), received.begin(), received.end());
  }
};

struct Decoding {
  std::optional<qel::ieee1905_1::Message> message;  ///< empty when the CMDU was rejected
  std::string error;                                ///< why it was rejected
  std::string place;                                ///< where, such as "in MAC_ADDRESS at offset 17"
  std::optional<qel::ieee1905_1::DecodeException::Place>
      tlv;  ///< the TLV in which it was rejected, unless it was the head
  /// A rejected CMDU TLV by TLV; empty without a whole head. Borrows the octets of the CMDU.
  std::optional<qel::ieee1905_1::LenientMessage> lenient;
  std::size_t consumed = 0;              ///< octets read up to success or failure
  std::optional<Reencoding> reencoding;  ///< empty when not asked for, and for a rejected CMDU

  /// Null for a CMDU without a whole head.
  const qel::ieee1905_1::MessageHead* head() const {
    return message ? &message->get_head() : lenient ? &lenient->message.get_head() : nullptr;
  }
};

/// Decodes CMDUs one after the other and keeps its memory between them.
class Decoder {
 public:
  explicit Decoder(bool reencode) : reencode_(reencode) {}

  Decoding decode(std::span<const std::uint8_t> cmdu);

 private:
  bool reencode_;
  qel::serialization::SerializationContext context_;
  qel::serialization::MemoryOStream output_;
};

}  // namespace meshdump
