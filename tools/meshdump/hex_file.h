#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>

#include "tools/meshdump/hex_text.h"
#include "tools/meshdump/input.h"

namespace meshdump {

/// Reads CMDUs in hexadecimal, one in a line. A named file that holds a single CMDU wrapped over its lines counts as
/// one line; standard input is read line by line as it comes.
class HexFile {
 public:
  /// Throws InputError for a file that cannot be opened or read.
  explicit HexFile(const std::string& path);

  /// Returns nothing at the end. Lines that are not hexadecimal are returned with their error. Throws InputError.
  std::optional<HexLine> next();

 private:
  std::optional<HexLine> read();

  std::string path_;
  File file_;
  std::size_t line_number_ = 0;
  std::deque<HexLine> ready_;  // the lines of a named file
};

}  // namespace meshdump
