#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "qel/core/export.h"

namespace qel::serialization {

/// What a uid identifies; JSON shows it as a prefix.
enum class UIDType : std::uint8_t {
  NODE = 0,            ///< "n-7"
  NODE_INTERFACE = 1,  ///< "ni-7"
  NODE_LINK = 2,       ///< "nl-7"
};

QEL_EXPORT std::string enum_to_string(UIDType type);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, UIDType type);

/// Returns "INVALID" for any other type.
QEL_EXPORT std::string uid_to_string(UIDType type, unsigned int uid);

/// Reads the decimal digits directly after the prefix, without a sign or blanks; text after the digits is ignored.
/// Throws SerializationException and leaves `uid` unchanged for an unknown type, for a text without this prefix and a
/// digit after it, and for a number too large for an unsigned int.
QEL_EXPORT void string_to_uid(UIDType type, const std::string& text, unsigned int& uid);

}  // namespace qel::serialization
