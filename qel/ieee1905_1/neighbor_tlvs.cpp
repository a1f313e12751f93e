#include "qel/ieee1905_1/neighbor_tlvs.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/table_tlv_impl.h"

namespace qel::ieee1905_1 {

namespace {

const char* bridge_text(IEEE802_1_Bridge bridge) {
  switch (bridge) {
    case IEEE802_1_Bridge::IEEE802_1_BRIDGE:
      return "IEEE802_1_BRIDGE";
    case IEEE802_1_Bridge::INVALID:
      return "INVALID";
    default:
      return "NO_IEEE802_1_BRIDGE";
  }
}

}  // namespace

std::string enum_to_string(IEEE802_1_Bridge bridge) { return bridge_text(bridge); }
std::ostream& operator<<(std::ostream& os, IEEE802_1_Bridge bridge) { return os << bridge_text(bridge); }

void DeviceBridgingTuple::dbg_str(std::ostream& os) const {
  const char* separator = "";
  for (const MACAddress& mac : mac_address_vector_) {
    os << separator << mac;
    separator = " ";
  }
}

template const serialization::Codec& TableOf<DeviceBridgingCapabilityTLV>::codec();
template const serialization::Codec& TableOf<NonIEEE1905NeighborDeviceListTLV>::codec();
template const serialization::Codec& TableOf<IEEE1905NeighborDeviceTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::DeviceBridgingTuple>::codec();
template const Codec& Record<ieee1905_1::ALMAC19051Neighbor>::codec();
}  // namespace qel::serialization
