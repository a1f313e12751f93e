#include "tools/console.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

#include "tools/safe_text.h"

namespace tools {

namespace {

void check_written(bool is_written) {
  if (!is_written) {
    throw std::runtime_error(std::string("cannot write the output: ") + std::strerror(errno));
  }
}

}  // namespace

void complain(const char* program, std::string_view text) {
  std::fprintf(stderr, "%s: %s\n", program, for_terminal_line(text).c_str());
}

void write_output(std::string_view text) {
  check_written(std::fwrite(text.data(), 1, text.size(), stdout) == text.size());
}

void flush_output() { check_written(std::fflush(stdout) == 0); }

}  // namespace tools
