#include "qel/ieee1905_1/tlv_factory.h"

#include <array>
#include <cstddef>
#include <iterator>
#include <ostream>

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

namespace {

template <class T>
std::unique_ptr<TLV> make() {
  return std::make_unique<T>();
}

template <TLVType TYPE>
std::unique_ptr<TLV> make_mac() {
  return make<MACAddressTLVCommon<TYPE>>();
}

/// A type that is known by name: its code, its name, and what makes an empty TLV of it. Types without a maker are
/// printed by name but refused, with the whole message that carries them.
struct Row {
  TLVType type;
  const char* name;
  std::unique_ptr<TLV> (*make)();
};

using enum TLVType;

constexpr Row ROWS[] = {
    {END_OF_MESSAGE, "END_OF_MESSAGE", make<EndOfMessageTLV>},
    {AL_MAC_ADDRESS, "AL_MAC_ADDRESS", make_mac<AL_MAC_ADDRESS>},
    {MAC_ADDRESS, "MAC_ADDRESS", make_mac<MAC_ADDRESS>},
    {DEVICE_INFORMATION, "DEVICE_INFORMATION", make<DeviceInformationTLV>},
    {DEVICE_BRIDGING_CAPABILITY, "DEVICE_BRIDGING_CAPABILITY", make<DeviceBridgingCapabilityTLV>},
    {NON_IEEE1905_NEIGHBOR_DEVICE_LIST, "NON_IEEE1905_NEIGHBOR_DEVICE_LIST", make<NonIEEE1905NeighborDeviceListTLV>},
    {IEEE1905_NEIGHBOR_DEVICE, "IEEE1905_NEIGHBOR_DEVICE", make<IEEE1905NeighborDeviceTLV>},
    {LINK_METRIC_QUERY, "LINK_METRIC_QUERY", make<LinkMetricQueryTLV>},
    {TRANSMITTER_LINK_METRIC, "TRANSMITTER_LINK_METRIC", make<TransmitterLinkMetricTLV>},
    {RECEIVER_LINK_METRIC, "RECEIVER_LINK_METRIC", make<ReceiverLinkMetricTLV>},
    {VENDOR_SPECIFIC, "VENDOR_SPECIFIC", make<VendorSpecificTLV>},
    {LINK_METRIC_RESULT_CODE, "LINK_METRIC_RESULT_CODE", make<LinkMetricResultCodeTLV>},
    {SEARCHED_ROLE, "SEARCHED_ROLE", make<SearchedRoleTLV>},
    {AUTOCONFIG_FREQUENCY_BAND, "AUTOCONFIG_FREQUENCY_BAND", make<AutoconfigFrequencyBandTLV>},
    {SUPPORTED_ROLE, "SUPPORTED_ROLE", make<SupportedRoleTLV>},
    {SUPPORTED_FREQUENCY_BAND, "SUPPORTED_FREQUENCY_BAND", make<SupportedFrequencyBandTLV>},
    {WSC, "WSC", nullptr},
    {PUSH_BUTTON_EVENT_NOTIFICATION, "PUSH_BUTTON_EVENT_NOTIFICATION", nullptr},
    {PUSH_BUTTON_JOIN_NOTIFICATION, "PUSH_BUTTON_JOIN_NOTIFICATION", nullptr},
    {DEVICE_IDENTIFICATION_TYPE, "DEVICE_IDENTIFICATION_TYPE", make<DeviceIdentificationTypeTLV>},
    {SUPPORTED_SERVICE, "SUPPORTED_SERVICE", make<SupportedServiceTLV>},
    {SEARCHED_SERVICE, "SEARCHED_SERVICE", make<SearchedServiceTLV>},
    {AP_RADIO_IDENTIFIER, "AP_RADIO_IDENTIFIER", make_mac<AP_RADIO_IDENTIFIER>},
    {AP_OPERATIONAL_BSS, "AP_OPERATIONAL_BSS", make<APOperationalBSSTLV>},
    {ASSOCIATED_CLIENTS, "ASSOCIATED_CLIENTS", make<AssociatedClientsTLV>},
    {AP_RADIO_BASIC_CAPABILITIES, "AP_RADIO_BASIC_CAPABILITIES", make<APRadioBasicCapabilitiesTLV>},
    {AP_HT_CAPABILITIES, "AP_HT_CAPABILITIES", make<APHTCapabilitiesTLV>},
    {AP_VHT_CAPABILITIES, "AP_VHT_CAPABILITIES", make<APVHTCapabilitiesTLV>},
    {AP_HE_CAPABILITIES, "AP_HE_CAPABILITIES", make<APHECapabilitiesTLV>},
    {STEERING_POLICY, "STEERING_POLICY", make<SteeringPolicyTLV>},
    {METRIC_REPORTING_POLICY, "METRIC_REPORTING_POLICY", make<MetricReportingPolicyTLV>},
    {CHANNEL_PREFERENCE, "CHANNEL_PREFERENCE", make<ChannelPreferenceTLV>},
    {RADIO_OPERATION_RESTRICTION, "RADIO_OPERATION_RESTRICTION", make<RadioOperationRestrictionTLV>},
    {TRANSMIT_POWER_LIMIT, "TRANSMIT_POWER_LIMIT", make<TransmitPowerLimitTLV>},
    {CHANNEL_SELECTION_RESPONSE, "CHANNEL_SELECTION_RESPONSE", make<ChannelSelectionResponseTLV>},
    {OPERATING_CHANNEL_REPORT, "OPERATING_CHANNEL_REPORT", make<OperatingChannelReportTLV>},
    {CLIENT_INFO, "CLIENT_INFO", make<ClientInfoTLV>},
    {CLIENT_CAPABILITY_REPORT, "CLIENT_CAPABILITY_REPORT", make<ClientCapabilityReportTLV>},
    {CLIENT_ASSOCIATION_EVENT, "CLIENT_ASSOCIATION_EVENT", make<ClientAssociationEventTLV>},
    {AP_METRIC_QUERY, "AP_METRIC_QUERY", make<APMetricQueryTLV>},
    {AP_METRICS, "AP_METRICS", make<APMetricsTLV>},
    {STA_MAC_ADDRESS, "STA_MAC_ADDRESS", make_mac<STA_MAC_ADDRESS>},
    {ASSOCIATED_STA_LINK_METRICS, "ASSOCIATED_STA_LINK_METRICS", make<AssociatedSTALinkMetricsTLV>},
    {UNASSOCIATED_STA_LINK_METRICS, "UNASSOCIATED_STA_LINK_METRICS", make<UnassociatedSTALinkMetricsQueryTLV>},
    {UNASSOCIATED_STA_LINK_METRICS_RESPONSE, "UNASSOCIATED_STA_LINK_METRICS_RESPONSE",
     make<UnassociatedSTALinkMetricsResponseTLV>},
    {BEACON_METRICS_QUERY, "BEACON_METRICS_QUERY", make<BeaconMetricsQueryTLV>},
    {BEACON_METRICS_RESOPNSE, "BEACON_METRICS_RESOPNSE", make<BeaconMetricsResponseTLV>},
    {STEERING_REQUEST, "STEERING_REQUEST", make<SteeringRequestTLV>},
    {STEERING_BTM_REPORT, "STEERING_BTM_REPORT", make<SteeringBTMReportTLV>},
    {CLIENT_ASSOCIATION_CONTROL_REQUEST, "CLIENT_ASSOCIATION_CONTROL_REQUEST",
     make<ClientAssociationControlRequestTLV>},
    {BACKHAUL_STEERING_REQUEST, "BACKHAUL_STEERING_REQUEST", make<BackhaulSteeringRequestTLV>},
    {BACKHAUL_STEERING_RESPONSE, "BACKHAUL_STEERING_RESPONSE", make<BackhaulSteeringResponseTLV>},
    {HIGHER_LAYER_DATA, "HIGHER_LAYER_DATA", make<HigherLayerDataTLV>},
    {AP_CAPABILITY, "AP_CAPABILITY", make<APCapabilityTLV>},
    {ASSOCIATED_STA_TRAFFIC_STATS, "ASSOCIATED_STA_TRAFFIC_STATS", make<AssociatedSTATrafficStatsTLV>},
    {ERROR_CODE, "ERROR_CODE", make<ErrorCodeTLV>},
    {CHANNEL_SCAN_REPORTING_POLICY, "CHANNEL_SCAN_REPORTING_POLICY", nullptr},
    {CHANNEL_SCAN_CAPAILITIES, "CHANNEL_SCAN_CAPAILITIES", nullptr},
    {CHANNEL_SCAN_REQUEST, "CHANNEL_SCAN_REQUEST", nullptr},
    {CHANNEL_SCAN_RESULT, "CHANNEL_SCAN_RESULT", nullptr},
    {TIMESTAMP, "TIMESTAMP", nullptr},
    {CAC_REQUEST, "CAC_REQUEST", nullptr},
    {CAC_TERMINATION, "CAC_TERMINATION", nullptr},
    {CAC_COMPLETION, "CAC_COMPLETION", nullptr},
    {CAC_STATUS_REPORT, "CAC_STATUS_REPORT", nullptr},
    {CAC_CAPABILITIES, "CAC_CAPABILITIES", nullptr},
    {MULTI_AP_PROFILE, "MULTI_AP_PROFILE", nullptr},
    {PROFILE_2_AP_CAPABILITY, "PROFILE_2_AP_CAPABILITY", nullptr},
    {DEFAULT_IEEE802_1Q_SETTINGS, "DEFAULT_IEEE802_1Q_SETTINGS", nullptr},
    {TRAFFIC_SEPARATION_POLICY, "TRAFFIC_SEPARATION_POLICY", nullptr},
    {SERVICE_PRIORIZATION_RULE, "SERVICE_PRIORIZATION_RULE", nullptr},
    {DSCP_MAPPING_TABLE, "DSCP_MAPPING_TABLE", nullptr},
    {PROFILE_2_ERROR_CODE, "PROFILE_2_ERROR_CODE", nullptr},
    {AP_RADIO_ADVANCED_CAPABILITIES, "AP_RADIO_ADVANCED_CAPABILITIES", nullptr},
    {ASSOCIATION_STATUS_NOTIFICATION, "ASSOCIATION_STATUS_NOTIFICATION", nullptr},
    {SOURCE_INFO, "SOURCE_INFO", nullptr},
    {TUNNELED_MESSAGE, "TUNNELED_MESSAGE", nullptr},
    {TUNNELED_DATA, "TUNNELED_DATA", nullptr},
    {PROFILE_2_STEERING_REQUEST, "PROFILE_2_STEERING_REQUEST", nullptr},
    {UNSUCCESSFUL_ASSOCIATION_POLICY, "UNSUCCESSFUL_ASSOCIATION_POLICY", nullptr},
    {METRIC_COLLECTION_INTERVAL, "METRIC_COLLECTION_INTERVAL", nullptr},
    {RADIO_METRICS, "RADIO_METRICS", nullptr},
    {AP_EXTENDED_METRICS, "AP_EXTENDED_METRICS", nullptr},
    {ASSOCIATED_STA_EXTENDED_LINK_METRICS, "ASSOCIATED_STA_EXTENDED_LINK_METRICS", nullptr},
    {STATUS_CODE, "STATUS_CODE", nullptr},
    {REASON_CODE, "REASON_CODE", nullptr},
    {BACKHAUL_STA_RADIO_CAPABILITIES, "BACKHAUL_STA_RADIO_CAPABILITIES", make<BackhaulSTARadioCapabilitiesTLV>},
    {BACKHAUL_BSS_CONFIGURATION, "BACKHAUL_BSS_CONFIGURATION", nullptr},
    {DUMMY, "DUMMY", make<DummyTLV>},
};

/// The row of each code, NO_ROW for a code without one.
constexpr std::uint8_t NO_ROW = 0xFF;
constexpr std::array<std::uint8_t, 256> INDEX = [] {
  static_assert(std::size(ROWS) < NO_ROW);
  std::array<std::uint8_t, 256> index{};
  index.fill(NO_ROW);
  for (std::size_t row = 0; row < std::size(ROWS); ++row) {
    index[static_cast<std::uint8_t>(ROWS[row].type)] = static_cast<std::uint8_t>(row);
  }
  return index;
}();

const Row* find(TLVType type) {
  const std::uint8_t row = INDEX[static_cast<std::uint8_t>(type)];
  return row == NO_ROW ? nullptr : &ROWS[row];
}

}  // namespace

std::unique_ptr<TLV> create_TLV(TLVType type) {
  const Row* row = find(type);
  return row != nullptr && row->make != nullptr ? row->make() : nullptr;
}

std::string enum_to_string(TLVType type) {
  const Row* row = find(type);
  return row != nullptr ? row->name : std::to_string(static_cast<unsigned int>(type));
}

std::ostream& operator<<(std::ostream& os, TLVType type) { return os << enum_to_string(type); }

}  // namespace qel::ieee1905_1
