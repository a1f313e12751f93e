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

/// From operating classes and channels to frequencies, and back (IEEE 802.11-2020, Annex E).
///
/// The static functions ask the table of a region. Regions without a table throw std::invalid_argument, as do unknown
/// ones. The tables do not change, so any thread may ask.
class QEL_EXPORT OperatingClassDeduction {
 public:
  /// Whose table. GLOBAL is Table E-4.
  enum class Region : std::uint8_t { USA = 0, EUROPE = 1, JAPAN = 2, GLOBAL = 3, CHINA = 4 };

  /// What a channel must be, beside its frequency, to belong to a class.
  enum class Behavior : std::uint32_t {
    EIGHTY_PLUS_BEHAVIOR = 0,    ///< may be the second segment of an 80+80 MHz channel
    UNMAPPED_BEHAVIOR = 1,       ///< a regulatory behaviour that no channel capability stands for
    PRIMARY_LOWER_BEHAVIOR = 2,  ///< the primary is the lower half of a 40 MHz channel
    PRIMARY_UPPER_BEHAVIOR = 3   ///< the upper half
  };

  struct OpclassDefinition;
  struct OpclassRow;
  class OpclassLookup;

  /// Throws for a region without a table.
  static const OpclassLookup& get_lookup(Region region);

  /// See `OpclassLookup` for all of these.
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

  /// Constants, there before any static object is built.
  static const OpclassLookup _channel_opclasses_europe;
  static const OpclassLookup _channel_opclasses_global;
};

QEL_EXPORT std::string enum_to_string(OperatingClassDeduction::Region region);
QEL_EXPORT std::string enum_to_string(OperatingClassDeduction::Behavior behavior);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, OperatingClassDeduction::Region region);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, OperatingClassDeduction::Behavior behavior);

/// One row of a table. The class has either primary channels or the centres of segments.
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
  MHz channel_spacing;     ///< the width of the channels; their numbers count in steps of 5 MHz, at 60 GHz of 2160 MHz
  std::vector<unsigned char> primary_channels;
  std::vector<unsigned char> center_channels;
  std::vector<Behavior> behaviors;
};

/// The same row as a view, so that a table can be a constant.
struct OperatingClassDeduction::OpclassRow {
  unsigned char number;
  kHz starting_frequency;
  MHz channel_spacing;
  std::span<const unsigned char> primary_channels;
  std::span<const unsigned char> center_channels;
  std::span<const Behavior> behaviors;
};

/// The table of a region. Of several classes that fit, the first one of its spacing wins.
///
/// Functions that take the number of a class throw std::invalid_argument when the table has none of this number, if
/// nothing else is said.
class QEL_EXPORT OperatingClassDeduction::OpclassLookup {
 public:
  OpclassLookup(std::initializer_list<OpclassDefinition> definitions);

  /// Of rows that outlive it, in ascending order of their spacing.
  constexpr explicit OpclassLookup(std::span<const OpclassRow> rows) : rows_(rows) {}

  OpclassLookup(const OpclassLookup&) = delete;
  OpclassLookup& operator=(const OpclassLookup&) = delete;
  ~OpclassLookup() = default;

  /// The class of a channel of this width with this primary frequency that has these behaviours; 0 when there is none.
  /// For 80+80 MHz the class of the second segment, the frequency being any inside it. Does not allocate.
  unsigned char get_opclass(ChannelWidth width, const kHz& frequency, const std::set<Behavior>& behaviors) const;

  /// One class; for 80+80 MHz two, that of the first segment and that of the second. Only the primary frequency and
  /// the secondary centre are looked up. Throws std::logic_error when the primary frequency is not set or there is no
  /// class.
  std::vector<unsigned char> get_opclasses_from_channel_info(const ChannelInfo& info) const;

  /// The classes, in ascending order, of all channels, each with all its widths and behaviours.
  std::vector<unsigned char> get_supported_operating_classes(const ChannelList& list) const;

  /// The channel has at least one of them.
  bool opclass_deducible_from_channel(const ChannelEntry& entry) const;

  /// On the grid of the class, whether or not the class has such a channel.
  kHz get_channel_frequency(unsigned char channel, unsigned char opclass) const;

  /// The centre of the segment that the channel lies in; of a class up to 25 MHz wide the channel's own frequency.
  /// Throws std::invalid_argument also when the channel lies in no segment of the class, std::logic_error when the
  /// behaviours of the class do not tell where in it the primary channel is.
  kHz get_segment_center_frequency(unsigned char channel, unsigned char opclass) const;

  /// `ChannelCapabilityBit`s that a channel of this class needs.
  std::bitset<9> get_channel_capabilities(unsigned char opclass) const;

  /// The class is that of the second segment of an 80+80 MHz channel; false for an unknown class.
  bool is_secondary_segment(unsigned char opclass) const;

  /// In the order of the table; the centres where a class is defined by them.
  std::vector<std::uint8_t> get_all_opclass_channels(unsigned char opclass) const;

  std::set<std::uint8_t> get_all_region_opclasses() const;

  /// Of the classes that need no other capabilities and have one of our widths; ascending, each once.
  std::vector<kHz> get_primary_frequencies_with_capabilities(const std::bitset<9>& capabilities) const;

  /// Several lines, the last one ended too.
  void print_lookup_table(std::ostream& os) const;

  /// Null gives none.
  static std::bitset<9> behaviors_to_channel_capabilities(const std::unique_ptr<std::vector<Behavior>>& behaviors);

  static std::set<Behavior> behaviors_from_channel_capabilities(const std::bitset<9>& capabilities);

 private:
  /// Those of one spacing.
  std::span<const OpclassRow> rows_of(const MHz& spacing) const;
  const OpclassRow& row_of(unsigned char opclass) const;

  template <class IsRequested>
  unsigned char search(const MHz& spacing, const kHz& frequency, bool is_second_segment,
                       const IsRequested& is_requested) const;
  template <class IsRequested>
  unsigned char search(ChannelWidth width, const kHz& frequency, const IsRequested& is_requested) const;

  std::vector<OpclassDefinition> definitions_;  ///< what own_rows_ view
  std::vector<OpclassRow> own_rows_;
  std::span<const OpclassRow> rows_;  ///< ascending by spacing; those of one spacing in the order of the table
};

/// The global table has a class of this number.
QEL_EXPORT bool is_valid_global_operating_class(std::uint8_t opclass);

/// The same, and the class has all these channels, or centres where it is defined by them.
QEL_EXPORT bool is_valid_global_operating_class_channelset(const std::uint8_t& opclass,
                                                           const std::vector<std::uint8_t>& channels);

}  // namespace qel
