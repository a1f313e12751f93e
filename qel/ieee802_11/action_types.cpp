#include "qel/ieee802_11/action_types.h"

#include <ostream>

#include "qel/core/enum_text.h"

namespace qel::ieee802_11 {

namespace {

constexpr EnumText WNM_ACTIONS[] = {
    {0, "EVENT_REQUEST"},
    {1, "EVENT_REPORT"},
    {2, "DIAGNOSTIC_REQUEST"},
    {3, "DIAGNOSTIC_REPORT"},
    {4, "LOCATION_CONFIGURATION_REQUEST"},
    {5, "LOCATION_CONFIGURATION_RESPONSE"},
    {6, "BSS_TRANSITION_MANAGEMENT_QUERY"},
    {7, "BSS_TRANSITION_MANAGEMENT_REQUEST"},
    {8, "BSS_TRANSITION_MANAGEMENT_RESPONSE"},
    {9, "FMS_REQUEST"},
    {10, "FMS_RESPONSE"},
    {11, "COLLOCATED_INTERFERENCE_REQUEST"},
    {12, "COLLOCATED_INTERFERENCE_REPORT"},
    {13, "TFS_REQUEST"},
    {14, "TFS_RESPONSE"},
    {15, "TFS_NOTIFY"},
    {16, "WNM_SLEEP_MODE_REQUEST"},
    {17, "WNM_SLEEP_MODE_RESPONSE"},
    {18, "TIM_BROADCAST_REQUEST"},
    {19, "TIM_BROADCAST_RESPONSE"},
    {20, "QOS_TRAFFIC_CAPABILITY_UPDATE"},
    {21, "CHANNEL_USAGE_REQUEST"},
    {22, "CHANNEL_USAGE_RESPONSE"},
    {23, "DMS_REQUEST"},
    {24, "DMS_RESPONSE"},
    {25, "TIMING_MEASUREMENT_REQUEST"},
    {26, "WNM_NOTIFICATION_REQUEST"},
    {27, "WNM_NOTIFICATION_RESPONSE"},
    {28, "INVALID"},
};
constexpr EnumText REQUEST_MODE_BITS[] = {
    {0, "PREFERRED_CANDIDATE_LIST_INCLUDED"}, {1, "ABRIDGED"},
    {2, "DISASSOCIATION_IMMINENT"},           {3, "BSS_TERMINATION_INCLUDED"},
    {4, "ESS_DISASSOCIATION_IMMINENT"},       {5, "INVALID"},
};
constexpr EnumText BTM_STATUS_CODES[] = {
    {0, "ACCEPT"},
    {1, "REJECT_UNSPECIFIED"},
    {2, "REJECT_INSUFFICIENT_BEACON"},
    {3, "REJECT_INSUFFICIENT_CAPACITY"},
    {4, "REJECT_BSS_TERMINATION_UNDESIRED"},
    {5, "REJECT_BSS_TERMINATION_DELAY_REQUEST"},
    {6, "REJECT_STA_CANDIDATE_LIST_PROVIDED"},
    {7, "REJECT_NO_SUITABLE_CANDIDATES"},
    {8, "REJECT_LEAVING_ESS"},
    {9, "INVALID"},
};
constexpr EnumText MEASUREMENT_REQUEST_MODE_BITS[] = {
    {0, "PARALLEL"}, {1, "ENABLE"}, {2, "REQUEST"}, {3, "REPORT"}, {4, "DURATION_MANDATORY"}, {5, "INVALID"},
};
constexpr EnumText MEASUREMENT_TYPES[] = {
    {0, "BASIC"},
    {1, "CCA"},
    {2, "RPI_HISTOGRAM"},
    {3, "CHANNEL_LOAD"},
    {4, "NOISE_HISTOGRAM"},
    {5, "BEACON"},
    {6, "FRAME"},
    {7, "STA_STATISTICS"},
    {8, "LCI"},
    {9, "TRANSMIT_STREAM"},
    {10, "MULTICAST_DIAGNOSTICS"},
    {11, "LOCATION_CIVIC"},
    {12, "LOCATION_IDENTIFIER"},
    {13, "DIRECTIONAL_CHANNEL_QUALITY"},
    {14, "DIRECTIONAL_MEASUREMENT"},
    {15, "DIRECTIONAL_STATISTICS"},
    {16, "FINE_TIMING_MEASUREMENT_RANGE"},
    {17, "INVALID"},
    {255, "MEASUREMENT_PAUSE"},
};
constexpr EnumText BEACON_MEASUREMENT_MODES[] = {{0, "PASSIVE"}, {1, "ACTIVE"}, {2, "BEACON_TABLE"}, {3, "INVALID"}};
constexpr EnumText BEACON_REPORT_FRAME_TYPES[] = {
    {0, "BEACON_OR_PROBE_RESPONSE"}, {1, "MEASUREMENT_PILOT"}, {2, "INVALID"}};

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
