#pragma once

#include <string>

#include "qel/core/serialization/memory_stream.h"
#include "tools/meshdump/output.h"

namespace meshdump {

/// A paragraph for each CMDU: where it came from, then its debug text or why it was rejected.
class TextOutput final : public Output {
 public:
  void print(const Cmdu& cmdu, const Decoding& decoding, std::string& out) override;

 private:
  bool first_ = true;
  qel::serialization::MemoryOStream text_;
};

}  // namespace meshdump
