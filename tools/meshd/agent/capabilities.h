#pragma once

#include <optional>

#include "qel/channel/channel_list.h"
#include "qel/ieee1905_1/ap_capability_tlvs.h"
#include "qel/ieee1905_1/ap_he_capabilities_tlv.h"
#include "qel/ieee1905_1/ap_phy_capabilities_tlvs.h"
#include "qel/ieee1905_1/channel_preference_conversion.h"
#include "qel/ieee1905_1/message_builder.h"
#include "tools/meshd/wifi/air.h"

/// What a radio can do, in the terms of Multi-AP. A radio with several bands has one report for all of them.
namespace meshd::agent {

/// The channels of all bands on which the radio may operate as an access point. The list has their state, but not what
/// is measured on them, since that would change a report every moment.
qel::ChannelList operable_channels(const wifi::AirRadio& radio);

///@{
/// Each class of which the radio has a channel, and the conversion of preferences for them. A channel with radar is
/// operable here; the preferences tell more. Valid until the next call for another radio or other channels.
const qel::ieee1905_1::APRadioBasicCapabilitiesTLV& basic_capabilities(const wifi::AirRadio& radio);
const qel::ieee1905_1::ChannelPreferenceConversion& conversion_of(const wifi::AirRadio& radio);
///@}

// Of the band in which the radio operates if that band has them, or else of the first band that does. Nothing if no
// band does.
std::optional<qel::ieee1905_1::APHTCapabilitiesTLV> ht_capabilities(const wifi::AirRadio& radio);
std::optional<qel::ieee1905_1::APVHTCapabilitiesTLV> vht_capabilities(const wifi::AirRadio& radio);
std::optional<qel::ieee1905_1::APHECapabilitiesTLV> he_capabilities(const wifi::AirRadio& radio);

/// All of the above, for each radio.
void add_ap_capabilities(qel::ieee1905_1::MessageBuilder& builder, const std::vector<wifi::AirRadio>& radios);

/// The radios that have a backhaul station.
void add_backhaul_capabilities(qel::ieee1905_1::MessageBuilder& builder, const std::vector<wifi::AirRadio>& radios);

}  // namespace meshd::agent
