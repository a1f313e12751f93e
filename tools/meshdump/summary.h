#pragma once

#include <cstddef>
#include <string>

#include "tools/meshdump/cmdu.h"
#include "tools/meshdump/decoder.h"

namespace meshdump {

/// Counts the results of a run.
class Summary {
 public:
  void count(const Cmdu& cmdu, const Decoding& decoding);
  void count_filtered_out() { ++filtered_out_; }
  void count_skipped_frame() { ++skipped_frames_; }
  void count_bad_line() { ++bad_lines_; }
  void count_fragment() { ++fragments_; }
  void count_incomplete(std::uint64_t messages) { incomplete_ += messages; }

  /// True if a message was rejected or incomplete.
  bool any_fault() const { return rejected_ != 0 || incomplete_ != 0; }

  /// Returns one line without its newline. Re-encoded messages are mentioned only if `reencode` is set; fragments,
  /// frames, lines and filtered messages only if there were any.
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
