#include "qel/ieee1905_1/link_metric_information.h"

#include <ostream>

#include "qel/core/enum_text.h"
#include "qel/core/serialization/record_impl.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText BRIDGE_FLAGS[] = {
    {0, "NO_IEEE802_1_BRIDGE"},
    {1, "INCLUDED_IEEE802_1_BRIDGE"},
    {255, "INVALID"},
};

}  // namespace

std::string enum_to_string(TransmitterLinkMetricBridgeFlags flags) { return enum_text(BRIDGE_FLAGS, flags); }
std::ostream& operator<<(std::ostream& os, TransmitterLinkMetricBridgeFlags flags) {
  return print_enum(os, BRIDGE_FLAGS, flags);
}

void TransmitterLinkMetricInformation::dbg_str(std::ostream& os) const {
  os << "TX LinkMetricInformation intfType: " << interface_type_ << " "
     << interface_mode_to_string(interface_type_, interface_mode_)  //
     << " IEEE802.1BridgeFlag: " << bridge_flag_                    //
     << " packetErrors: " << packet_errors_                         //
     << " transmittedPackets: " << transmitted_packets_             //
     << " macThroughputCapacity: " << mac_throughput_capacity_      //
     << " linkAvailability: " << link_availability_                 //
     << " phyRate: " << phy_rate_;
}

void ReceiverLinkMetricInformation::dbg_str(std::ostream& os) const {
  os << "RX LinkMetricInformation intfType: " << interface_type_ << " "
     << interface_mode_to_string(interface_type_, interface_mode_)  //
     << " packetErrors: " << packet_errors_                         //
     << " packetsReceived: " << packets_received_                   //
     << " rcpi: " << unsigned{RCPI_};
}

}  // namespace qel::ieee1905_1

template class qel::serialization::Record<qel::ieee1905_1::TransmitterLinkMetricInformation>;
template class qel::serialization::Record<qel::ieee1905_1::ReceiverLinkMetricInformation>;
