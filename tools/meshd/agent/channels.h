#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/channel_preference_conversion.h"
#include "qel/ieee1905_1/channel_preference_tlvs.h"
#include "qel/ieee1905_1/channel_score.h"
#include "qel/ieee1905_1/operating_channel_tlvs.h"
#include "tools/meshd/agent/desk.h"
#include "tools/meshd/wifi/air.h"

namespace meshd::agent {

/// What a controller asks of one radio, weighed against what the radio can and prefers.
struct Selection {
  qel::ieee1905_1::ChannelSelectionResponseCode code = qel::ieee1905_1::ChannelSelectionResponseCode::ACCEPT;
  std::optional<qel::ChannelInfo> switch_to{};  ///< nothing if it declines or stays
};

/// How gladly a radio operates on each of its channels. While its own station is connected to another access point, it
/// operates on that one's channel or not at all.
qel::ieee1905_1::ChannelScores own_scores(const wifi::AirRadio& radio,
                                          const qel::ieee1905_1::ChannelPreferenceConversion& conversion);

/// Takes the channel with the best score that is left when both are respected. Of several, it takes the widest; then
/// the one whose narrower channels are preferred too; then the present primary channel; then the lowest. A request that
/// prefers no channel to another leaves the radio where it is.
///
/// `reported` is what the controller was last told of the own scores.
Selection select_channel(const wifi::AirRadio& radio, const std::vector<qel::ieee1905_1::ChannelPreferenceTLV>& asked,
                         const std::optional<qel::ieee1905_1::ChannelPreferenceTLV>& reported, TimePoint now);

/// Nothing if the radio is on no channel, or on one that has no operating class.
std::optional<qel::ieee1905_1::OperatingChannelReportTLV> operating_channel(const wifi::AirRadio& radio);

/// Channel preferences, channel selection and operating channels of the radios.
class Channels {
 public:
  /// The desk is borrowed.
  explicit Channels(Desk& desk) : desk_(desk) {}

  void on_preference_query(const Received& received);
  void on_selection_request(const Received& received);

  /// Another controller: it has been told nothing yet.
  void forget_reports();
  /// Reports to the controller what has changed since it was last told.
  void report_changes();

 private:
  void report_operating_channels(const std::vector<qel::MACAddress>& of);
  void carry_out(const qel::MACAddress& radio, const qel::ChannelInfo& channel);

  Desk& desk_;
  // What the controller was last told, by radio.
  std::map<qel::MACAddress, qel::ieee1905_1::ChannelPreferenceTLV> preferences_;
  std::map<qel::MACAddress, qel::ieee1905_1::OperatingChannelReportTLV> channels_;
};

}  // namespace meshd::agent
