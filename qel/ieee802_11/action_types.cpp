#include "qel/ieee802_11/action_types.h"

#include <ostream>

#include "qel/core/enum_text.h"

namespace qel::ieee802_11 {

namespace {

constexpr EnumText WNM_ACTIONS[] = {
    {WNMAction::EVENT_REQUEST, "EVENT_REQUEST"},
    {WNMAction::EVENT_REPORT, "EVENT_REPORT"},
    {WNMAction::DIAGNOSTIC_REQUEST, "DIAGNOSTIC_REQUEST"},
    {WNMAction::DIAGNOSTIC_REPORT, "DIAGNOSTIC_REPORT"},
    {WNMAction::LOCATION_CONFIGURATION_REQUEST, "LOCATION_CONFIGURATION_REQUEST"},
    {WNMAction::LOCATION_CONFIGURATION_RESPONSE, "LOCATION_CONFIGURATION_RESPONSE"},
    {WNMAction::BSS_TRANSITION_MANAGEMENT_QUERY, "BSS_TRANSITION_MANAGEMENT_QUERY"},
    {WNMAction::BSS_TRANSITION_MANAGEMENT_REQUEST, "BSS_TRANSITION_MANAGEMENT_REQUEST"},
    {WNMAction::BSS_TRANSITION_MANAGEMENT_RESPONSE, "BSS_TRANSITION_MANAGEMENT_RESPONSE"},
    {WNMAction::FMS_REQUEST, "FMS_REQUEST"},
    {WNMAction::FMS_RESPONSE, "FMS_RESPONSE"},
    {WNMAction::COLLOCATED_INTERFERENCE_REQUEST, "COLLOCATED_INTERFERENCE_REQUEST"},
    {WNMAction::COLLOCATED_INTERFERENCE_REPORT, "COLLOCATED_INTERFERENCE_REPORT"},
    {WNMAction::TFS_REQUEST, "TFS_REQUEST"},
    {WNMAction::TFS_RESPONSE, "TFS_RESPONSE"},
    {WNMAction::TFS_NOTIFY, "TFS_NOTIFY"},
    {WNMAction::WNM_SLEEP_MODE_REQUEST, "WNM_SLEEP_MODE_REQUEST"},
    {WNMAction::WNM_SLEEP_MODE_RESPONSE, "WNM_SLEEP_MODE_RESPONSE"},
    {WNMAction::TIM_BROADCAST_REQUEST, "TIM_BROADCAST_REQUEST"},
    {WNMAction::TIM_BROADCAST_RESPONSE, "TIM_BROADCAST_RESPONSE"},
    {WNMAction::QOS_TRAFFIC_CAPABILITY_UPDATE, "QOS_TRAFFIC_CAPABILITY_UPDATE"},
    {WNMAction::CHANNEL_USAGE_REQUEST, "CHANNEL_USAGE_REQUEST"},
    {WNMAction::CHANNEL_USAGE_RESPONSE, "CHANNEL_USAGE_RESPONSE"},
    {WNMAction::DMS_REQUEST, "DMS_REQUEST"},
    {WNMAction::DMS_RESPONSE, "DMS_RESPONSE"},
    {WNMAction::TIMING_MEASUREMENT_REQUEST, "TIMING_MEASUREMENT_REQUEST"},
    {WNMAction::WNM_NOTIFICATION_REQUEST, "WNM_NOTIFICATION_REQUEST"},
    {WNMAction::WNM_NOTIFICATION_RESPONSE, "WNM_NOTIFICATION_RESPONSE"},
    {WNMAction::INVALID, "INVALID"},
};
constexpr EnumText REQUEST_MODE_BITS[] = {
    {RequestModeBit::PREFERRED_CANDIDATE_LIST_INCLUDED, "PREFERRED_CANDIDATE_LIST_INCLUDED"},
    {RequestModeBit::ABRIDGED, "ABRIDGED"},
    {RequestModeBit::DISASSOCIATION_IMMINENT, "DISASSOCIATION_IMMINENT"},
    {RequestModeBit::BSS_TERMINATION_INCLUDED, "BSS_TERMINATION_INCLUDED"},
    {RequestModeBit::ESS_DISASSOCIATION_IMMINENT, "ESS_DISASSOCIATION_IMMINENT"},
    {RequestModeBit::INVALID, "INVALID"},
};
constexpr EnumText BTM_STATUS_CODES[] = {
    {BTMStatusCode::ACCEPT, "ACCEPT"},
    {BTMStatusCode::REJECT_UNSPECIFIED, "REJECT_UNSPECIFIED"},
    {BTMStatusCode::REJECT_INSUFFICIENT_BEACON, "REJECT_INSUFFICIENT_BEACON"},
    {BTMStatusCode::REJECT_INSUFFICIENT_CAPACITY, "REJECT_INSUFFICIENT_CAPACITY"},
    {BTMStatusCode::REJECT_BSS_TERMINATION_UNDESIRED, "REJECT_BSS_TERMINATION_UNDESIRED"},
    {BTMStatusCode::REJECT_BSS_TERMINATION_DELAY_REQUEST, "REJECT_BSS_TERMINATION_DELAY_REQUEST"},
    {BTMStatusCode::REJECT_STA_CANDIDATE_LIST_PROVIDED, "REJECT_STA_CANDIDATE_LIST_PROVIDED"},
    {BTMStatusCode::REJECT_NO_SUITABLE_CANDIDATES, "REJECT_NO_SUITABLE_CANDIDATES"},
    {BTMStatusCode::REJECT_LEAVING_ESS, "REJECT_LEAVING_ESS"},
    {BTMStatusCode::INVALID, "INVALID"},
};
constexpr EnumText MEASUREMENT_REQUEST_MODE_BITS[] = {
    {MeasurementRequestModeBit::PARALLEL, "PARALLEL"},
    {MeasurementRequestModeBit::ENABLE, "ENABLE"},
    {MeasurementRequestModeBit::REQUEST, "REQUEST"},
    {MeasurementRequestModeBit::REPORT, "REPORT"},
    {MeasurementRequestModeBit::DURATION_MANDATORY, "DURATION_MANDATORY"},
    {MeasurementRequestModeBit::INVALID, "INVALID"},
};
constexpr EnumText MEASUREMENT_TYPES[] = {
    {MeasurementType::BASIC, "BASIC"},
    {MeasurementType::CCA, "CCA"},
    {MeasurementType::RPI_HISTOGRAM, "RPI_HISTOGRAM"},
    {MeasurementType::CHANNEL_LOAD, "CHANNEL_LOAD"},
    {MeasurementType::NOISE_HISTOGRAM, "NOISE_HISTOGRAM"},
    {MeasurementType::BEACON, "BEACON"},
    {MeasurementType::FRAME, "FRAME"},
    {MeasurementType::STA_STATISTICS, "STA_STATISTICS"},
    {MeasurementType::LCI, "LCI"},
    {MeasurementType::TRANSMIT_STREAM, "TRANSMIT_STREAM"},
    {MeasurementType::MULTICAST_DIAGNOSTICS, "MULTICAST_DIAGNOSTICS"},
    {MeasurementType::LOCATION_CIVIC, "LOCATION_CIVIC"},
    {MeasurementType::LOCATION_IDENTIFIER, "LOCATION_IDENTIFIER"},
    {MeasurementType::DIRECTIONAL_CHANNEL_QUALITY, "DIRECTIONAL_CHANNEL_QUALITY"},
    {MeasurementType::DIRECTIONAL_MEASUREMENT, "DIRECTIONAL_MEASUREMENT"},
    {MeasurementType::DIRECTIONAL_STATISTICS, "DIRECTIONAL_STATISTICS"},
    {MeasurementType::FINE_TIMING_MEASUREMENT_RANGE, "FINE_TIMING_MEASUREMENT_RANGE"},
    {MeasurementType::INVALID, "INVALID"},
    {MeasurementType::MEASUREMENT_PAUSE, "MEASUREMENT_PAUSE"},
};
constexpr EnumText BEACON_MEASUREMENT_MODES[] = {{BeaconMeasurementMode::PASSIVE, "PASSIVE"},
                                                 {BeaconMeasurementMode::ACTIVE, "ACTIVE"},
                                                 {BeaconMeasurementMode::BEACON_TABLE, "BEACON_TABLE"},
                                                 {BeaconMeasurementMode::INVALID, "INVALID"}};
constexpr EnumText BEACON_REPORT_FRAME_TYPES[] = {
    {BeaconReportFrameType::BEACON_OR_PROBE_RESPONSE, "BEACON_OR_PROBE_RESPONSE"},
    {BeaconReportFrameType::MEASUREMENT_PILOT, "MEASUREMENT_PILOT"},
    {BeaconReportFrameType::INVALID, "INVALID"}};

}  // namespace

std::string enum_to_string(WNMAction action) { return enum_text(WNM_ACTIONS, action); }
std::string enum_to_string(RequestModeBit bit) { return enum_text(REQUEST_MODE_BITS, bit); }
std::string enum_to_string(BTMStatusCode status) { return enum_text(BTM_STATUS_CODES, status); }
std::string enum_to_string(MeasurementRequestModeBit bit) { return enum_text(MEASUREMENT_REQUEST_MODE_BITS, bit); }
std::string enum_to_string(MeasurementType type) { return enum_text(MEASUREMENT_TYPES, type); }
std::string enum_to_string(BeaconMeasurementMode mode) { return enum_text(BEACON_MEASUREMENT_MODES, mode); }
std::string enum_to_string(BeaconReportFrameType type) { return enum_text(BEACON_REPORT_FRAME_TYPES, type); }

std::ostream& operator<<(std::ostream& os, WNMAction action) { return print_enum(os, WNM_ACTIONS, action); }
std::ostream& operator<<(std::ostream& os, RequestModeBit bit) { return print_enum(os, REQUEST_MODE_BITS, bit); }
std::ostream& operator<<(std::ostream& os, BTMStatusCode status) { return print_enum(os, BTM_STATUS_CODES, status); }
std::ostream& operator<<(std::ostream& os, MeasurementRequestModeBit bit) {
  return print_enum(os, MEASUREMENT_REQUEST_MODE_BITS, bit);
}
std::ostream& operator<<(std::ostream& os, MeasurementType type) { return print_enum(os, MEASUREMENT_TYPES, type); }
std::ostream& operator<<(std::ostream& os, BeaconMeasurementMode mode) {
  return print_enum(os, BEACON_MEASUREMENT_MODES, mode);
}
std::ostream& operator<<(std::ostream& os, BeaconReportFrameType type) {
  return print_enum(os, BEACON_REPORT_FRAME_TYPES, type);
}

}  // namespace qel::ieee802_11
