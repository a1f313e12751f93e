#include "tools/meshdump/input.h"

#include <cerrno>
#include <cstring>

namespace meshdump {

void FileCloser::operator()(std::FILE* file) const {
  if (file != stdin && file != stdout) {
    std::fclose(file);
  }
}

bool is_standard_input(const std::string& path) { return path == "-"; }

File open_input(const std::string& path) {
  if (is_standard_input(path)) {
    return File(stdin);
  }
  File file(std::fopen(path.c_str(), "rb"));
  if (file == nullptr) {
    throw input_error(path, std::strerror(errno));
  }
  return file;
}

InputError input_error(const std::string& path, const std::string& what) {
  return InputError((is_standard_input(path) ? "standard input" : path) + ": " + what);
}

}  // namespace meshdump
