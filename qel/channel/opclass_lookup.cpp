#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>

#include "qel/channel/frequency.h"
#include "qel/channel/operating_class_deduction.h"
#include "qel/core/text.h"

namespace qel {

namespace {

using Row = OperatingClassDeduction::OpclassRow;
using Behavior = OperatingClassDeduction::Behavior;

/// The channel capability that corresponds to each behaviour; a behaviour that is not listed has none.
constexpr std::pair<Behavior, ChannelCapabilityBit> CAPABILITIES[] = {
    {Behavior::EIGHTY_PLUS_BEHAVIOR, ChannelCapabilityBit::HT8080},
    {Behavior::PRIMARY_LOWER_BEHAVIOR, ChannelCapabilityBit::PRIMARY_LOWER_BEHAVIOR},
    {Behavior::PRIMARY_UPPER_BEHAVIOR, ChannelCapabilityBit::PRIMARY_UPPER_BEHAVIOR},
};

bool has_segments(const MHz& spacing) { return spacing >= MHz(40); }

std::string opclass_text(unsigned char opclass) { return "Provided opclass " + std::to_string(opclass); }

[[noreturn]] void fail_invalid(unsigned char opclass) {
  throw std::invalid_argument(opclass_text(opclass) + " not valid!");
}

unsigned char require_mapping(unsigned char opclass, const char* segment, const ChannelInfo& info) {
  if (opclass == 0) {
    throw std::logic_error(std::string("No mapping available for ") + segment + " segment of channel info " +
                           to_string(info));
  }
  return opclass;
}

/// The channels that define the class.
std::span<const unsigned char> channels_of(const Row& row) {
  return row.primary_channels.empty() ? row.center_channels : row.primary_channels;
}

bool has_behavior(const Row& row, Behavior behavior) {
  return std::ranges::find(row.behaviors, behavior) != row.behaviors.end();
}

kHz half_width(const Row& row) { return kHz(row.channel_spacing.value() * 1000 / 2); }

/// The position of a frequency on the grids of rows. Most rows of a lookup have the same grid.
class Place {
 public:
  explicit Place(const kHz& frequency) : frequency_(frequency) {}

  bool is_primary_of(const Row& row) {
    measure_from(row.starting_frequency);
    return channel_ >= 0 && !row.primary_channels.empty() &&
           std::memchr(row.primary_channels.data(), channel_, row.primary_channels.size()) != nullptr;
  }

  /// The centre of the row's segment that contains it, excluding the ends; empty if there is none.
  std::optional<kHz> center_in(const Row& row) {
    measure_from(row.starting_frequency);
    const long half = half_width(row).value();
    for (const unsigned char channel : row.center_channels) {
      const long center = channel * grid_;
      if (center - half < offset_ && offset_ < center + half) {
        return row.starting_frequency + kHz(center);
      }
    }
    return std::nullopt;
  }

  bool is_covered_by(const Row& row) {
    return row.primary_channels.empty() ? center_in(row).has_value() : is_primary_of(row);
  }

 private:
  void measure_from(const kHz& start) {
    if (grid_ != 0 && start == start_) {
      return;
    }
    start_ = start;
    grid_ = channel_grid(start).value();
    offset_ = (frequency_ - start).value();
    const long number = offset_ / grid_;
    constexpr long HIGHEST = std::numeric_limits<unsigned char>::max();
    channel_ = number * grid_ == offset_ && number >= 0 && number <= HIGHEST ? static_cast<int>(number) : -1;
  }

