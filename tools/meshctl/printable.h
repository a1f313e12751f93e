#pragma once

#include <string>
#include <string_view>

namespace meshctl {

/// The text with control characters as \xNN, so that what a daemon was told by others cannot command the terminal.
/// Octets above 127 stay; line feeds and tabs stay when `keep_lines` is set.
std::string printable(std::string_view text, bool keep_lines = false);

}  // namespace meshctl
