#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_context.h"
#include "tools/meshdump/json_writer.h"
#include "tools/meshdump/output.h"
#include "tools/meshdump/tally.h"

namespace meshdump {

/// One JSON object in one line for each CMDU; its keys are described in meshdump(1).
class JsonOutput final : public Output {
 public:
  /// With the origin each object tells the file or the interface.
  explicit JsonOutput(bool with_origin) : with_origin_(with_origin) {}

  void print(const Cmdu& cmdu, const Decoding& decoding, std::string& out) override;

  /// One object in one line.
  std::string summary(const Tally& tally);

 private:
  void put_text_and_fields(const qel::ieee1905_1::TLV& tlv, std::span<const std::uint8_t> body);
  void put_rejected(const Cmdu& cmdu, const Decoding& decoding);

  bool with_origin_;
  JsonWriter json_;
  qel::serialization::MemoryOStream text_;
  qel::serialization::SerializationContext context_;
};

}  // namespace meshdump
