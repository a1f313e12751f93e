#pragma once

#include <memory>
#include <string>

#include "qel/ieee1905_1/tlv_factory.h"
#include "tests/support/golden.h"

namespace qel::ieee1905_1 {

/// The empty object of the class that the first octet calls for.
inline std::unique_ptr<TLV> blank_tlv(const test::Octets& wire) { return create_TLV(TLVType(wire[0])); }

inline auto decode_tlv(const test::Octets& wire) {
  return test::decode(wire, [&] { return blank_tlv(wire); });
}

/// Encoding fails with the text and leaves nothing in the output; or, for an empty text, it gives octets that decode to
/// the same TLV.
inline void check_limit(const TLV& tlv, const std::string& refused) {
  const test::Written result = test::encode(tlv);
  EXPECT_EQ(result.refused, refused);
  EXPECT_EQ(result.octets.empty(), !refused.empty());
  if (result.refused.empty()) {
    const test::Octets wire = test::octets(result.octets);
    EXPECT_EQ(wire[1] << 8 | wire[2], static_cast<int>(wire.size()) - 3);
    EXPECT_TRUE(*decode_tlv(wire).object == tlv);
  }
}

/// The octets decode to a TLV that does not encode.
inline void check_decodes_only(const std::string& octets, const std::string& refused) {
  const auto decoded = decode_tlv(test::octets(octets));
  EXPECT_EQ(decoded.outcome.refused, "");
  check_limit(*decoded.object, refused);
}

}  // namespace qel::ieee1905_1
