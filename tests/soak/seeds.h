#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace soak {

using Octets = std::vector<std::uint8_t>;

/// Frames from which traffic is made, from the fuzzer's corpus and the captures.
struct Seeds {
  std::vector<Octets> well_formed;           ///< complete messages that the library decodes
  std::vector<Octets> others;                ///< all others
  std::vector<std::uint16_t> message_types;  ///< all that have a name
  std::set<unsigned int> tlv_types;          ///< in the well-formed frames: all that have a class
  std::set<unsigned int> payload_types;      ///< likewise for our vendor TLVs
};

/// Frames from the corpus get `source` as their source; frames of the captures keep their own. Throws
/// std::runtime_error, also if the library refuses a well-formed file of the corpus, or a class occurs in no
/// well-formed frame.
Seeds read_seeds(const std::string& test_data, const Octets& source);

}  // namespace soak