  kHz frequency_;
  kHz start_;
  long grid_ = 0;     ///< in kHz; 0 before the first row
  long offset_ = 0;   ///< above the start, in kHz
  int channel_ = -1;  ///< negative if it lies between channels
};

std::bitset<9> capabilities_of(std::span<const Behavior> behaviors) {
  std::bitset<9> capabilities;
  for (const auto& [behavior, bit] : CAPABILITIES) {
    if (std::ranges::find(behaviors, behavior) != behaviors.end()) {
      capabilities.set(bit_index(bit));
    }
  }
  return capabilities;
}

template <class List, class Print>
void print_list(std::ostream& os, const char* label, const List& list, Print print) {
  os << "    " << label << '[';
  const char* separator = "";
  for (const auto& element : list) {
    os << separator;
    print(element);
    separator = ", ";
  }
  os << "]\n";
}

}  // namespace

OperatingClassDeduction::OpclassLookup::OpclassLookup(std::initializer_list<OpclassDefinition> definitions)
    : definitions_(definitions) {
  for (const OpclassDefinition& each : definitions_) {
    const auto place = std::ranges::upper_bound(own_rows_, each.channel_spacing, {}, &Row::channel_spacing);
    own_rows_.insert(place, {each.number, each.starting_frequency, each.channel_spacing, each.primary_channels,
                             each.center_channels, each.behaviors});
  }
  rows_ = own_rows_;
}

std::span<const Row> OperatingClassDeduction::OpclassLookup::rows_of(const MHz& spacing) const {
  const auto first = std::ranges::lower_bound(rows_, spacing, {}, &Row::channel_spacing);
  return {first, std::ranges::upper_bound(first, rows_.end(), spacing, {}, &Row::channel_spacing)};
}

/// The first row with this number.
const Row& OperatingClassDeduction::OpclassLookup::row_of(unsigned char opclass) const {
  const auto row = std::ranges::find(rows_, opclass, &Row::number);
  if (row == rows_.end()) {
    fail_invalid(opclass);
  }
  return *row;
}

/// The first class that fits; 0 if there is none.
template <class IsRequested>
unsigned char OperatingClassDeduction::OpclassLookup::search(const MHz& spacing, const kHz& frequency,
                                                             bool is_second_segment,
                                                             const IsRequested& is_requested) const {
  Place place(frequency);
  for (const Row& row : rows_of(spacing)) {
    if ((!is_second_segment || has_behavior(row, Behavior::EIGHTY_PLUS_BEHAVIOR)) &&
        std::ranges::all_of(row.behaviors, is_requested) && place.is_covered_by(row)) {
      return row.number;
    }
  }
  return 0;
}

template <class IsRequested>
unsigned char OperatingClassDeduction::OpclassLookup::search(ChannelWidth width, const kHz& frequency,
                                                             const IsRequested& is_requested) const {
  const unsigned char opclass =
      search(channel_width_to_frequency(width), frequency, width == ChannelWidth::WIDTH_80_80_MHZ, is_requested);
  return opclass == 0 && width == ChannelWidth::WIDTH_20_MHZ ? search(MHz(25), frequency, false, is_requested)
                                                             : opclass;
}

unsigned char OperatingClassDeduction::OpclassLookup::get_opclass(ChannelWidth width, const kHz& frequency,
                                                                  const std::set<Behavior>& behaviors) const {
  return search(width, frequency, [&](Behavior behavior) { return behaviors.contains(behavior); });
}

std::vector<unsigned char> OperatingClassDeduction::OpclassLookup::get_opclasses_from_channel_info(
    const ChannelInfo& info) const {
  if (!info.get_primary_frequency().is_set()) {
    throw std::logic_error("Channel info has no primary frequency set");
  }
  const kHz& primary = info.get_primary_frequency().get();
  ChannelWidth width = ChannelWidth::WIDTH_20_MHZ;
  std::optional<Behavior> behavior;
  if (info.get_primary_segment().is_set()) {
    const auto& [center, segment_width] = info.get_primary_segment().get();
    width = segment_width;
    if (width == ChannelWidth::WIDTH_40_MHZ) {
      behavior = center <= primary ? Behavior::PRIMARY_UPPER_BEHAVIOR : Behavior::PRIMARY_LOWER_BEHAVIOR;
    } else if (width == ChannelWidth::WIDTH_80_80_MHZ) {
      behavior = Behavior::EIGHTY_PLUS_BEHAVIOR;
    }
  }
  const auto opclass_of = [&](ChannelWidth wanted, const kHz& frequency, const char* segment) {
    const unsigned char opclass = search(wanted, frequency, [&](Behavior each) { return each == behavior; });
    return require_mapping(opclass, segment, info);
  };
  if (width == ChannelWidth::WIDTH_80_80_MHZ) {
    const unsigned char first = opclass_of(ChannelWidth::WIDTH_80_MHZ, primary, "primary");
    return {first, opclass_of(width, info.get_secondary_center_frequency(), "secondary")};
  }
  return {opclass_of(width, primary, "primary")};
}

std::vector<unsigned char> OperatingClassDeduction::OpclassLookup::get_supported_operating_classes(
    const ChannelList& list) const {
  std::set<unsigned char> opclasses;
  for (const ChannelEntry& entry : list.get_channels()) {
    const std::set<Behavior> behaviors = behaviors_from_channel_capabilities(entry.get_capability_flags());
    for (const ChannelWidth width : entry.get_all_supported_channel_width()) {
      opclasses.insert(get_opclass(width, entry.get_frequency(), behaviors));
    }
  }
  opclasses.erase(0);
  return {opclasses.begin(), opclasses.end()};
}

bool OperatingClassDeduction::OpclassLookup::opclass_deducible_from_channel(const ChannelEntry& entry) const {
  const std::set<Behavior> behaviors = behaviors_from_channel_capabilities(entry.get_capability_flags());
  return std::ranges::any_of(entry.get_all_supported_channel_width(), [&](ChannelWidth width) {
    return get_opclass(width, entry.get_frequency(), behaviors) != 0;
  });
}

kHz OperatingClassDeduction::OpclassLookup::get_channel_frequency(unsigned char channel, unsigned char opclass) const {
  return channel_to_frequency(row_of(opclass).starting_frequency, channel);
}

kHz OperatingClassDeduction::OpclassLookup::get_segment_center_frequency(unsigned char channel,
                                                                         unsigned char opclass) const {
  const kHz frequency = get_channel_frequency(channel, opclass);
  Place place(frequency);
  for (const Row& row : rows_) {
    if (row.number != opclass) {
      continue;
    }
    if (!has_segments(row.channel_spacing)) {
      return frequency;
    }
    if (const std::optional<kHz> center = place.center_in(row)) {
      return *center;
    }
    if (!row.center_channels.empty() || !place.is_primary_of(row)) {
      continue;
    }
    if (row.behaviors.empty()) {
      throw std::logic_error(opclass_text(opclass) + " has no behaviors!");
    }
    if (has_behavior(row, Behavior::PRIMARY_LOWER_BEHAVIOR)) {
      return frequency + kHz(10000);
    }
    if (has_behavior(row, Behavior::PRIMARY_UPPER_BEHAVIOR)) {
      return frequency - kHz(10000);
    }
    throw std::logic_error(opclass_text(opclass) + " has no primary channel behavior definition!");
  }
  fail_invalid(opclass);
}

std::bitset<9> OperatingClassDeduction::OpclassLookup::get_channel_capabilities(unsigned char opclass) const {
  const Row& row = row_of(opclass);
  return capabilities_of(row.behaviors) |
         channel_width_capability_bits(frequency_to_channel_width(row.channel_spacing));
}

bool OperatingClassDeduction::OpclassLookup::is_secondary_segment(unsigned char opclass) const {
  return std::ranges::any_of(rows_, [&](const Row& row) {
    return row.number == opclass && has_behavior(row, Behavior::EIGHTY_PLUS_BEHAVIOR);
  });
}

std::vector<std::uint8_t> OperatingClassDeduction::OpclassLookup::get_all_opclass_channels(
    unsigned char opclass) const {
  const auto channels = channels_of(row_of(opclass));
  return {channels.begin(), channels.end()};
}

std::set<std::uint8_t> OperatingClassDeduction::OpclassLookup::get_all_region_opclasses() const {
  std::set<std::uint8_t> opclasses;
  for (const Row& row : rows_) {
    opclasses.insert(row.number);
  }
  return opclasses;
}

std::vector<kHz> OperatingClassDeduction::OpclassLookup::get_primary_frequencies_with_capabilities(
    const std::bitset<9>& capabilities) const {
  std::set<kHz> frequencies;
  for (const Row& row : rows_) {
    const std::bitset<9> of_width = channel_width_capability_bits(frequency_to_channel_width(row.channel_spacing));
    const std::bitset<9> needed = of_width | capabilities_of(row.behaviors);
    if (of_width.any() && (needed & ~capabilities).none()) {
      for (const unsigned char channel : row.primary_channels) {
        frequencies.insert(channel_to_frequency(row.starting_frequency, channel));
      }
    }
  }
  return {frequencies.begin(), frequencies.end()};
}

void OperatingClassDeduction::OpclassLookup::print_lookup_table(std::ostream& os) const {
  os << "Full lookup table:\n";
  const Row* previous = nullptr;
  for (const Row& row : rows_) {
    if (previous == nullptr || previous->channel_spacing != row.channel_spacing) {
      os << "Channel Width: " << row.channel_spacing << '\n';
    }
    previous = &row;
    os << "  Opclass: " << Decimal(row.number) << '\n';
    print_list(os, "Channel List: ", channels_of(row), [&](unsigned char channel) { os << Decimal(channel); });
    print_list(os, "Freq Ranges: ", row.center_channels, [&](unsigned char channel) {
      const kHz center = channel_to_frequency(row.starting_frequency, channel);
      os << center - half_width(row) << " - " << center + half_width(row);
    });
    print_list(os, "Behavior: ", row.behaviors, [&](Behavior behavior) { os << behavior; });
  }
}

std::bitset<9> OperatingClassDeduction::OpclassLookup::behaviors_to_channel_capabilities(
    const std::unique_ptr<std::vector<Behavior>>& behaviors) {
  return behaviors == nullptr ? std::bitset<9>() : capabilities_of(*behaviors);
}

std::set<OperatingClassDeduction::Behavior> OperatingClassDeduction::OpclassLookup::behaviors_from_channel_capabilities(
    const std::bitset<9>& capabilities) {
  std::set<Behavior> behaviors;
  for (const auto& [behavior, bit] : CAPABILITIES) {
    if (capabilities.test(bit_index(bit))) {
      behaviors.insert(behavior);
    }
  }
  return behaviors;
}

}  // namespace qel
