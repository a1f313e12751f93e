#pragma once

#include <memory>
#include <string>

#include "qel/core/serialization/memory_stream.h"
#include "tools/meshdump/output.h"
#include "tools/meshdump/tally.h"

struct yajl_gen_t;

namespace meshdump {

/// One JSON object in one line for each CMDU; its keys are described in meshdump(1).
class JsonOutput final : public Output {
 public:
  /// With the origin each object tells the file or the interface.
  explicit JsonOutput(bool with_origin);
  ~JsonOutput() override;

  void print(const Cmdu& cmdu, const Decoding& decoding, std::string& out) override;

  /// One object in one line.
  std::string summary(const Tally& tally);

 private:
  void put_rejected(const Cmdu& cmdu, const Decoding& decoding);

  struct Free {
    void operator()(yajl_gen_t* generator) const;
  };

  bool with_origin_;
  std::string line_;
  std::unique_ptr<yajl_gen_t, Free> generator_;
  qel::serialization::MemoryOStream text_;
};

}  // namespace meshdump
