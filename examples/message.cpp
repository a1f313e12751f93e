// Encodes a message, decodes it again, and tries to decode an incomplete one.

#include "qel/ieee1905_1/message.h"

#include <cstdint>
#include <iostream>
#include <span>

#include "qel/core/mac_address.h"
#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/message_builder.h"

namespace {

using namespace qel::ieee1905_1;
using namespace qel::serialization;

/// What a device announces about itself once a minute.
Message topology_discovery(const qel::MACAddress& device, const qel::MACAddress& interface) {
  return make_message(MessageType::TOPOLOGY_DISCOVERY_MESSAGE, 4660, ALMACAddressTLV(device),
                      InterfaceMACAddressTLV(interface));
}

/// For any octets, prints the message or the reason why they are not one.
void print(std::span<const std::uint8_t> octets, SerializationContext& context) {
  try {
    std::cout << decode(octets, context) << '\n';
  } catch (const DecodeException& error) {
    std::cout << "dropped: " << error.what() << ' ' << error.place() << '\n';
  }
}

}  // namespace

int main() {
  SerializationContext context;  // one for all messages
  MemoryOStream out;
  encode(topology_discovery({{0x02, 0x19, 0x05, 0xAA, 0x00, 0x01}}, {{0x02, 0x19, 0x05, 0xAA, 0x01, 0x02}}), out,
         context);
  std::cout << out.octets().size() << " octets\n";

  print(out.octets(), context);
  print(out.octets().first(20), context);  // the second address is cut off
}
