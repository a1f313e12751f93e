#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/ieee1905_1/message.h"
#include "qel/ieee1905_1/tlv_walk.h"

namespace qel::ieee1905_1 {

/// A message that was read TLV by TLV, so that one new or damaged TLV does not lose the others. Message itself rejects
/// such a message as a whole.
struct QEL_EXPORT LenientMessage {
  /// One TLV, decoded or not.
  struct Entry {
    RawTLV raw;          ///< borrowed from the input
    const TLV* tlv;      ///< in `message`; null if the type has no class or the body was refused
    std::string error;   ///< why the body was refused; empty otherwise
    std::size_t unread;  ///< octets at the end of the body for which the class has no field

    bool has_class() const { return tlv != nullptr || !error.empty(); }
  };

  /// The header and the TLVs that could be decoded, in order. It ends with an End-of-message TLV only if there was one.
  Message message;

  /// All TLVs, in order.
  std::vector<Entry> entries;

  /// Whether the TLVs end with the End-of-message TLV, and if not, why.
  TLVWalkEnd end = TLVWalkEnd::MISSING_END;

  /// Offset of the first octet that belongs to no TLV.
  std::size_t end_offset = 0;

  /// True if every TLV was decoded and they end with the End-of-message TLV.
  bool is_whole() const;
};

/// Decodes each TLV within its own length, independently of the others. Throws SerializationException only if the
/// header is incomplete. The entries refer to the octets of `cmdu`.
QEL_EXPORT LenientMessage decode_leniently(std::span<const std::uint8_t> cmdu,
                                           serialization::SerializationContext& context);

}  // namespace qel::ieee1905_1
