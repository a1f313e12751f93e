#pragma once

#include <string>

#include "qel/core/export.h"

namespace qel::serialization {

/// Escapes quotation mark, backslash, backspace, form feed, line feed, carriage return, tab and NUL with a backslash;
/// NUL becomes `\0`. Everything else, including other control characters, stays unchanged.
QEL_EXPORT std::string json_string_escape(const std::string& text);

/// Reverses json_string_escape, except that `\0` is removed. `\uXXXX` stays unchanged. A backslash before any other
/// character is dropped; one at the end of the text stays.
QEL_EXPORT std::string json_string_unescape(const std::string& text);

}  // namespace qel::serialization
