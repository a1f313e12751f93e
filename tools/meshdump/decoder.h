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
  std::span<const std::uint8_t> octets;  ///< valid until the decoder decodes the next CMDU
  std::optional<std::string> error;      ///< reason why the message cannot be encoded; `octets` is then meaningless

  bool reproduces(std::span<const std::uint8_t> received) const {
    return !error && std::equal(octets.begin(), octets.end(), received.begin(), received.end());
  }
};

struct Decoding {
  std::optional<qel::ieee1905_1::Message> message;  ///< empty if the CMDU was rejected
  std::string error;                                ///< reason for the rejection
  std::string place;                                ///< the place, such as "in MAC_ADDRESS at offset 17"
  std::optional<qel::ieee1905_1::DecodeException::Place>
      tlv;  ///< the TLV in which it was rejected; empty for the header
  /// A rejected CMDU, TLV by TLV; empty if its header is incomplete. Refers to the octets of the CMDU.
  std::optional<qel::ieee1905_1::LenientMessage> lenient;
  std::size_t consumed = 0;              ///< octets read up to success or failure
  std::optional<Reencoding> reencoding;  ///< empty if not requested, or if the CMDU was rejected

  /// Null if the header is incomplete.
  const qel::ieee1905_1::MessageHead* head() const {
    return message ? &message->get_head() : lenient ? &lenient->message.get_head() : nullptr;
  }
};

/// Decodes CMDUs one after another and reuses its memory.
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
