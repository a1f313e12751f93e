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

template const serialization::Codec&
TableTLV<DeviceBridgingCapabilityTLV, TLVType::DEVICE_BRIDGING_CAPABILITY>::codec();
template const serialization::Codec&
TableTLV<NonIEEE1905NeighborDeviceListTLV, TLVType::NON_IEEE1905_NEIGHBOR_DEVICE_LIST>::codec();
template const serialization::Codec& TableTLV<IEEE1905NeighborDeviceTLV, TLVType::IEEE1905_NEIGHBOR_DEVICE>::codec();

}  // namespace qel::ieee1905_1

template const qel::serialization::Codec& qel::serialization::Record<qel::ieee1905_1::DeviceBridgingTuple>::codec();
template const qel::serialization::Codec& qel::serialization::Record<qel::ieee1905_1::ALMAC19051Neighbor>::codec();
