#pragma once

#include <string_view>

namespace tools {

/// Prints the name of the program and the text as one line on standard error. Control characters, as in a name that the
/// text quotes, are shown as \xNN.
void complain(const char* program, std::string_view text);

///@{
/// Standard output. Both throw std::runtime_error if it cannot be written.
void write_output(std::string_view text);
void flush_output();
///@}

}  // namespace tools
