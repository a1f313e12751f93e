#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "tools/meshdump/cmdu.h"
#include "tools/meshdump/decoder.h"

namespace meshdump {

/// Counts messages by type, sender and refusal.
class Tally {
 public:
  void count(const Cmdu& cmdu, const Decoding& decoding);

  using Counts = std::map<std::string, std::uint64_t>;
  const Counts& types() const { return types_; }
  const Counts& senders() const { return senders_; }
  const Counts& refusals() const { return refusals_; }

  /// Three tables, the most frequent first.
  std::string text() const;

 private:
  Counts types_;     // by name or number; "NONE" for octets that end before it
  Counts senders_;   // by the source of the frame; empty for messages without one
  Counts refusals_;  // by the reason, of the messages that were rejected
};

}  // namespace meshdump
