#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace soak {

using Octets = std::vector<std::uint8_t>;

/// Frames from which traffic is made, from the fuzzer's corpus and the captures; a test of meshdump checks that the
/// corpus has every class.
struct Seeds {
  std::vector<Octets> well_formed;           ///< complete messages that the library decodes
  std::vector<Octets> others;                ///< all others
  std::vector<std::uint16_t> message_types;  ///< all that have a name
};

/// Frames from the corpus get `source` as their source; frames of the captures keep their own. Throws
/// std::runtime_error if there are none.
Seeds read_seeds(const std::string& test_data, const Octets& source);

}  // namespace soak
