#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "qel/core/serialization/serialization_context.h"
#include "qel/ieee1905_1/lenient.h"
#include "qel/ieee1905_1/message.h"

namespace meshdump {

/// The body from which a TLV was decoded; empty if the TLV did not read all of it.
std::span<const std::uint8_t> whole_body(const qel::ieee1905_1::LenientMessage::Entry& entry);

/// The bodies of the TLVs in a decoded message, for octets that the TLVs do not keep. If the length of a body differs
/// from that of its fields, it and all later ones are unknown.
class Bodies {
 public:
  Bodies(const qel::ieee1905_1::Message& message, std::span<const std::uint8_t> cmdu,
         qel::serialization::SerializationContext& context);

  /// The body of the next TLV; empty if it is unknown.
  std::span<const std::uint8_t> next();

 private:
  qel::ieee1905_1::LenientMessage lenient_;
  std::size_t next_ = 0;
};

/// The payload of another vendor's TLV with this body, or of such a TLV nested in it; empty if there is none or if the
/// body is unknown.
std::span<const std::uint8_t> foreign_payload(const qel::ieee1905_1::TLV& tlv, std::span<const std::uint8_t> body);

}  // namespace meshdump
