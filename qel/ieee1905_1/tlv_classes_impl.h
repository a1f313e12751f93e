#pragma once

#include <tuple>

#include "qel/ieee1905_1/ap_capability_tlvs.h"
#include "qel/ieee1905_1/ap_he_capabilities_tlv.h"
#include "qel/ieee1905_1/ap_phy_capabilities_tlvs.h"
#include "qel/ieee1905_1/autoconfiguration_tlvs.h"
#include "qel/ieee1905_1/backhaul_steering_tlvs.h"
#include "qel/ieee1905_1/beacon_metrics_tlvs.h"
#include "qel/ieee1905_1/bss_tlvs.h"
#include "qel/ieee1905_1/channel_preference_tlvs.h"
#include "qel/ieee1905_1/client_association_control_tlv.h"
#include "qel/ieee1905_1/client_tlvs.h"
#include "qel/ieee1905_1/device_identification_tlv.h"
#include "qel/ieee1905_1/device_information_tlv.h"
#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/link_metric_tlvs.h"
#include "qel/ieee1905_1/metrics_tlvs.h"
#include "qel/ieee1905_1/neighbor_tlvs.h"
#include "qel/ieee1905_1/operating_channel_tlvs.h"
#include "qel/ieee1905_1/service_tlvs.h"
#include "qel/ieee1905_1/steering_policy_tlvs.h"
#include "qel/ieee1905_1/steering_tlvs.h"
#include "qel/ieee1905_1/unassociated_sta_tlvs.h"
#include "qel/ieee1905_1/vendor/vendor_specific_tlv.h"

namespace qel::ieee1905_1 {

/// The class of each TLV type that has one, for the factory and for tools that need every class.
using TLVClasses =
    std::tuple<EndOfMessageTLV, ALMACAddressTLV, InterfaceMACAddressTLV, DeviceInformationTLV,
               DeviceBridgingCapabilityTLV, NonIEEE1905NeighborDeviceListTLV, IEEE1905NeighborDeviceTLV,
               LinkMetricQueryTLV, TransmitterLinkMetricTLV, ReceiverLinkMetricTLV, VendorSpecificTLV,
               LinkMetricResultCodeTLV, SearchedRoleTLV, AutoconfigFrequencyBandTLV, SupportedRoleTLV,
               SupportedFrequencyBandTLV, DeviceIdentificationTypeTLV, SupportedServiceTLV, SearchedServiceTLV,
               APRadioIdentifierTLV, APOperationalBSSTLV, AssociatedClientsTLV, APRadioBasicCapabilitiesTLV,
               APHTCapabilitiesTLV, APVHTCapabilitiesTLV, APHECapabilitiesTLV, SteeringPolicyTLV,
               MetricReportingPolicyTLV, ChannelPreferenceTLV, RadioOperationRestrictionTLV, TransmitPowerLimitTLV,
               ChannelSelectionResponseTLV, OperatingChannelReportTLV, ClientInfoTLV, ClientCapabilityReportTLV,
               ClientAssociationEventTLV, APMetricQueryTLV, APMetricsTLV, STAMACAddressTLV, AssociatedSTALinkMetricsTLV,
               UnassociatedSTALinkMetricsQueryTLV, UnassociatedSTALinkMetricsResponseTLV, BeaconMetricsQueryTLV,
               BeaconMetricsResponseTLV, SteeringRequestTLV, SteeringBTMReportTLV, ClientAssociationControlRequestTLV,
               BackhaulSteeringRequestTLV, BackhaulSteeringResponseTLV, HigherLayerDataTLV, APCapabilityTLV,
               AssociatedSTATrafficStatsTLV, ErrorCodeTLV, BackhaulSTARadioCapabilitiesTLV, DummyTLV>;

}  // namespace qel::ieee1905_1
