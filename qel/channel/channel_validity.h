#pragma once

#include <bitset>

#include "qel/channel/channel_entry.h"
#include "qel/channel/channel_info.h"
#include "qel/channel/channel_list.h"
#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"

namespace qel {

/// Channel number and frequency agree, there are capabilities, the state does not contradict itself, utilization and
/// ANPI are in range if set, and some global operating class has the channel. The first thing that is wrong is logged
/// as an error of "type_validator".
QEL_EXPORT bool is_valid(const ChannelEntry& entry);

/// Every entry is valid, and all lie in one band; what is wrong is logged as with an entry.
QEL_EXPORT bool is_valid(const ChannelList& list);

/// What is set makes sense: the primary frequency and the centres lie in a band, the width is valid, the primary
/// channel lies in the segment, and a second segment exists apart from the first one for 80+80 MHz, none for other
/// widths. What is wrong is logged as with an entry.
QEL_EXPORT bool is_valid(const ChannelInfo& info);

/// `WLANPhymode`s: at least one.
inline bool is_valid(const std::bitset<6>& modes) { return modes.any(); }

/// `WLANCapability` bits: the unassigned one is clear.
constexpr bool is_valid(const std::bitset<32>& capabilities) { return !capabilities[28]; }

}  // namespace qel
