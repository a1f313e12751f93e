#pragma once

#include <cstdint>

#include "qel/channel/channel_info.h"
#include "qel/channel/dynamic_value.h"
#include "qel/channel/opclass_segment.h"
#include "qel/channel/operating_class_deduction.h"
#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/operating_channel_tlvs.h"

namespace qel::ieee1905_1 {

/// Converts between the operating channel that a radio reports and a `ChannelInfo`.
class QEL_EXPORT OperatingChannelConversion {
 public:
  using Region = OperatingClassDeduction::Region;

  /// `unknown` also applies to classes whose channels a `ChannelInfo` cannot hold, those of 5, 10 and 2160 MHz. The
  /// conversions throw std::invalid_argument for a region without a table.
  explicit OperatingChannelConversion(Region region = Region::GLOBAL, UnknownChannels unknown = UnknownChannels::REFUSE)
      : region_(region), unknown_(unknown) {}

  /// Sets all values with the timestamp `time`, which must not be 0. The primary channel is unset if only segments are
  /// reported, and so is the segment if nothing is. An 80+80 MHz channel has two entries of its class, or one for the
  /// second segment and one of an 80 MHz class for the first. In the former case, the first segment is the one that
  /// contains the primary channel, or else the one listed first.
  ///
  /// Throws std::invalid_argument, with the entries in its text, if they are not parts of one channel.
  ChannelInfo to_channel_info(const OperatingChannelReportTLV& report,
                              std::int64_t time = LastChanged<float>::now()) const;

  /// Lists one class for each width from 20 MHz up to the width of the channel; for an 80+80 MHz channel, the two
  /// halves come last. Without a primary channel, it lists only the whole channel. If several classes have the same
  /// channel, it lists the one that `OpclassLookup::get_opclass` finds; if necessary, one with a behaviour that no
  /// capability expresses. The power is rounded to whole dBm, and is 0 if unset or NaN.
  ///
  /// Throws std::invalid_argument if `ChannelInfo::set_segment` would refuse the channel, or if no class of the region
  /// has it.
  OperatingChannelReportTLV to_report(const MACAddress& radio, const ChannelInfo& info) const;

 private:
  Region region_;
  UnknownChannels unknown_;
};

}  // namespace qel::ieee1905_1
