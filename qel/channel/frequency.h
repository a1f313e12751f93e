#pragma once

#include <bitset>
#include <cstdint>
#include <set>

#include "qel/channel/type_with_ratio.h"
#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"

/// Conversions between frequencies, channel numbers, bands, widths and modes.
namespace qel {

/// Returns the number of the 20 MHz channel with this centre, or at 60 GHz of the 2160 MHz channel. Every positive
/// frequency below 7125 MHz gives a number, even between and below the bands: the quotient on a neighbouring grid,
/// truncated toward zero and reduced to its low 8 bits. Other frequencies outside 60 GHz give 0.
QEL_EXPORT std::uint8_t frequency_to_channel(const kHz& frequency);

/// Returns the distance between adjacent channel numbers on the grid whose channel 0 is at this frequency.
QEL_EXPORT kHz channel_grid(const kHz& starting_frequency);

/// Returns the frequency `channel` grid steps above channel 0 of the band.
QEL_EXPORT kHz channel_to_frequency(const kHz& starting_frequency, unsigned char channel);

/// Returns the frequency of channel 0; 0 for an invalid band.
QEL_EXPORT kHz band_to_starting_frequency(FrequencyBand band);

/// Returns INVALID for a frequency outside all bands.
QEL_EXPORT DetailedFrequencyBand frequency_to_detailed_band(const kHz& frequency);

/// Returns INVALID_BAND_MAX for a frequency outside all bands; the model has no 60 GHz band.
QEL_EXPORT FrequencyBand frequency_to_band(const kHz& frequency);

/// Returns the width of one segment, so 80 MHz for 80+80 MHz; 0 for an invalid width.
QEL_EXPORT MHz channel_width_to_frequency(ChannelWidth width);

/// Also maps 25 MHz to 20 MHz: it is the channel spacing of the 2.4 GHz operating classes, whose channels are 20 MHz
/// wide.
QEL_EXPORT ChannelWidth frequency_to_channel_width(const MHz& width);

/// The `ChannelCapabilityBit`s that a channel of this width needs; none for an invalid width.
QEL_EXPORT std::bitset<9> channel_width_capability_bits(ChannelWidth width);

/// Derived from `ChannelCapabilityBit`s; 80+80 MHz ranks above 160 MHz. INVALID if there is no width.
QEL_EXPORT ChannelWidth capability_bits_max_channel_width(const std::bitset<9>& capabilities);

/// The widths whose own bit is set.
QEL_EXPORT std::set<ChannelWidth> capability_bits_channel_widths(const std::bitset<9>& capabilities);

/// The widest width that both support; for 80+80 MHz and 160 MHz this is 80 MHz. INVALID if either is invalid.
QEL_EXPORT ChannelWidth find_common_channel_width(ChannelWidth a, ChannelWidth b);

/// The newest of the given `WLANPhymode`s that the band supports; INVALID_MAX if there is none.
QEL_EXPORT WLANPhymode get_max_phy_mode(FrequencyBand band, std::bitset<6> modes);

/// Returns INVALID_PHYTYPE_MAX for an invalid mode.
QEL_EXPORT PHYType phymode_to_phytype(WLANPhymode mode);

/// The PHY type of the newest of the given `WLANPhymode`s. "a" is deliberately excluded, because a radio that supports
/// nothing newer has no PHY type to report: such a set gives INVALID_PHYTYPE_MAX, as does the empty set.
QEL_EXPORT PHYType phymodesupportbits_to_phytype(const std::bitset<6>& modes);

}  // namespace qel
