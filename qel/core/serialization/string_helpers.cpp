#include "qel/core/serialization/string_helpers.h"

#include <utility>

#include "qel/core/serialization/binary_serializable_type.h"
#include "qel/core/serialization/serialization_exception.h"

namespace qel::serialization {

namespace {

[[noreturn]] void refuse_size(std::string size, std::uint8_t min, std::uint8_t max) {
  // The limits are inserted as characters rather than digits: this is the exact line for which the system's logs are
  // searched.
  std::string text = "Size " + std::move(size) + " is not in the range [";
  text += static_cast<char>(min);
  text += ", ";
  text += static_cast<char>(max);
  text += ']';
  throw SerializationException(std::move(text));
}

}  // namespace

void DeSerializeStringHelper::serialize_impl(std::ostream& os, SerializationContext& context) const {
  BinarySerializableType<std::string>::serialize(os, context, target_);
}

void DeSerializeStringHelper::deserialize_impl(std::istream& is, SerializationContext&) {
  target_.clear();
  std::string characters;
  ReadSource source(is);
  Reader(source).get_characters(characters, length_);
  target_ = std::move(characters);
}

void serialize_string_with_uint8_size(std::ostream& os, SerializationContext& context, const std::string& text,
                                      std::uint8_t min, std::uint8_t max) {
  if (text.size() < min || text.size() > max) {
    refuse_size(std::to_string(text.size()), min, max);
  }
  BinarySerializableType<std::uint8_t>::serialize(os, context, static_cast<std::uint8_t>(text.size()));
  BinarySerializableType<std::string>::serialize(os, context, text);
}

void deserialize_string_with_uint8_size(std::istream& is, SerializationContext&, std::string& text, std::uint8_t min,
                                        std::uint8_t max) {
  ReadSource source(is);
  Reader in(source);
  const auto size = in.get<std::uint8_t>();
  if (size < min || size > max) {
    refuse_size(std::string(1, static_cast<char>(size)), min, max);
  }
  std::string characters;
  in.get_characters(characters, size);
  text = std::move(characters);
}

}  // namespace qel::serialization
