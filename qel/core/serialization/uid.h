#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "qel/core/export.h"

namespace qel::serialization {

/// What a uid names, told by its prefix in JSON.
enum class UIDType : std::uint8_t {
  NODE = 0,            ///< "n-7"
  NODE_INTERFACE = 1,  ///< "ni-7"
  NODE_LINK = 2,       ///< "nl-7"
};

QEL_EXPORT std::string enum_to_string(UIDType type);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, UIDType type);

/// "INVALID" for another type.
QEL_EXPORT std::string uid_to_string(UIDType type, unsigned int uid);

/// Takes the decimal digits right behind the prefix, neither sign nor blank before them; what follows the digits is
/// ignored. Throws SerializationException, and leaves `uid` alone, for another type, where no digit stands behind this
/// type's prefix, and for a number too large for an unsigned int.
QEL_EXPORT void string_to_uid(UIDType type, const std::string& text, unsigned int& uid);

}  // namespace qel::serialization
