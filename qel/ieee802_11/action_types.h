#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "qel/core/export.h"

/// Codes of wireless network management and radio measurement frames. `is_valid` is true below the sentinel INVALID.
namespace qel::ieee802_11 {

/// The WNM Action field (IEEE 802.11-2020, 9.6.13.1).
enum class WNMAction : std::uint8_t {
  EVENT_REQUEST = 0,
  EVENT_REPORT = 1,
  DIAGNOSTIC_REQUEST = 2,
  DIAGNOSTIC_REPORT = 3,
  LOCATION_CONFIGURATION_REQUEST = 4,
  LOCATION_CONFIGURATION_RESPONSE = 5,
  BSS_TRANSITION_MANAGEMENT_QUERY = 6,
  BSS_TRANSITION_MANAGEMENT_REQUEST = 7,
  BSS_TRANSITION_MANAGEMENT_RESPONSE = 8,
  FMS_REQUEST = 9,
  FMS_RESPONSE = 10,
  COLLOCATED_INTERFERENCE_REQUEST = 11,
  COLLOCATED_INTERFERENCE_REPORT = 12,
  TFS_REQUEST = 13,
  TFS_RESPONSE = 14,
  TFS_NOTIFY = 15,
  WNM_SLEEP_MODE_REQUEST = 16,
  WNM_SLEEP_MODE_RESPONSE = 17,
  TIM_BROADCAST_REQUEST = 18,
  TIM_BROADCAST_RESPONSE = 19,
  QOS_TRAFFIC_CAPABILITY_UPDATE = 20,
  CHANNEL_USAGE_REQUEST = 21,
  CHANNEL_USAGE_RESPONSE = 22,
  DMS_REQUEST = 23,
  DMS_RESPONSE = 24,
  TIMING_MEASUREMENT_REQUEST = 25,
  WNM_NOTIFICATION_REQUEST = 26,
  WNM_NOTIFICATION_RESPONSE = 27,
  INVALID = 28
};

/// Index of a bit in the Request Mode field of a BSS Transition Management Request (IEEE 802.11-2020, 9.6.13.9).
enum class RequestModeBit : std::uint8_t {
  PREFERRED_CANDIDATE_LIST_INCLUDED = 0,
  ABRIDGED = 1,
  DISASSOCIATION_IMMINENT = 2,
  BSS_TERMINATION_INCLUDED = 3,
  ESS_DISASSOCIATION_IMMINENT = 4,
  INVALID = 5
};

/// A station's response to a BSS Transition Management Request (IEEE 802.11-2020, 9.6.13.10).
enum class BTMStatusCode : std::uint8_t {
  ACCEPT = 0,
  REJECT_UNSPECIFIED = 1,
  REJECT_INSUFFICIENT_BEACON = 2,    ///< too few beacons or probe responses received from the candidates
  REJECT_INSUFFICIENT_CAPACITY = 3,  ///< of all candidates
  REJECT_BSS_TERMINATION_UNDESIRED = 4,
  REJECT_BSS_TERMINATION_DELAY_REQUEST = 5,
  REJECT_STA_CANDIDATE_LIST_PROVIDED = 6,
  REJECT_NO_SUITABLE_CANDIDATES = 7,
  REJECT_LEAVING_ESS = 8,
  INVALID = 9
};

/// Index of a bit in the Measurement Request Mode field (IEEE 802.11-2020, 9.4.2.20.1).
enum class MeasurementRequestModeBit : std::uint8_t {
  PARALLEL = 0,
  ENABLE = 1,
  REQUEST = 2,
  REPORT = 3,
  DURATION_MANDATORY = 4,
  INVALID = 5
};

/// Type of a measurement, in requests and reports (IEEE 802.11-2020, 9.4.2.20.1 and 9.4.2.21.1).
enum class MeasurementType : std::uint8_t {
  BASIC = 0,
  CCA = 1,
  RPI_HISTOGRAM = 2,
  CHANNEL_LOAD = 3,
  NOISE_HISTOGRAM = 4,
  BEACON = 5,
  FRAME = 6,
  STA_STATISTICS = 7,
  LCI = 8,
  TRANSMIT_STREAM = 9,
  MULTICAST_DIAGNOSTICS = 10,
  LOCATION_CIVIC = 11,
  LOCATION_IDENTIFIER = 12,
  DIRECTIONAL_CHANNEL_QUALITY = 13,
  DIRECTIONAL_MEASUREMENT = 14,
  DIRECTIONAL_STATISTICS = 15,
  FINE_TIMING_MEASUREMENT_RANGE = 16,
  INVALID = 17,
  MEASUREMENT_PAUSE = 255  ///< separates the requests of a list and measures nothing, so it is not valid
};

/// How to make the measurement of a beacon request (IEEE 802.11-2020, 9.4.2.20.7).
enum class BeaconMeasurementMode : std::uint8_t { PASSIVE = 0, ACTIVE = 1, BEACON_TABLE = 2, INVALID = 3 };

/// The kind of frame that a beacon report describes, bit 7 of its Reported Frame Information (IEEE 802.11-2020,
/// 9.4.2.21.7).
enum class BeaconReportFrameType : std::uint8_t { BEACON_OR_PROBE_RESPONSE = 0, MEASUREMENT_PILOT = 1, INVALID = 2 };

QEL_EXPORT std::string enum_to_string(WNMAction action);
QEL_EXPORT std::string enum_to_string(RequestModeBit bit);
QEL_EXPORT std::string enum_to_string(BTMStatusCode status);
QEL_EXPORT std::string enum_to_string(MeasurementRequestModeBit bit);
QEL_EXPORT std::string enum_to_string(MeasurementType type);
QEL_EXPORT std::string enum_to_string(BeaconMeasurementMode mode);
QEL_EXPORT std::string enum_to_string(BeaconReportFrameType type);

QEL_EXPORT std::ostream& operator<<(std::ostream& os, WNMAction action);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, RequestModeBit bit);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, BTMStatusCode status);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, MeasurementRequestModeBit bit);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, MeasurementType type);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, BeaconMeasurementMode mode);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, BeaconReportFrameType type);

///@{
/// True below the sentinel, even for values without a name.
constexpr bool is_valid(WNMAction action) { return action < WNMAction::INVALID; }
constexpr bool is_valid(RequestModeBit bit) { return bit < RequestModeBit::INVALID; }
constexpr bool is_valid(BTMStatusCode status) { return status < BTMStatusCode::INVALID; }
constexpr bool is_valid(MeasurementRequestModeBit bit) { return bit < MeasurementRequestModeBit::INVALID; }
constexpr bool is_valid(MeasurementType type) { return type < MeasurementType::INVALID; }
constexpr bool is_valid(BeaconMeasurementMode mode) { return mode < BeaconMeasurementMode::INVALID; }
constexpr bool is_valid(BeaconReportFrameType type) { return type < BeaconReportFrameType::INVALID; }
///@}

}  // namespace qel::ieee802_11

namespace qel {

/// Together with the predicates of the other value types.
using ieee802_11::is_valid;

}  // namespace qel
