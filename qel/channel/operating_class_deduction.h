#pragma once

#include <bitset>
#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "qel/channel/channel_entry.h"
#include "qel/channel/channel_info.h"
#include "qel/channel/channel_list.h"
#include "qel/channel/type_with_ratio.h"
#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"

namespace qel {

/// Converts operating classes and channels to frequencies, and back (IEEE 802.11-2020, Annex E).
///
/// The static functions use the table of a region. They throw std::invalid_argument for a region that is unknown or has
/// no table. The tables are constant and can be used from any thread.
class QEL_EXPORT OperatingClassDeduction {
 public:
  /// The region of a table. GLOBAL is Table E-4.
  enum class Region : std::uint8_t { USA = 0, EUROPE = 1, JAPAN = 2, GLOBAL = 3, CHINA = 4 };

  /// Conditions, in addition to the frequency, for a channel to belong to a class.
  enum class Behavior : std::uint32_t {
    EIGHTY_PLUS_BEHAVIOR = 0,    ///< may be the second segment of an 80+80 MHz channel
    UNMAPPED_BEHAVIOR = 1,       ///< a regulatory behaviour that no channel capability expresses
    PRIMARY_LOWER_BEHAVIOR = 2,  ///< the primary channel is the lower half of a 40 MHz channel
    PRIMARY_UPPER_BEHAVIOR = 3   ///< the primary channel is the upper half
  };

  struct OpclassDefinition;
  struct OpclassRow;
  class OpclassLookup;

  /// Throws std::invalid_argument for a region without a table.
  static const OpclassLookup& get_lookup(Region region);

  /// These functions call those of `OpclassLookup` for the region.
  static std::vector<unsigned char> get_opclasses(const ChannelList& list, Region region);
  static std::vector<unsigned char> get_opclasses_from_channel_info(const ChannelInfo& info, Region region);
  static bool opclass_deducible_from_channel(const ChannelEntry& entry, Region region);
  static kHz get_channel_frequency(unsigned char channel, unsigned char opclass, Region region);
  static kHz get_segment_center_frequency(unsigned char channel, unsigned char opclass, Region region);
  static std::bitset<9> get_channel_capabilities(unsigned char opclass, Region region);
  static bool is_secondary_segment(unsigned char opclass, Region region);
  static std::vector<std::uint8_t> get_all_opclass_channels(unsigned char opclass, Region region);
  static std::set<std::uint8_t> get_all_region_opclasses(Region region);
  static std::vector<kHz> get_primary_frequencies_with_capabilities(const std::bitset<9>& capabilities, Region region);

  /// Constant-initialised, so usable during static initialisation.
  static const OpclassLookup _channel_opclasses_europe;
  static const OpclassLookup _channel_opclasses_global;
};

QEL_EXPORT std::string enum_to_string(OperatingClassDeduction::Region region);
QEL_EXPORT std::string enum_to_string(OperatingClassDeduction::Behavior behavior);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, OperatingClassDeduction::Region region);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, OperatingClassDeduction::Behavior behavior);

/// One row of a table. The class lists either primary channels or the centres of segments.
struct QEL_EXPORT OperatingClassDeduction::OpclassDefinition {
  OpclassDefinition(unsigned char opclass, const kHz& start, const MHz& spacing, std::vector<unsigned char> primaries,
                    std::vector<unsigned char> centers, std::vector<Behavior> required)
      : number(opclass),
        starting_frequency(start),
        channel_spacing(spacing),
        primary_channels(std::move(primaries)),
        center_channels(std::move(centers)),
        behaviors(std::move(required)) {}

  unsigned char number;
  kHz starting_frequency;  ///< of channel 0
  MHz channel_spacing;     ///< width of the channels; their numbers count in steps of 5 MHz, or 2160 MHz at 60 GHz
  std::vector<unsigned char> primary_channels;
  std::vector<unsigned char> center_channels;
  std::vector<Behavior> behaviors;
};

/// The same row as a view, so that a table can be constant.
struct OperatingClassDeduction::OpclassRow {
  unsigned char number;
  kHz starting_frequency;
  MHz channel_spacing;
  std::span<const unsigned char> primary_channels;
  std::span<const unsigned char> center_channels;
  std::span<const Behavior> behaviors;
};

