#include "qel/core/serialization/uid.h"

#include <cstdio>
#include <limits>

#include "qel/core/enum_text.h"
#include "qel/core/serialization/serialization_exception.h"

namespace qel::serialization {

namespace {

constexpr EnumText TYPES[] = {
    {static_cast<std::uint16_t>(UIDType::NODE), "NODE"},
    {static_cast<std::uint16_t>(UIDType::NODE_INTERFACE), "NODE_INTERFACE"},
    {static_cast<std::uint16_t>(UIDType::NODE_LINK), "NODE_LINK"},
};

}  // namespace

std::string enum_to_string(UIDType type) { return enum_text(TYPES, type); }
std::ostream& operator<<(std::ostream& os, UIDType type) { return print_enum(os, TYPES, type); }

std::string uid_to_string(UIDType type, unsigned int uid) {
  char text[18];
  switch (type) {
    case UIDType::NODE:
      std::snprintf(text, sizeof(text), "n-%u", uid);
      return text;
    case UIDType::NODE_INTERFACE:
      std::snprintf(text, sizeof(text), "ni-%u", uid);
      return text;
    case UIDType::NODE_LINK:
      std::snprintf(text, sizeof(text), "nl-%u", uid);
      return text;
  }
  return "INVALID";
}

void string_to_uid(UIDType type, const std::string& text, unsigned int& uid) {
  unsigned long long number = 0;
  int converted = 0;
  switch (type) {
    case UIDType::NODE:
      converted = std::sscanf(text.c_str(), "n-%llu", &number);
      break;
    case UIDType::NODE_INTERFACE:
      converted = std::sscanf(text.c_str(), "ni-%llu", &number);
      break;
    case UIDType::NODE_LINK:
      converted = std::sscanf(text.c_str(), "nl-%llu", &number);
      break;
    default:
      throw SerializationException("Could not convert string to uid, wrong type: " +
                                   std::to_string(static_cast<unsigned int>(type)));
  }
  if (converted != 1 || number > std::numeric_limits<unsigned int>::max()) {
    throw SerializationException("Could not convert string to uid, failed scan of string: \"" + text + '"');
  }
  uid = static_cast<unsigned int>(number);
}

}  // namespace qel::serialization
