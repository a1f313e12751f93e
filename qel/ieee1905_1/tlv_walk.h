#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <span>
#include <string>

#include "qel/core/export.h"
#include "qel/ieee1905_1/cmdu.h"
#include "qel/ieee1905_1/tlv_type.h"

namespace qel::ieee1905_1 {

/// A TLV as it lies in a CMDU, not decoded.
struct RawTLV {
  TLVType type;
  std::size_t offset;                  ///< of the type octet in the CMDU
  std::span<const std::uint8_t> body;  ///< borrowed; as many octets as the length field says

  /// Offset of what follows.
  std::size_t end() const { return offset + TLV_HEADER_SIZE + body.size(); }
};

/// Why a walk ended.
enum class TLVWalkEnd : std::uint8_t {
  END_OF_MESSAGE = 0,  ///< behind the End-of-message TLV
  MISSING_END = 1,     ///< the octets end behind a TLV that is not the End-of-message TLV; so do most fragments
  CUT_HEADER = 2,      ///< the octets end within type or length
  CUT_BODY = 3,        ///< the octets end before the length is reached
};

QEL_EXPORT std::string enum_to_string(TLVWalkEnd end);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, TLVWalkEnd end);

/// Steps from TLV to TLV by the types and lengths alone, so that it works on any octets:
///
///     TLVWalk walk(cmdu);
///     while (const std::optional<RawTLV> tlv = walk.next()) { ... }
class QEL_EXPORT TLVWalk {
 public:
  /// The octets begin with the head of the CMDU and are borrowed. A CMDU without a whole head has no TLVs.
  explicit TLVWalk(std::span<const std::uint8_t> cmdu);

  /// The next whole TLV, the End-of-message TLV included. Nothing behind that one, and where the octets break off.
  std::optional<RawTLV> next();

  /// Offset of the first octet that no TLV has covered: padding, or the TLV that breaks off.
  std::size_t offset() const { return offset_; }

  /// Meaningful once next() returned nothing.
  TLVWalkEnd end() const { return end_; }

 private:
  std::span<const std::uint8_t> cmdu_;
  std::size_t offset_;
  TLVWalkEnd end_ = TLVWalkEnd::MISSING_END;
};

}  // namespace qel::ieee1905_1
