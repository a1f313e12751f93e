#pragma once

#include <chrono>
#include <string>

#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_context.h"
#include "tools/meshdump/output.h"

namespace meshdump {

enum class TimeMode {
  ABSOLUTE,  ///< UTC
  RELATIVE,  ///< since the first message shown
  DELTA      ///< since the previous message shown
};

struct TextStyle {
  TimeMode time = TimeMode::ABSOLUTE;
  bool color = false;   ///< escape sequences for a terminal
  bool origin = false;  ///< print the file or interface of each message
};

/// Prints a paragraph for each CMDU: its origin, then its debug text, or the reason why it was rejected and the parts
/// that could be decoded.
class TextOutput final : public Output {
 public:
  explicit TextOutput(const TextStyle& style) : style_(style) {}

  void print(const Cmdu& cmdu, const Decoding& decoding, std::string& out) override;

 private:
  std::string head_line(const Cmdu& cmdu);
  std::string time_text(std::chrono::microseconds time);

  TextStyle style_;
  bool first_ = true;
  std::chrono::microseconds reference_{};  // the base of relative times
  qel::serialization::MemoryOStream text_;
  qel::serialization::SerializationContext context_;
};

}  // namespace meshdump
