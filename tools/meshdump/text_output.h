#pragma once

#include <chrono>
#include <string>

#include "qel/core/serialization/memory_stream.h"
#include "tools/meshdump/output.h"

namespace meshdump {

enum class TimeMode {
  ABSOLUTE,  ///< UTC
  RELATIVE,  ///< since the first message shown
  DELTA      ///< since the one shown before
};

struct TextStyle {
  TimeMode time = TimeMode::ABSOLUTE;
  bool color = false;   ///< escape sequences for a terminal
  bool origin = false;  ///< tell the file or the interface of each message
};

/// A paragraph for each CMDU: where it came from, then its debug text, or why it was rejected and what is understood of
/// it nonetheless.
class TextOutput final : public Output {
 public:
  explicit TextOutput(const TextStyle& style) : style_(style) {}

  void print(const Cmdu& cmdu, const Decoding& decoding, std::string& out) override;

 private:
  std::string head_line(const Cmdu& cmdu);
  std::string time_text(std::chrono::microseconds time);

  TextStyle style_;
  bool first_ = true;
  std::chrono::microseconds reference_{};  // what times are told from
  qel::serialization::MemoryOStream text_;
};

}  // namespace meshdump
