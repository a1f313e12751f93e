#pragma once

#include <bitset>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "qel/channel/operating_class_deduction.h"
#include "qel/channel/type_with_ratio.h"
#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"

namespace qel {

/// How to treat an operating class that the region's table lacks, or a channel that its class lacks.
enum class UnknownChannels : std::uint8_t {
  REFUSE,  ///< throw std::invalid_argument, with class and channel in the text
  SKIP     ///< ignore it
};

/// Returns the channels that the class has, in the given order.
QEL_EXPORT std::vector<std::uint8_t> get_known_channels(std::span<const std::uint8_t> channels, std::uint8_t opclass,
                                                        OperatingClassDeduction::Region region,
                                                        UnknownChannels unknown);

/// The frequencies of one channel of an operating class.
struct OpclassSegment {
  ChannelWidth width = ChannelWidth::INVALID;  ///< INVALID in classes of 5, 10 and 2160 MHz; 80+80 MHz for one half
  kHz center;                                  ///< of the segment
  std::optional<kHz> primary;                  ///< unset if the class is defined only by its segments
  /// The `ChannelCapabilityBit`s that its primary channel needs in addition to those of narrower channels.
  std::bitset<9> capabilities;

  /// The centres of the 20 MHz channels it consists of, in ascending order; none if the width is invalid.
  QEL_EXPORT std::vector<kHz> get_20_mhz_channels() const;

  /// The 20 MHz channels that may be its primary channel.
  QEL_EXPORT std::vector<kHz> get_primaries() const;
};

/// The channel must be in the class; see `get_known_channels`. Throws std::invalid_argument for an unknown class.
QEL_EXPORT OpclassSegment get_opclass_segment(std::uint8_t channel, std::uint8_t opclass,
                                              OperatingClassDeduction::Region region);

}  // namespace qel
