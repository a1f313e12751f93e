// Encodes a message, decodes it again, and meets one that cannot be decoded.

#include "qel/ieee1905_1/message.h"

#include <cstdint>
#include <iostream>
#include <memory>
#include <span>

#include "qel/core/mac_address.h"
#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee1905_1/framework_tlvs.h"

namespace {

using namespace qel::ieee1905_1;
using namespace qel::serialization;

/// What a device says of itself once a minute.
Message topology_discovery(const qel::MACAddress& device, const qel::MACAddress& interface) {
  Message message(
      MessageHead(MessageVersion::IEEE1905_1, MessageType::TOPOLOGY_DISCOVERY_MESSAGE, 4660, 0, true, false));
  MessageList& list = message.get_list();
  list.add_TLV(std::make_unique<MACAddressTLVCommon<TLVType::AL_MAC_ADDRESS>>(device));
  list.add_TLV(std::make_unique<MACAddressTLVCommon<TLVType::MAC_ADDRESS>>(interface));
  list.add_TLV(std::make_unique<EndOfMessageTLV>());
  return message;
}

/// Whatever the octets are: a message is printed, or the reason why there is none.
void print(std::span<const std::uint8_t> octets, SerializationContext& context) {
  MemoryIStream in(octets);  // reads them where they are
  Message message;
  try {
    message.deserialize_impl(in, context);
    std::cout << message << '\n';
  } catch (const SerializationException& error) {
    std::cout << "dropped: " << error.what() << '\n';
  }
}

}  // namespace

int main() {
  SerializationContext context;  // one for all messages
  MemoryOStream out;
  topology_discovery({{0x02, 0x19, 0x05, 0xAA, 0x00, 0x01}}, {{0x02, 0x19, 0x05, 0xAA, 0x01, 0x02}})
      .serialize_impl(out, context);
  std::cout << out.octets().size() << " octets\n";

  print(out.octets(), context);
  print(out.octets().first(20), context);  // the second address is cut off
}
