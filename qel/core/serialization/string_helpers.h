#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "qel/core/export.h"
#include "qel/core/serialization/binary_serializable.h"

namespace qel::serialization {

/// Lets a string field of known length encode and decode itself. It refers to the string, which must outlive it.
class QEL_EXPORT DeSerializeStringHelper final : public BinarySerializable {
 public:
  /// `length` is the number of characters to read.
  DeSerializeStringHelper(std::string& target, std::uint16_t length) : target_(target), length_(length) {}

  /// Writes all characters of the string, whatever the length says.
  void serialize_impl(std::ostream& os, SerializationContext& context) const override;

  /// Leaves the string empty when the characters are not all there.
  void deserialize_impl(std::istream& is, SerializationContext& context) override;

 private:
  std::string& target_;
  std::uint16_t length_;
};

/// One octet of size, then the characters. A size outside [min, max] throws; the text shows the size in decimal, and
/// the limits as the characters of these codes.
QEL_EXPORT void serialize_string_with_uint8_size(std::ostream& os, SerializationContext& context,
                                                 const std::string& text, std::uint8_t min, std::uint8_t max);

/// Reads what serialize_string_with_uint8_size writes; on failure `text` keeps its value. In the text of a refused size
/// all three numbers are shown as the characters of these codes.
QEL_EXPORT void deserialize_string_with_uint8_size(std::istream& is, SerializationContext& context, std::string& text,
                                                   std::uint8_t min, std::uint8_t max);

}  // namespace qel::serialization
