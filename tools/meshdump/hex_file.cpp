#include "tools/meshdump/hex_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <utility>
#include <vector>

namespace meshdump {

namespace {

/// Reads a line without its newline; false if there are no more.
bool read_line(std::FILE* file, std::string& line) {
  line.clear();
  int character = std::getc(file);
  const bool any = character != EOF;
  while (character != EOF && character != '\n') {
    line += static_cast<char>(character);
    character = std::getc(file);
  }
  return any;
}

}  // namespace

HexFile::HexFile(const std::string& path) : path_(path), file_(open_input(path)) {
  if (is_standard_input(path)) {
    return;
  }
  std::vector<HexLine> lines;
  while (std::optional<HexLine> line = read()) {
    lines.push_back(std::move(*line));
  }
  if (std::optional<HexLine> joined = join_wrapped_lines(lines)) {
    ready_.push_back(std::move(*joined));
  } else {
    ready_.assign(std::make_move_iterator(lines.begin()), std::make_move_iterator(lines.end()));
  }
}

std::optional<HexLine> HexFile::next() {
  if (is_standard_input(path_)) {
    return read();
  }
  if (ready_.empty()) {
    return std::nullopt;
  }
  HexLine line = std::move(ready_.front());
  ready_.pop_front();
  return line;
}

std::optional<HexLine> HexFile::read() {
  std::string text;
  while (read_line(file_.get(), text)) {
    if (std::optional<HexLine> line = parse_hex_line(text, ++line_number_)) {
      return line;
    }
  }
  if (std::ferror(file_.get()) != 0) {
    throw input_error(path_, std::strerror(errno));
  }
  return std::nullopt;
}

}  // namespace meshdump
