#include "tools/meshdump/input.h"

#include <sys/stat.h>
#include <unistd.h>

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

bool is_same_file(std::FILE* file, const std::string& path) {
  struct stat left {};
  struct stat right {};
  const int status = path == "-" ? fstat(STDOUT_FILENO, &right) : stat(path.c_str(), &right);
  return status == 0 && fstat(fileno(file), &left) == 0 && S_ISREG(left.st_mode) && left.st_dev == right.st_dev &&
         left.st_ino == right.st_ino;
}

InputError input_error(const std::string& path, const std::string& what) {
  return InputError((is_standard_input(path) ? "standard input" : path) + ": " + what);
}

}  // namespace meshdump
