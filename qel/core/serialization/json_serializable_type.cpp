#include "qel/core/serialization/json_serializable_type.h"

#include "qel/core/text.h"

namespace qel::serialization {

void JSONSerializableType<std::nullptr_t>::serialize(YAJLStream& stream, SerializationContext&, std::nullptr_t) {
  if (!stream.write_null()) {
    fail("Serialization of null failed");
  }
}

void JSONSerializableType<bool>::serialize(YAJLStream& stream, SerializationContext&, bool value) {
  if (!stream.write_bool(value)) {
    fail("Serialization of bool failed");
  }
}

void JSONSerializableType<std::string>::serialize(YAJLStream& stream, SerializationContext&, const std::string& value) {
  if (!stream.write_string(value)) {
    fail("Serialization of std::string failed");
  }
}

void JSONSerializableType<MACAddress>::serialize(YAJLStream& stream, SerializationContext&, const MACAddress& value) {
  if (!stream.write_string(value.to_string())) {
    fail("Serialization of MACAddress failed");
  }
}

void JSONSerializableType<plc::NID>::serialize(YAJLStream& stream, SerializationContext&, const plc::NID& value) {
  if (!stream.write_string(to_string(value))) {
    fail("Serialization of plc::NID failed");
  }
}

}  // namespace qel::serialization
