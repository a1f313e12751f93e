#include <algorithm>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>

#include "qel/channel/frequency.h"
#include "qel/channel/operating_class_deduction.h"
#include "qel/core/text.h"

namespace qel {

namespace {

using Behavior = OperatingClassDeduction::Behavior;

/// What each behaviour is among the capabilities of a channel; one that is not here is none of them.
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

OperatingClassDeduction::OpclassLookup::Entry::Entry(const OpclassDefinition& definition)
    : opclass(definition.number),
      starting_frequency(definition.starting_frequency),
      channels(definition.primary_channels.empty() ? definition.center_channels : definition.primary_channels) {
  for (const unsigned char channel : definition.primary_channels) {
    primary_frequencies.push_back(channel_to_frequency(starting_frequency, channel));
  }
  std::ranges::sort(primary_frequencies);
  const kHz half(definition.channel_spacing.value() * 1000 / 2);
  for (const unsigned char channel : definition.center_channels) {
    const kHz center = channel_to_frequency(starting_frequency, channel);
    ranges.push_back({center - half, center + half});
  }
  if (!definition.behaviors.empty()) {
    behaviors = std::make_unique<std::vector<Behavior>>(definition.behaviors);
  }
}

bool OperatingClassDeduction::OpclassLookup::Entry::has_behavior(Behavior behavior) const {
  return behaviors != nullptr && std::ranges::find(*behaviors, behavior) != behaviors->end();
}

bool OperatingClassDeduction::OpclassLookup::Entry::has_primary(const kHz& frequency) const {
  return std::ranges::binary_search(primary_frequencies, frequency);
}

const OperatingClassDeduction::OpclassLookup::Range* OperatingClassDeduction::OpclassLookup::Entry::find_range(
    const kHz& frequency) const {
  const auto range = std::ranges::find_if(ranges, [&](const Range& each) { return each.contains(frequency); });
  return range == ranges.end() ? nullptr : &*range;
}

bool OperatingClassDeduction::OpclassLookup::Entry::covers(const kHz& frequency) const {
  return primary_frequencies.empty() ? find_range(frequency) != nullptr : has_primary(frequency);
}

OperatingClassDeduction::OpclassLookup::OpclassLookup(std::initializer_list<OpclassDefinition> definitions) {
  for (const OpclassDefinition& definition : definitions) {
    entries_[definition.channel_spacing].emplace_back(definition);
  }
}

/// The first class that fits; 0 when there is none.
template <class IsRequested>
unsigned char OperatingClassDeduction::OpclassLookup::search(const MHz& spacing, const kHz& frequency,
                                                             bool is_second_segment,
                                                             const IsRequested& is_requested) const {
  const auto entries = entries_.find(spacing);
  if (entries == entries_.end()) {
    return 0;
  }
  for (const Entry& entry : entries->second) {
    if ((!is_second_segment || entry.has_behavior(Behavior::EIGHTY_PLUS_BEHAVIOR)) &&
        (entry.behaviors == nullptr || std::ranges::all_of(*entry.behaviors, is_requested)) &&
        entry.covers(frequency)) {
      return entry.opclass;
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

std::pair<MHz, const OperatingClassDeduction::OpclassLookup::Entry&> OperatingClassDeduction::OpclassLookup::get_entry(
    unsigned char opclass) const {
  for (const auto& [spacing, entries] : entries_) {
    const auto entry = std::ranges::find(entries, opclass, &Entry::opclass);
    if (entry != entries.end()) {
      return {spacing, *entry};
    }
  }
  fail_invalid(opclass);
}

kHz OperatingClassDeduction::OpclassLookup::get_channel_frequency(unsigned char channel, unsigned char opclass) const {
  return channel_to_frequency(get_entry(opclass).second.starting_frequency, channel);
}

kHz OperatingClassDeduction::OpclassLookup::get_segment_center_frequency(unsigned char channel,
                                                                         unsigned char opclass) const {
  const kHz frequency = get_channel_frequency(channel, opclass);
  for (const auto& [spacing, entries] : entries_) {
    for (const Entry& entry : entries) {
      if (entry.opclass != opclass) {
        continue;
      }
      if (!has_segments(spacing)) {
        return frequency;
      }
      if (const Range* range = entry.find_range(frequency); range != nullptr) {
        return kHz((range->lower + range->upper).value() / 2);
      }
      if (!entry.ranges.empty() || !entry.has_primary(frequency)) {
        continue;
      }
      if (entry.behaviors == nullptr) {
        throw std::logic_error(opclass_text(opclass) + " has no behaviors!");
      }
      if (entry.has_behavior(Behavior::PRIMARY_LOWER_BEHAVIOR)) {
        return frequency + kHz(10000);
      }
      if (entry.has_behavior(Behavior::PRIMARY_UPPER_BEHAVIOR)) {
        return frequency - kHz(10000);
      }
      throw std::logic_error(opclass_text(opclass) + " has no primary channel behavior definition!");
    }
  }
  fail_invalid(opclass);
}

std::bitset<9> OperatingClassDeduction::OpclassLookup::get_channel_capabilities(unsigned char opclass) const {
  const auto& [spacing, entry] = get_entry(opclass);
  return behaviors_to_channel_capabilities(entry.behaviors) |
         channel_width_capability_bits(frequency_to_channel_width(spacing));
}

bool OperatingClassDeduction::OpclassLookup::is_secondary_segment(unsigned char opclass) const {
  return std::ranges::any_of(entries_, [&](const auto& of_spacing) {
    return std::ranges::any_of(of_spacing.second, [&](const Entry& entry) {
      return entry.opclass == opclass && entry.has_behavior(Behavior::EIGHTY_PLUS_BEHAVIOR);
    });
  });
}

std::vector<std::uint8_t> OperatingClassDeduction::OpclassLookup::get_all_opclass_channels(
    unsigned char opclass) const {
  return get_entry(opclass).second.channels;
}

std::set<std::uint8_t> OperatingClassDeduction::OpclassLookup::get_all_region_opclasses() const {
  std::set<std::uint8_t> opclasses;
  for (const auto& [spacing, entries] : entries_) {
    for (const Entry& entry : entries) {
      opclasses.insert(entry.opclass);
    }
  }
  return opclasses;
}

std::vector<kHz> OperatingClassDeduction::OpclassLookup::get_primary_frequencies_with_capabilities(
    const std::bitset<9>& capabilities) const {
  std::set<kHz> frequencies;
  for (const auto& [spacing, entries] : entries_) {
    const std::bitset<9> of_width = channel_width_capability_bits(frequency_to_channel_width(spacing));
    for (const Entry& entry : entries) {
      const std::bitset<9> needed = of_width | behaviors_to_channel_capabilities(entry.behaviors);
      if (of_width.any() && (needed & ~capabilities).none()) {
        frequencies.insert(entry.primary_frequencies.begin(), entry.primary_frequencies.end());
      }
    }
  }
  return {frequencies.begin(), frequencies.end()};
}

void OperatingClassDeduction::OpclassLookup::print_lookup_table(std::ostream& os) const {
  os << "Full lookup table:\n";
  for (const auto& [spacing, entries] : entries_) {
    os << "Channel Width: " << spacing << '\n';
    for (const Entry& entry : entries) {
      os << "  Opclass: " << Decimal(entry.opclass) << '\n';
      print_list(os, "Channel List: ", entry.channels, [&](unsigned char channel) { os << Decimal(channel); });
      print_list(os, "Freq Ranges: ", entry.ranges,
                 [&](const Range& range) { os << range.lower << " - " << range.upper; });
      print_list(os, "Behavior: ", entry.behaviors == nullptr ? std::vector<Behavior>() : *entry.behaviors,
                 [&](Behavior behavior) { os << behavior; });
    }
  }
}

std::bitset<9> OperatingClassDeduction::OpclassLookup::behaviors_to_channel_capabilities(
    const std::unique_ptr<std::vector<Behavior>>& behaviors) {
  std::bitset<9> capabilities;
  for (const auto& [behavior, bit] : CAPABILITIES) {
    if (behaviors != nullptr && std::ranges::find(*behaviors, behavior) != behaviors->end()) {
      capabilities.set(bit_index(bit));
    }
  }
  return capabilities;
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
