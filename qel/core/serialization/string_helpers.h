#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "qel/core/export.h"
#include "qel/core/serialization/binary_serializable.h"

namespace qel::serialization {

/// Makes a string of known length encodable and decodable. It refers to the string, which must outlive it.
class QEL_EXPORT DeSerializeStringHelper final : public BinarySerializable {
 public:
  /// `length` is the number of characters to read.
  DeSerializeStringHelper(std::string& target, std::uint16_t length) : target_(target), length_(length) {}

  /// Writes all characters of the string, regardless of the length.
  void serialize_impl(std::ostream& os, SerializationContext& context) const override;

  /// If characters are missing, leaves the string empty.
  void deserialize_impl(std::istream& is, SerializationContext& context) override;

 private:
  std::string& target_;
  std::uint16_t length_;
};

/// Writes one octet of size, then the characters. Throws if the size is outside [min, max]; the text shows the size in
/// decimal, but the limits as characters with these codes.
QEL_EXPORT void serialize_string_with_uint8_size(std::ostream& os, SerializationContext& context,
                                                 const std::string& text, std::uint8_t min, std::uint8_t max);

/// Reads what serialize_string_with_uint8_size writes; on failure `text` is unchanged. If the size is refused, the
/// exception text shows all three numbers as characters with these codes.
QEL_EXPORT void deserialize_string_with_uint8_size(std::istream& is, SerializationContext& context, std::string& text,
                                                   std::uint8_t min, std::uint8_t max);

}  // namespace qel::serialization
