#pragma once

#include <iosfwd>
#include <string>

#include "qel/core/export.h"

namespace qel {

/// The number of a firmware build type; 0 if it is unknown.
enum class GUBuildType : int {};

///@{
/// Returns the decimal number; build types have no names.
QEL_EXPORT std::string enum_to_string(GUBuildType type);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, GUBuildType type);
///@}

/// True for 1, 2, 3, 998 and 1000 to 1007.
QEL_EXPORT bool is_valid(GUBuildType type);

/// Returns the value of the environment variable CONFIG_BUILDTYPE if it begins with a valid number, otherwise 0. The
/// variable is read once per process.
QEL_EXPORT GUBuildType get_build_type();

/// True for build types 1, 2 and 1000 to 1007.
QEL_EXPORT bool is_production_release();

}  // namespace qel
