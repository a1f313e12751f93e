#pragma once

#include <cstdint>
#include <optional>

#include "qel/channel/channel_list.h"
#include "qel/channel/dynamic_value.h"
#include "qel/channel/nss_table.h"
#include "qel/channel/wlan_radio.h"
#include "qel/channel/wlan_types.h"
#include "tools/meshd/wifi/regulatory.h"
#include "tools/meshd/wifi/wiphy.h"

/// Converts the kernel's radios to those of the library.
namespace meshd::wifi {

/// When the kernel reported a value: nanoseconds of the steady clock, never 0.
using Timestamp = qel::LastChanged<float>::Timestamp;

/// The streams of the band at each width, by its HT, VHT and HE capabilities.
qel::NSSTable receive_streams(const Band& band);
qel::NSSTable send_streams(const Band& band);

/// The `WLANPhymode`s of the band.
std::bitset<6> phymodes(const Band& band);

/// The channels of the band that may be used. The widths of a channel are those that the radio has and the regulations
/// allow there; a change of the regulations therefore changes the list. Channels with radar have a state: free of
/// radar, radar found, or not checked yet. The regulatory power is set only if the rules are given.
qel::ChannelList channel_list(const Band& band, const Regulatory* regulatory, Timestamp now);

/// The radio in one of the bands of the wiphy, which may have several and uses one at a time; a `ChannelList` has one
/// band only. Without channels if the wiphy does not have the band. The identifier is the first address of the wiphy
/// unless another is given; without either it is unset.
qel::WLANRadio radio_of(const Wiphy& wiphy, qel::FrequencyBand which, const Regulatory* regulatory, Timestamp now,
                        std::optional<qel::MACAddress> identifier = std::nullopt);

}  // namespace meshd::wifi
