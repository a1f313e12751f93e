#pragma once

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

namespace meshdump {

/// Thrown if an input cannot be opened or read to its end; the text names the input.
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Closes a file, but never standard input or output.
struct FileCloser {
  void operator()(std::FILE* file) const;
};
using File = std::unique_ptr<std::FILE, FileCloser>;

/// True if `path` is "-", which means standard input here and in the options.
bool is_standard_input(const std::string& path);

/// Throws InputError.
File open_input(const std::string& path);

/// True if the open file is a regular one and is also the file at `path`; there, "-" means standard output.
bool is_same_file(std::FILE* file, const std::string& path);

/// Makes an error with the text `what` for the input.
InputError input_error(const std::string& path, const std::string& what);

}  // namespace meshdump
