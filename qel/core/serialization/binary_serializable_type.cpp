#include "qel/core/serialization/binary_serializable_type.h"

#include "qel/core/serialization/serialization_exception.h"

namespace qel::serialization {

namespace {

std::span<const std::uint8_t> octets_of(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace

void BinarySerializableType<std::string>::serialize(std::ostream& os, SerializationContext&, const std::string& value) {
  if (!value.empty()) {
    write_octets(os, octets_of(value), PRIMITIVE_ENDS<std::uint8_t>);
  }
}

void BinarySerializableType<std::string>::deserialize(std::istream&, SerializationContext&, std::string&) {
  fail("Raw deserialization of std::string not supported!");
}

void BinarySerializableType<std::stringstream>::serialize(std::ostream& os, SerializationContext&,
                                                          const std::stringstream& value) {
  const std::string_view content = value.view();
  if (content.empty()) {
    os.setstate(std::ios_base::failbit);
    fail(detail::STRINGSTREAM_TEXTS.serialize);
  }
  constexpr PrimitiveEnd WHOLE{1, &detail::STRINGSTREAM_TEXTS};
  write_octets(os, octets_of(content), {&WHOLE, 1});
}

void BinarySerializableType<std::stringstream>::deserialize(std::istream&, SerializationContext&, std::stringstream&) {
  fail(detail::STRINGSTREAM_TEXTS.deserialize);
}

}  // namespace qel::serialization
