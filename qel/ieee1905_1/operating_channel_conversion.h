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

/// Between the channel that a radio reports to operate on and a `ChannelInfo`.
class QEL_EXPORT OperatingChannelConversion {
 public:
  using Region = OperatingClassDeduction::Region;

  /// `unknown` is also about classes whose channels a `ChannelInfo` cannot hold, those of 5, 10 and 2160 MHz. A region
  /// without a table throws std::invalid_argument when it is used.
  explicit OperatingChannelConversion(Region region = Region::GLOBAL, UnknownChannels unknown = UnknownChannels::REFUSE)
      : region_(region), unknown_(unknown) {}

  /// All set at `time`, which is not 0. The primary channel is unset when only segments are reported, and so is the
  /// segment when nothing is. An 80+80 MHz channel has two entries of its class, or one for the second segment beside
  /// that of an 80 MHz class for the first. Without the latter the first segment is the one with the primary channel,
  /// else the one listed first.
  ///
  /// Throws std::invalid_argument, with the entries in its text, when they are not parts of one channel.
  ChannelInfo to_channel_info(const OperatingChannelReportTLV& report,
                              std::int64_t time = LastChanged<float>::now()) const;

  /// Of every width up to that of the channel the class that has it, from 20 MHz up, and last the two halves of an
  /// 80+80 MHz channel; without a primary channel only the whole. Of several classes with the same channel the one
  /// that `OpclassLookup::get_opclass` finds, if need be one with a behaviour that no capability stands for. The power
  /// is rounded to whole dBm, and 0 when it is unset or not a number.
  ///
  /// Throws std::invalid_argument when `ChannelInfo::set_segment` would refuse the channel and when no class of the
  /// region has it.
  OperatingChannelReportTLV to_report(const MACAddress& radio, const ChannelInfo& info) const;

 private:
  Region region_;
  UnknownChannels unknown_;
};

}  // namespace qel::ieee1905_1