/// The table of a region. If several classes fit, the first one with its spacing is used.
///
/// Unless stated otherwise, functions that take a class number throw std::invalid_argument if the table has no such
/// class.
class QEL_EXPORT OperatingClassDeduction::OpclassLookup {
 public:
  OpclassLookup(std::initializer_list<OpclassDefinition> definitions);

  /// The rows must outlive this object and be in ascending order of spacing.
  constexpr explicit OpclassLookup(std::span<const OpclassRow> rows) : rows_(rows) {}

  OpclassLookup(const OpclassLookup&) = delete;
  OpclassLookup& operator=(const OpclassLookup&) = delete;
  ~OpclassLookup() = default;

  /// Returns the class of a channel with this width, primary frequency and behaviours; 0 if there is none. For 80+80
  /// MHz, returns the class of the second segment; the frequency may be any inside it. Does not allocate.
  unsigned char get_opclass(ChannelWidth width, const kHz& frequency, const std::set<Behavior>& behaviors) const;

  /// Returns one class, or for 80+80 MHz two: those of the first and of the second segment. Only the primary frequency
  /// and the secondary centre are looked up. Throws std::logic_error if the primary frequency is not set or there is no
  /// class.
  std::vector<unsigned char> get_opclasses_from_channel_info(const ChannelInfo& info) const;

  /// Returns the classes of all channels with all their widths and behaviours, in ascending order.
  std::vector<unsigned char> get_supported_operating_classes(const ChannelList& list) const;

  /// True if the channel has at least one class.
  bool opclass_deducible_from_channel(const ChannelEntry& entry) const;

  /// Returns the frequency on the grid of the class, whether or not the class has this channel.
  kHz get_channel_frequency(unsigned char channel, unsigned char opclass) const;

  /// Returns the centre of the segment that contains the channel; for classes up to 25 MHz wide, the channel's own
  /// frequency. Also throws std::invalid_argument if no segment of the class contains the channel, and std::logic_error
  /// if the behaviours of the class do not determine the position of the primary channel.
  kHz get_segment_center_frequency(unsigned char channel, unsigned char opclass) const;

  /// The `ChannelCapabilityBit`s that a channel of this class needs.
  std::bitset<9> get_channel_capabilities(unsigned char opclass) const;

  /// True if the class is that of the second segment of an 80+80 MHz channel; false for an unknown class.
  bool is_secondary_segment(unsigned char opclass) const;

  /// Returns the channels in table order; the centres if the class is defined by them.
  std::vector<std::uint8_t> get_all_opclass_channels(unsigned char opclass) const;

  std::set<std::uint8_t> get_all_region_opclasses() const;

  /// Returns the frequencies of all classes that need no other capabilities and whose width is included, in ascending
  /// order without duplicates.
  std::vector<kHz> get_primary_frequencies_with_capabilities(const std::bitset<9>& capabilities) const;

  /// Prints several lines, each ending with a newline.
  void print_lookup_table(std::ostream& os) const;

  /// A null pointer gives no capabilities.
  static std::bitset<9> behaviors_to_channel_capabilities(const std::unique_ptr<std::vector<Behavior>>& behaviors);

  static std::set<Behavior> behaviors_from_channel_capabilities(const std::bitset<9>& capabilities);

 private:
  /// The rows with this spacing.
  std::span<const OpclassRow> rows_of(const MHz& spacing) const;
  const OpclassRow& row_of(unsigned char opclass) const;

  template <class IsRequested>
  unsigned char search(const MHz& spacing, const kHz& frequency, bool is_second_segment,
                       const IsRequested& is_requested) const;
  template <class IsRequested>
  unsigned char search(ChannelWidth width, const kHz& frequency, const IsRequested& is_requested) const;

  std::vector<OpclassDefinition> definitions_;  ///< the rows that own_rows_ refers to
  std::vector<OpclassRow> own_rows_;
  std::span<const OpclassRow> rows_;  ///< in ascending order of spacing; rows of equal spacing in table order
};

/// True if the global table has this class.
QEL_EXPORT bool is_valid_global_operating_class(std::uint8_t opclass);

/// True if the global table has this class, and the class has all these channels, or centres if it is defined by them.
QEL_EXPORT bool is_valid_global_operating_class_channelset(const std::uint8_t& opclass,
                                                           const std::vector<std::uint8_t>& channels);

}  // namespace qel
