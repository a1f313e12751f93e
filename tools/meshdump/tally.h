#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "tools/meshdump/cmdu.h"
#include "tools/meshdump/decoder.h"

namespace meshdump {

/// Counts messages by type, sender and reason for rejection. Senders can invent any number of addresses, so a table has
/// at most MOST_ROWS names; all others are counted together as "OTHERS".
class Tally {
 public:
  static constexpr std::size_t MOST_ROWS = 1024;

  void count(const Cmdu& cmdu, const Decoding& decoding);

  using Counts = std::map<std::string, std::uint64_t>;
  const Counts& types() const { return types_; }
  const Counts& senders() const { return senders_; }
  const Counts& refusals() const { return refusals_; }

  /// Returns three tables, most frequent entries first.
  std::string text() const;

 private:
  Counts types_;     // by name or number; "NONE" if the octets end before the type
  Counts senders_;   // by source address of the frame; not counted for messages without one
  Counts refusals_;  // rejected messages by reason
};

}  // namespace meshdump
