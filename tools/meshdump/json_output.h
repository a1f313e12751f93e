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

/// Writes one JSON object per line for each CMDU; meshdump(1) describes the keys.
class JsonOutput final : public Output {
 public:
  /// With `with_origin`, each object includes the file or interface.
  explicit JsonOutput(bool with_origin) : with_origin_(with_origin) {}

  void print(const Cmdu& cmdu, const Decoding& decoding, std::string& out) override;

  /// Returns one object on one line.
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
