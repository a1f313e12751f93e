#include "qel/core/serialization/uid.h"

#include <charconv>
#include <string_view>
#include <system_error>

#include "qel/core/enum_text.h"
#include "qel/core/serialization/serialization_exception.h"

namespace qel::serialization {

namespace {

constexpr EnumText TYPES[] = {
    {UIDType::NODE, "NODE"},
    {UIDType::NODE_INTERFACE, "NODE_INTERFACE"},
    {UIDType::NODE_LINK, "NODE_LINK"},
};

/// The text before the number; empty for any other type.
std::string_view prefix_of(UIDType type) {
  switch (type) {
    case UIDType::NODE:
      return "n-";
    case UIDType::NODE_INTERFACE:
      return "ni-";
    case UIDType::NODE_LINK:
      return "nl-";
  }
  return {};
}

}  // namespace

std::string enum_to_string(UIDType type) { return enum_text(TYPES, type); }
std::ostream& operator<<(std::ostream& os, UIDType type) { return print_enum(os, TYPES, type); }

std::string uid_to_string(UIDType type, unsigned int uid) {
  const std::string_view prefix = prefix_of(type);
  return prefix.empty() ? "INVALID" : std::string(prefix) + std::to_string(uid);
}

void string_to_uid(UIDType type, const std::string& text, unsigned int& uid) {
  const std::string_view prefix = prefix_of(type);
  if (prefix.empty()) {
    throw SerializationException("Could not convert string to uid, wrong type: " +
                                 std::to_string(static_cast<unsigned int>(type)));
  }
  unsigned int number = 0;
  if (!text.starts_with(prefix) ||
      std::from_chars(text.data() + prefix.size(), text.data() + text.size(), number).ec != std::errc()) {
    throw SerializationException("Could not convert string to uid, failed scan of string: \"" + text + '"');
  }
  uid = number;
}

}  // namespace qel::serialization
