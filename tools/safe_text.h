#pragma once

#include <string>
#include <string_view>

namespace tools {

/// The text with U+FFFD in place of each maximal run of octets that begins no valid UTF-8 character (The Unicode
/// Standard, 3.9).
std::string to_utf8(std::string_view octets);

/// The same, fit to be shown on a terminal: control characters (C0, DEL and C1) are shown as \xNN, but line feeds and
/// tabs stay.
std::string for_terminal(std::string_view octets);

/// The same, with line feeds and tabs shown as \xNN too.
std::string for_terminal_line(std::string_view octets);

/// JSON with the control characters that it may hold as they are, DEL and C1, escaped in its own way.
std::string json_for_terminal(std::string_view json);

}  // namespace tools
