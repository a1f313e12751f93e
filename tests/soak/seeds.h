#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace soak {

using Octets = std::vector<std::uint8_t>;

/// Whole frames to make traffic of, from the corpus of the fuzzer and the captures.
struct Seeds {
  std::vector<Octets> well_formed;       ///< whole messages that the library decodes
  std::vector<Octets> others;            ///< the rest of the corpus
  std::set<unsigned int> message_types;  ///< of the well-formed ones
  std::set<unsigned int> tlv_types;
};

/// `source` sends what comes from the corpus; frames of the captures keep theirs. Throws std::runtime_error.
Seeds read_seeds(const std::string& test_data, const Octets& source);

}  // namespace soak
