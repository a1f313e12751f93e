#include "qel/ieee1905_1/link_metric_information.h"

#include <ostream>

#include "qel/core/enum_text.h"
#include "qel/core/serialization/record_impl.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText BRIDGE_FLAGS[] = {
    {TransmitterLinkMetricBridgeFlags::NO_IEEE802_1_BRIDGE, "NO_IEEE802_1_BRIDGE"},
    {TransmitterLinkMetricBridgeFlags::INCLUDED_IEEE802_1_BRIDGE, "INCLUDED_IEEE802_1_BRIDGE"},
    {TransmitterLinkMetricBridgeFlags::INVALID, "INVALID"},
};

}  // namespace

std::string enum_to_string(TransmitterLinkMetricBridgeFlags flags) { return enum_text(BRIDGE_FLAGS, flags); }
std::ostream& operator<<(std::ostream& os, TransmitterLinkMetricBridgeFlags flags) {
  return print_enum(os, BRIDGE_FLAGS, flags);
}

void TransmitterLinkMetricInformation::dbg_str(std::ostream& os) const {
  os << "TX LinkMetricInformation intfType: " << interface_type_ << " "
     << interface_mode_to_string(interface_type_, interface_mode_)       //
     << " IEEE802.1BridgeFlag: " << bridge_flag_                         //
     << " packetErrors: " << Decimal(packet_errors_)                     //
     << " transmittedPackets: " << Decimal(transmitted_packets_)         //
     << " macThroughputCapacity: " << Decimal(mac_throughput_capacity_)  //
     << " linkAvailability: " << Decimal(link_availability_)             //
     << " phyRate: " << Decimal(phy_rate_);
}

void ReceiverLinkMetricInformation::dbg_str(std::ostream& os) const {
  os << "RX LinkMetricInformation intfType: " << interface_type_ << " "
     << interface_mode_to_string(interface_type_, interface_mode_)  //
     << " packetErrors: " << Decimal(packet_errors_)                //
     << " packetsReceived: " << Decimal(packets_received_)          //
     << " rcpi: " << Decimal(RCPI_);
}

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::TransmitterLinkMetricInformation>::codec();
template const Codec& Record<ieee1905_1::ReceiverLinkMetricInformation>::codec();
}  // namespace qel::serialization
