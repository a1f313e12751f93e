#pragma once

#include <bitset>

#include "qel/channel/channel_entry.h"
#include "qel/channel/channel_info.h"
#include "qel/channel/channel_list.h"
#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"

namespace qel {

/// True if channel number and frequency agree, there are capabilities, the state is consistent, utilization and ANPI
/// are in range (if set), and some global operating class has the channel. The first error is logged as an error of
/// "type_validator".
QEL_EXPORT bool is_valid(const ChannelEntry& entry);

/// True if every entry is valid and all are in one band; errors are logged as for an entry.
QEL_EXPORT bool is_valid(const ChannelList& list);

/// True if all values that are set are consistent: the primary frequency and the centres are in a band, the width is
/// valid, the primary channel is in the segment, and there is a separate second segment for 80+80 MHz and none for
/// other widths. Errors are logged as for an entry.
QEL_EXPORT bool is_valid(const ChannelInfo& info);

/// `WLANPhymode`s: at least one must be set.
inline bool is_valid(const std::bitset<6>& modes) { return modes.any(); }

/// `WLANCapability` bits: the unassigned bit must be clear.
constexpr bool is_valid(const std::bitset<32>& capabilities) { return !capabilities[28]; }

}  // namespace qel
