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

/// An undecoded TLV in a CMDU.
struct RawTLV {
  TLVType type;
  std::size_t offset;                  ///< of the type octet in the CMDU
  std::span<const std::uint8_t> body;  ///< borrowed; its size is the value of the length field

  /// Offset of the octet after the TLV.
  std::size_t end() const { return offset + TLV_HEADER_SIZE + body.size(); }
};

/// The reason why a walk ended.
enum class TLVWalkEnd : std::uint8_t {
  END_OF_MESSAGE = 0,  ///< the End-of-message TLV was reached
  MISSING_END = 1,     ///< the octets end after another TLV; true of most fragments
  CUT_HEADER = 2,      ///< the octets end within type or length
  CUT_BODY = 3,        ///< the octets end before the length is reached
};

QEL_EXPORT std::string enum_to_string(TLVWalkEnd end);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, TLVWalkEnd end);

/// Steps through TLVs by type and length alone, and so works on any octets:
///
///     TLVWalk walk(cmdu);
///     while (const std::optional<RawTLV> tlv = walk.next()) { ... }
class QEL_EXPORT TLVWalk {
 public:
  /// `cmdu` begins with the header and must outlive the walk. If the header is incomplete, there are no TLVs.
  explicit TLVWalk(std::span<const std::uint8_t> cmdu);

  /// Returns the next complete TLV, including the End-of-message TLV; empty after that one, or if the next TLV is
  /// incomplete.
  std::optional<RawTLV> next();

  /// Offset of the first octet that belongs to no TLV: padding, or an incomplete TLV.
  std::size_t offset() const { return offset_; }

  /// Meaningful only after next() has returned nothing.
  TLVWalkEnd end() const { return end_; }

 private:
  std::span<const std::uint8_t> cmdu_;
  std::size_t offset_;
  TLVWalkEnd end_ = TLVWalkEnd::MISSING_END;
};

}  // namespace qel::ieee1905_1
