#pragma once

#include <string>
#include <string_view>

namespace tools {

/// Replaces each maximal run of octets that is not the beginning of a valid UTF-8 character with U+FFFD (the Unicode
/// Standard, 3.9).
std::string to_utf8(std::string_view octets);

/// Also makes the text safe for a terminal: control characters (C0, DEL and C1) other than line feed and tab are shown
/// as \xNN.
std::string for_terminal(std::string_view octets);

/// As above, but line feeds and tabs are also shown as \xNN.
std::string for_terminal_line(std::string_view octets);

/// Escapes the control characters that JSON permits unescaped, DEL and C1.
std::string json_for_terminal(std::string_view json);

/// The same for a piece of JSON that ends between two characters.
void append_json_for_terminal(std::string& text, std::string_view json);

}  // namespace tools
