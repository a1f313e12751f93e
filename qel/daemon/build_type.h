#pragma once

#include <iosfwd>
#include <string>

#include "qel/core/export.h"

namespace qel {

/// The number under which a firmware was built; 0 when it is not known.
enum class GUBuildType : int {};

///@{
/// Its decimal number; there are no names.
QEL_EXPORT std::string enum_to_string(GUBuildType type);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, GUBuildType type);
///@}

/// 1, 2, 3, 998 and 1000 to 1007.
QEL_EXPORT bool is_valid(GUBuildType type);

/// The environment variable CONFIG_BUILDTYPE when it begins with a valid number, else 0. Read once per process.
QEL_EXPORT GUBuildType get_build_type();

/// Whether the build type is 1, 2 or 1000 to 1007.
QEL_EXPORT bool is_production_release();

}  // namespace qel
