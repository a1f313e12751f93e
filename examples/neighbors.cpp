// Prints each neighbour in a topology response. The message is read from standard input in hexadecimal, without its
// Ethernet header:
//
//     example_neighbors < topology_response.hex
//
// TLVs that the library does not know are skipped, so the response of a newer device can be read too.

#include <cctype>
#include <cstdint>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "qel/core/serialization/serialization_context.h"
#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee1905_1/device_information_tlv.h"
#include "qel/ieee1905_1/lenient.h"
#include "qel/ieee1905_1/neighbor_tlvs.h"

namespace {

using namespace qel::ieee1905_1;

std::vector<std::uint8_t> read_hex(std::istream& in) {
  std::string digits;
  for (const char character : std::string(std::istreambuf_iterator<char>(in), {})) {
    if (std::isxdigit(static_cast<unsigned char>(character)) != 0) {
      digits += character;
    }
  }
  std::vector<std::uint8_t> octets;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    octets.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  }
  return octets;
}

}  // namespace

int main() {
  const std::vector<std::uint8_t> octets = read_hex(std::cin);
  qel::serialization::SerializationContext context;
  try {
    const LenientMessage response = decode_leniently(octets, context);
    if (const auto* device = response.message.find<DeviceInformationTLV>()) {
      std::cout << device->get_AL_MAC() << " has " << device->get_interface_information_vector().size()
                << " interfaces\n";
    }
    for (const auto& neighbors : response.message.all<IEEE1905NeighborDeviceTLV>()) {
      for (const auto& neighbor : neighbors.get_AL_MAC_neighbor_vector()) {
        std::cout << neighbors.get_local_MAC() << " -> " << neighbor.get_AL_MAC() << '\n';
      }
    }
    for (const LenientMessage::Entry& entry : response.entries) {
      if (entry.tlv == nullptr) {
        std::cout << "passed over: " << entry.raw.type << ", " << entry.raw.body.size() << " octets\n";
      }
    }
  } catch (const qel::serialization::SerializationException& error) {
    std::cerr << "no message: " << error.what() << '\n';
    return 1;
  }
}
