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

/// What becomes of an operating class that the table of the region lacks, and of a channel that its class lacks.
enum class UnknownChannels : std::uint8_t {
  REFUSE,  ///< std::invalid_argument, with the class and the channel in its text
  SKIP     ///< it counts as not said
};

/// Those of the channels that the class has, in their order.
QEL_EXPORT std::vector<std::uint8_t> get_known_channels(std::span<const std::uint8_t> channels, std::uint8_t opclass,
                                                        OperatingClassDeduction::Region region,
                                                        UnknownChannels unknown);

/// What a channel of an operating class is on the air.
struct OpclassSegment {
  ChannelWidth width = ChannelWidth::INVALID;  ///< INVALID in classes of 5, 10 and 2160 MHz; 80+80 MHz for one half
  kHz center;                                  ///< of the segment
  std::optional<kHz> primary;                  ///< unset where the class is defined by its segments alone
  /// The `ChannelCapabilityBit`s that its primary channel needs beside those of narrower channels.
  std::bitset<9> capabilities;

  /// The centres of the 20 MHz channels that it consists of, ascending; none when the width is invalid.
  QEL_EXPORT std::vector<kHz> get_20_mhz_channels() const;

  /// Those of them that may be its primary channel.
  QEL_EXPORT std::vector<kHz> get_primaries() const;
};

/// The channel must be one of the class, see `get_known_channels`. Throws std::invalid_argument for an unknown class.
QEL_EXPORT OpclassSegment get_opclass_segment(std::uint8_t channel, std::uint8_t opclass,
                                              OperatingClassDeduction::Region region);

}  // namespace qel
