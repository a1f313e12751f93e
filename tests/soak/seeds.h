#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace soak {

using Octets = std::vector<std::uint8_t>;

/// Whole frames to make traffic of, from the corpus of the fuzzer and the captures.
struct Seeds {
  std::vector<Octets> well_formed;           ///< whole messages that the library decodes
  std::vector<Octets> others;                ///< the rest
  std::vector<std::uint16_t> message_types;  ///< all that have a name
  std::set<unsigned int> tlv_types;          ///< in the well-formed ones: all that have a class
  std::set<unsigned int> payload_types;      ///< the same of our vendor TLVs
};

/// `source` sends what comes from the corpus; frames of the captures keep theirs. Throws std::runtime_error, also when
/// the library refuses a file of the corpus that is well-formed, or no well-formed frame has a TLV of some class.
Seeds read_seeds(const std::string& test_data, const Octets& source);

}  // namespace soak
