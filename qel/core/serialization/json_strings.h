#pragma once

#include <string>

#include "qel/core/export.h"

namespace qel::serialization {

/// Puts a backslash form in place of quotation mark, backslash, backspace, form feed, line feed, carriage return, tab
/// and NUL, the latter as \0. Everything else, the other control characters included, stays as it is.
QEL_EXPORT std::string json_string_escape(const std::string& text);

/// Undoes json_string_escape, except that a \0 vanishes. \uXXXX stays as it is, a backslash before any other character
/// is dropped, one at the end of the text stays.
QEL_EXPORT std::string json_string_unescape(const std::string& text);

}  // namespace qel::serialization
