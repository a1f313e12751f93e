// Answers a topology query as the device 02:19:05:AA:00:01 with one interface: decodes the query, builds the response
// with the same identifier, and splits it into fragments that fit a frame.

#include <cstdint>
#include <iostream>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/ieee1905_1/device_information_tlv.h"
#include "qel/ieee1905_1/fragmenter.h"
#include "qel/ieee1905_1/message_builder.h"
#include "qel/ieee1905_1/neighbor_tlvs.h"

namespace {

using namespace qel::ieee1905_1;

const qel::MACAddress OWN_AL_MAC({0x02, 0x19, 0x05, 0xAA, 0x00, 0x01});
const qel::MACAddress OWN_INTERFACE({0x02, 0x19, 0x05, 0x00, 0x01, 0x01});
const qel::MACAddress NEIGHBOR({0x02, 0x19, 0x05, 0xAA, 0x00, 0x02});

Message topology_response(std::uint16_t message_id) {
  DeviceInformationTLV device(OWN_AL_MAC);
  InterfaceInformation interface;
  interface.set_mac(OWN_INTERFACE);
  device.add_interface_information(interface);

  IEEE1905NeighborDeviceTLV neighbors(OWN_INTERFACE);
  neighbors.add_AL_MAC_neighbor({NEIGHBOR, IEEE802_1_Bridge::NO_IEEE802_1_BRIDGE});

  return make_message(MessageType::TOPOLOGY_RESPONSE_MESSAGE, message_id, device, neighbors);
}

}  // namespace

int main() {
  const std::vector<std::uint8_t> received = {0x00, 0x00, 0x00, 0x02, 0x12, 0x34, 0x00, 0x80, 0x00, 0x00, 0x00};
  qel::serialization::SerializationContext context;
  Fragmenter fragmenter;
  try {
    const Message query = decode(received, context);
    if (query.get_head().get_message_type() != MessageType::TOPOLOGY_QUERY_MESSAGE) {
      return 1;
    }
    const Message response = topology_response(query.get_head().get_message_id());
    std::cout << response << '\n';
    for (const auto cmdu : fragmenter.split(response, context)) {
      std::cout << "a frame of " << cmdu.size() << " octets behind its Ethernet header\n";
    }
  } catch (const DecodeException& error) {
    std::cerr << "dropped: " << error.what() << ' ' << error.place() << '\n';
    return 1;
  }
}
