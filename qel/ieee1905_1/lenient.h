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

/// A message that was read TLV by TLV, so that one TLV that is new or damaged does not cost the others. Message itself
/// rejects such a message whole.
struct QEL_EXPORT LenientMessage {
  /// One TLV, understood or not.
  struct Entry {
    RawTLV raw;          ///< borrowed from the octets that were decoded
    const TLV* tlv;      ///< in `message`; null for a type without a class and for a body that was refused
    std::string error;   ///< why the body was refused; empty otherwise
    std::size_t unread;  ///< octets at the end of the body that the class has no field for

    bool has_class() const { return tlv != nullptr || !error.empty(); }
  };

  /// The head and the TLVs that were understood, in their order. It ends with an End-of-message TLV only if one came.
  Message message;

  /// All TLVs in their order.
  std::vector<Entry> entries;

  /// Whether the TLVs led up to the End-of-message TLV, and if not, why.
  TLVWalkEnd end = TLVWalkEnd::MISSING_END;

  /// Offset of the first octet that no TLV has covered.
  std::size_t end_offset = 0;

  /// Every TLV has a class that understood it, and they lead up to the End-of-message TLV.
  bool is_whole() const;
};

/// Each TLV is decoded within its own length, whatever the others hold. Throws SerializationException only for octets
/// without a whole head. The octets are borrowed by the entries.
QEL_EXPORT LenientMessage decode_leniently(std::span<const std::uint8_t> cmdu,
                                           serialization::SerializationContext& context);

}  // namespace qel::ieee1905_1
