#include "qel/ieee802_11/rsn_element.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "fuzz/round_trip.h"
#include "qel/ieee802_11/security_mapping.h"

/// Decodes any octets as an RSN element. A decoded element must encode to the same octets except for the version, and
/// must map to one security mode, which has an element of its own unless it is UNDEFINED.

using qel::WLANSecurity;
using qel::fuzz::require;
using qel::ieee802_11::IEEE802_11_RSNElement;
using qel::ieee802_11::security_from_rsn_element;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto rsn = qel::fuzz::round_trip<IEEE802_11_RSNElement>(
      {data, size}, [](std::ostream& os, const IEEE802_11_RSNElement& element) {
        os << element << security_from_rsn_element(element);
      });
  if (rsn == nullptr) {
    return 0;
  }
  constexpr std::size_t VERSION_END = 4;
  qel::serialization::MemoryOStream encoded;
  require(qel::fuzz::encode(encoded, *rsn).empty(), "what was decoded can be encoded");
  const std::span<const std::uint8_t> octets = encoded.octets();
  require(octets.size() <= size && std::equal(octets.begin() + VERSION_END, octets.end(), data + VERSION_END),
          "an element is encoded as it came");

  const WLANSecurity security = security_from_rsn_element(*rsn);
  const auto own = qel::ieee802_11::create_rsn_element_from_security(security);
  require(security_from_rsn_element(*own) == security, "the element of a mode stands for that mode");
  return 0;
}
