#pragma once

#include <string>

#include "tools/meshdump/cmdu.h"
#include "tools/meshdump/decoder.h"

namespace meshdump {

/// A format for decoded and rejected CMDUs.
class Output {
 public:
  Output() = default;
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  virtual ~Output() = default;

  /// Appends complete lines to `out`.
  virtual void print(const Cmdu& cmdu, const Decoding& decoding, std::string& out) = 0;
};

}  // namespace meshdump
