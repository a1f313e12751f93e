#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

struct shringbuf_reader;

namespace meshctl {

struct LogLine {
  std::int64_t time;   ///< microseconds since 1970-01-01T00:00:00Z
  std::uint32_t lost;  ///< how many parts of lines were overwritten before this one could be read
  std::string text;
};

/// Reads a daemon's log ring, also one that a daemon left behind when it was killed.
class LogReader {
 public:
  /// Throws std::runtime_error when the daemon has no ring, it may not be read, or it is the ring of somebody who is
  /// not to be believed.
  explicit LogReader(const std::string& daemon);

  /// Nothing when there is none yet.
  std::optional<LogLine> next();

  /// False when nothing more will come.
  bool is_written() const;

 private:
  struct Closer {
    void operator()(shringbuf_reader* reader) const;
  };

  std::unique_ptr<shringbuf_reader, Closer> reader_;
  std::string buffer_;
};

/// As in 2026-11-21T04:15:00.123456Z.
std::string time_text(std::int64_t time);

}  // namespace meshctl
