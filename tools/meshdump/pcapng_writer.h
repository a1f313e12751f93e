#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tools/meshdump/captured_frame.h"
#include "tools/meshdump/input.h"

namespace meshdump {

/// Writes frames of one link type as a pcapng capture, each with a comment (draft-ietf-opsawg-pcapng).
class PcapngWriter {
 public:
  /// Replaces any file at `path`; "-" is standard output. Throws std::runtime_error.
  explicit PcapngWriter(const std::string& path);

  /// Throws std::runtime_error.
  void write(const CapturedFrame& frame, const std::string& comment);
  void flush();

 private:
  std::uint32_t interface_of(const CapturedFrame& frame);
  void write(const std::vector<std::uint8_t>& block);
  void check(bool succeeded) const;

  std::string path_;
  File file_;
  std::map<std::string, std::uint32_t, std::less<>> interfaces_;  // numbers of those described so far
};

}  // namespace meshdump
