#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

struct shringbuf_reader;

namespace meshctl {

struct LogLine {
  std::int64_t time;   ///< microseconds since 1970-01-01T00:00:00Z
  std::uint32_t lost;  ///< parts of lines that were overwritten before they could be read
  std::string text;
};

/// Reads a daemon's log ring, even if the daemon was killed.
class LogReader {
 public:
  /// Throws std::runtime_error if the daemon has no ring, it cannot be read, or its owner is not trusted.
  explicit LogReader(const std::string& daemon);

  /// Returns nothing if there is no further line yet.
  std::optional<LogLine> next();

  /// False if no more lines will come.
  bool is_written() const;

 private:
  struct Closer {
    void operator()(shringbuf_reader* reader) const;
  };

  std::unique_ptr<shringbuf_reader, Closer> reader_;
  std::string buffer_;
};

/// Formats as 2026-11-21T04:15:00.123456Z.
std::string time_text(std::int64_t time);

}  // namespace meshctl
