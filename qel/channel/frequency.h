#pragma once

#include <bitset>
#include <cstdint>
#include <set>

#include "qel/channel/type_with_ratio.h"
#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"

/// Conversions between frequencies, channel numbers, bands, widths and modes.
namespace qel {

/// The number of the 20 MHz channel with this centre; at 60 GHz of the channel of 2160 MHz. Every positive frequency
/// below 7125 MHz gives a number, also between and below the bands: the quotient on a neighbouring grid, truncated
/// toward zero and cut to its low 8 bits. 0 for all others outside of 60 GHz.
QEL_EXPORT std::uint8_t frequency_to_channel(const kHz& frequency);

/// From one channel number to the next on the grid whose channel 0 is at this frequency.
QEL_EXPORT kHz channel_grid(const kHz& starting_frequency);

/// `channel` steps of the band's grid above the frequency of channel 0.
QEL_EXPORT kHz channel_to_frequency(const kHz& starting_frequency, unsigned char channel);

/// The frequency of channel 0; 0 for an invalid band.
QEL_EXPORT kHz band_to_starting_frequency(FrequencyBand band);

/// INVALID for what lies in no band.
QEL_EXPORT DetailedFrequencyBand frequency_to_detailed_band(const kHz& frequency);

/// INVALID_BAND_MAX for what lies in no band; 60 GHz is none of them.
QEL_EXPORT FrequencyBand frequency_to_band(const kHz& frequency);

/// The width of one segment, so that 80+80 MHz gives 80 MHz; 0 for an invalid width.
QEL_EXPORT MHz channel_width_to_frequency(ChannelWidth width);

/// 25 MHz gives 20 MHz as well: it is the spacing of the operating classes of 2.4 GHz, whose channels are 20 MHz wide.
QEL_EXPORT ChannelWidth frequency_to_channel_width(const MHz& width);

/// The `ChannelCapabilityBit`s that a channel of this width needs; none for an invalid width.
QEL_EXPORT std::bitset<9> channel_width_capability_bits(ChannelWidth width);

/// By `ChannelCapabilityBit`s; 80+80 MHz ranks above 160 MHz. INVALID when there is no width at all.
QEL_EXPORT ChannelWidth capability_bits_max_channel_width(const std::bitset<9>& capabilities);

/// The widths whose own bit is set.
QEL_EXPORT std::set<ChannelWidth> capability_bits_channel_widths(const std::bitset<9>& capabilities);

/// The widest width that both can use: 80+80 MHz and 160 MHz meet at 80 MHz. INVALID when one of them is.
QEL_EXPORT ChannelWidth find_common_channel_width(ChannelWidth a, ChannelWidth b);

/// The newest of the `WLANPhymode`s that the band knows; INVALID_MAX when there is none.
QEL_EXPORT WLANPhymode get_max_phy_mode(FrequencyBand band, std::bitset<6> modes);

/// INVALID_PHYTYPE_MAX for an invalid mode.
QEL_EXPORT PHYType phymode_to_phytype(WLANPhymode mode);

/// Of the newest of the `WLANPhymode`s. "a" is left out on purpose, a radio that knows nothing newer has no PHY type to
/// show: such a set gives INVALID_PHYTYPE_MAX, as the empty one does.
QEL_EXPORT PHYType phymodesupportbits_to_phytype(const std::bitset<6>& modes);

}  // namespace qel
