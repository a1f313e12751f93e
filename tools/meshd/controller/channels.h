#pragma once

#include <cstdint>
#include <optional>

#include "qel/channel/wlan_types.h"
#include "qel/ieee1905_1/channel_preference_tlvs.h"
#include "qel/ieee1905_1/channel_score.h"
#include "qel/ieee1905_1/operating_channel_tlvs.h"
#include "tools/meshd/controller/mesh_model.h"

namespace meshd::controller {

/// The channel on which a radio operates; nothing if the report does not say one.
std::optional<qel::ieee1905_1::PrimaryChannel> operating_channel(
    const qel::ieee1905_1::OperatingChannelReportTLV& report);

/// The 20 MHz channel in which clients find the radio.
std::optional<qel::ieee1905_1::OperatingClassChannel> primary_class_channel(
    const qel::ieee1905_1::OperatingChannelReportTLV& report);

/// Finds the channel of a radio that has this number and width. If several bands have one, the band in which the radio
/// operates counts. Throws std::invalid_argument if the radio cannot operate there.
qel::ieee1905_1::PrimaryChannel find_channel(const RadioModel& radio, unsigned int number, qel::ChannelWidth width);

/// Preferences that leave only this channel, with its narrower parts that contain the primary channel; the wider, the
/// more preferred. Throws std::invalid_argument if the capabilities of the radio are not known.
qel::ieee1905_1::ChannelPreferenceTLV only_channel(const RadioModel& radio,
                                                   const qel::ieee1905_1::PrimaryChannel& wanted);

}  // namespace meshd::controller
