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

/// Radios of the kernel as those of the library.
namespace meshd::wifi {

/// Nanoseconds of the steady clock, never 0: when the kernel told.
using Timestamp = qel::LastChanged<float>::Timestamp;

/// The streams of the band at each width, by its HT, VHT and HE capabilities.
qel::NSSTable receive_streams(const Band& band);
qel::NSSTable send_streams(const Band& band);

/// The `WLANPhymode`s of the band.
std::bitset<6> phymodes(const Band& band);

/// The channels of the band that may be used. The widths of a channel are those that the radio has and the regulations
/// allow there; a change of the regulations therefore makes another list. Channels with radar have a state: free of
/// radar, radar found, or still to be listened to. The regulatory power needs the rules.
qel::ChannelList channel_list(const Band& band, const Regulatory* regulatory, Timestamp now);

/// A wiphy may have several bands, of which it uses one at a time; this is the radio that it is in one of them. For no
/// band, all that it can do. The identifier is the first address of the wiphy unless another is given; without either
/// it is unset.
qel::WLANRadio radio_of(const Wiphy& wiphy, const Regulatory* regulatory, Timestamp now,
                        std::optional<qel::FrequencyBand> only = std::nullopt,
                        std::optional<qel::MACAddress> identifier = std::nullopt);

}  // namespace meshd::wifi
