#pragma once

#include <cstddef>
#include <string>

#include "tools/meshdump/cmdu.h"
#include "tools/meshdump/decoder.h"

namespace meshdump {

/// What was met in one run.
class Summary {
 public:
  void count(const Cmdu& cmdu, const Decoding& decoding);
  void count_filtered_out() { ++filtered_out_; }
  void count_skipped_frame() { ++skipped_frames_; }
  void count_bad_line() { ++bad_lines_; }
  void count_fragment() { ++fragments_; }
  /// Messages of which fragments were missing.
  void set_incomplete(std::uint64_t messages) { incomplete_ = messages; }

  /// Some message was rejected or remained incomplete.
  bool any_fault() const { return rejected_ != 0 || incomplete_ != 0; }

  /// One line without its end. The re-encoding is left out unless it was asked for; so are fragments, frames, lines and
  /// filtered CMDUs when there were none.
  std::string text(bool reencode) const;

 private:
  std::size_t decoded_ = 0;
  std::size_t rejected_ = 0;
  std::size_t reproduced_ = 0;
  std::size_t differ_ = 0;
  std::size_t not_encodable_ = 0;
  std::size_t skipped_frames_ = 0;
  std::size_t bad_lines_ = 0;
  std::size_t filtered_out_ = 0;
  std::size_t fragments_ = 0;
  std::uint64_t incomplete_ = 0;
};

}  // namespace meshdump
