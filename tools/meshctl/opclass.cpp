#include "tools/meshctl/opclass.h"

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "qel/channel/frequency.h"
#include "qel/core/text.h"
#include "tools/json_line.h"

namespace meshctl {

namespace {

using qel::ChannelInfo;
using qel::ChannelWidth;
using qel::kHz;
using qel::MHz;
using Lookup = qel::OperatingClassDeduction::OpclassLookup;

/// Formats as "5857.5 MHz"; the tables have steps of 500 kHz.
std::string in_mhz(const kHz& frequency) {
  return std::to_string(frequency.value() / 1000) + (frequency.value() % 1000 != 0 ? ".5" : "") + " MHz";
}

std::string names_of(const std::bitset<9>& capabilities) {
  std::string names;
  for (std::size_t bit = 0; bit < capabilities.size(); ++bit) {
    if (capabilities.test(bit)) {
      names += (names.empty() ? "" : " ") + enum_to_string(static_cast<qel::ChannelCapabilityBit>(bit));
    }
  }
  return names.empty() ? "none" : names;
}

kHz from_mhz(long frequency) { return qel::unit_cast<kHz>(MHz(frequency)); }

/// The width of the channels of a class.
ChannelWidth width_of(std::uint8_t opclass, const Lookup& lookup) {
  return qel::capability_bits_max_channel_width(lookup.get_channel_capabilities(opclass));
}

/// The possible centres of a channel with this primary channel; of its first segment if it has two.
std::set<kHz> centers_around(const kHz& primary, ChannelWidth width, const Lookup& lookup) {
  const ChannelWidth segment = width == ChannelWidth::WIDTH_80_80_MHZ ? ChannelWidth::WIDTH_80_MHZ : width;
  const long half = qel::unit_cast<kHz>(qel::channel_width_to_frequency(segment)).value() / 2;
  std::set<kHz> centers;
  for (const std::uint8_t opclass : lookup.get_all_region_opclasses()) {
    if (width_of(opclass, lookup) != segment) {
      continue;
    }
    for (const std::uint8_t channel : lookup.get_all_opclass_channels(opclass)) {
      const kHz own = lookup.get_channel_frequency(channel, opclass);
      const kHz center = lookup.get_segment_center_frequency(channel, opclass);
      // The channels of a class are primary channels or centres.
      if (own == primary || (own == center && std::abs(primary.value() - center.value()) < half)) {
        centers.insert(center);
      }
    }
  }
  return centers;
}

kHz center_of(const OpclassQuery& query, const Lookup& lookup) {
  const kHz primary = from_mhz(query.frequency);
  if (query.center || *query.width == ChannelWidth::WIDTH_20_MHZ) {
    return query.center ? from_mhz(*query.center) : primary;
  }
  const std::set<kHz> centers = centers_around(primary, *query.width, lookup);
  if (centers.empty()) {
    throw std::logic_error("no operating class has a channel of " + enum_to_string(*query.width) + " around " +
                           in_mhz(primary));
  }
  if (centers.size() > 1) {
    throw std::logic_error("the center may be " + std::to_string(centers.begin()->value() / 1000) + " or " +
                           in_mhz(*centers.rbegin()) + "; choose one with --center");
  }
  return *centers.begin();
}

ChannelInfo channel_info_of(const OpclassQuery& query, const Lookup& lookup) {
  ChannelInfo info(qel::LastChanged<kHz>(from_mhz(query.frequency)), {});
  if (query.width) {
    const ChannelInfo::Segment segment(center_of(query, lookup), *query.width);
    info.set_segment(qel::LastChanged<ChannelInfo::Segment>(segment), from_mhz(query.secondary_center.value_or(0)));
  }
  return info;
}

std::string table(const OpclassQuery& query, const Lookup& lookup) {
  if (!query.json) {
    std::ostringstream text;
    lookup.print_lookup_table(text);
    return text.str();
  }
  return tools::json_line([&](tools::JsonLine& json) {
    json.member("region", to_string(query.region));
    json.objects("opclasses", lookup.get_all_region_opclasses(), [&](std::uint8_t opclass) {
      const std::vector<std::uint8_t> channels = lookup.get_all_opclass_channels(opclass);
      std::vector<long> frequencies;
      frequencies.reserve(channels.size());
      for (const std::uint8_t channel : channels) {
        frequencies.push_back(lookup.get_channel_frequency(channel, opclass).value());
      }
      json.member("opclass", opclass);
      json.member("channels", channels);
      json.member("frequencies", frequencies);
      json.member("capability_flags", lookup.get_channel_capabilities(opclass).to_ulong());
      json.member("secondary_segment", lookup.is_secondary_segment(opclass));
    });
  });
}

/// A class, and the channel in terms of it.
struct ClassOfChannel {
  std::uint8_t opclass;
  std::string band;
  std::string width;
  std::optional<std::uint8_t> channel;  ///< its number
  std::vector<std::uint8_t> channels;   ///< all channels of the class
};

ClassOfChannel class_of_channel(std::uint8_t opclass, const ChannelInfo& info, const Lookup& lookup) {
  ClassOfChannel result{opclass, {}, {}, {}, lookup.get_all_opclass_channels(opclass)};
  result.width = enum_to_string(width_of(opclass, lookup));
  const auto frequency = [&](std::uint8_t channel) { return lookup.get_channel_frequency(channel, opclass); };
  result.band = enum_to_string(qel::frequency_to_band(frequency(result.channels.front())));
  // The channels of a class are primary channels or centres.
  std::vector<kHz> own{info.get_secondary_center_frequency()};
  if (!lookup.is_secondary_segment(opclass)) {
    own = {info.get_primary_frequency().get()};
    if (info.get_primary_segment().is_set()) {
      own.push_back(info.get_primary_segment().get().first);
    }
  }
  for (const kHz& candidate : own) {
    const auto place = std::ranges::find(result.channels, candidate, frequency);
    if (place != result.channels.end()) {
      result.channel = *place;
      break;
    }
  }
  return result;
}

std::string to_text(const ClassOfChannel& one, const Lookup& lookup) {
  std::string text = "operating class: " + std::to_string(one.opclass) + "\nband: " + one.band +
                     "\nwidth: " + one.width + "\nchannel: ";
  text += one.channel ? std::to_string(*one.channel) + " (" +
                            in_mhz(lookup.get_channel_frequency(*one.channel, one.opclass)) + ")"
                      : "none";
  text += "\nchannels of the class:";
  for (const std::uint8_t channel : one.channels) {
    text += ' ' + std::to_string(channel);
  }
  return text + '\n';
}

std::string opclasses_of(const OpclassQuery& query, const Lookup& lookup) {
  const ChannelInfo info = channel_info_of(query, lookup);
  const std::vector<unsigned char> opclasses = lookup.get_opclasses_from_channel_info(info);
  std::vector<ClassOfChannel> classes;
  classes.reserve(opclasses.size());
  for (const unsigned char opclass : opclasses) {
    classes.push_back(class_of_channel(opclass, info, lookup));
  }
  if (!query.json) {
    std::string text;
    for (const ClassOfChannel& one : classes) {
      text += (text.empty() ? "" : "\n") + to_text(one, lookup);
    }
    return text;
  }
  return tools::json_line([&](tools::JsonLine& json) {
    json.member("region", to_string(query.region));
    json.member("channel_info", info);
    json.member("opclasses", opclasses);
    json.objects("classes", classes, [&](const ClassOfChannel& one) {
      json.member("opclass", one.opclass);
      json.member("band", one.band);
      json.member("channel_width", one.width);
      json.member("channel", one.channel);
      json.member("channels", one.channels);
    });
  });
}

std::optional<kHz> segment_center(const OpclassQuery& query, const Lookup& lookup) {
  try {
    return lookup.get_segment_center_frequency(query.channel, query.opclass);
  } catch (const std::logic_error&) {  // the class is known, so the channel is in none of its segments
    return std::nullopt;
  }
}

std::string frequency_of(const OpclassQuery& query, const Lookup& lookup) {
  const kHz frequency = lookup.get_channel_frequency(query.channel, query.opclass);
  const std::optional<kHz> center = segment_center(query, lookup);
  const std::vector<std::uint8_t> channels = lookup.get_all_opclass_channels(query.opclass);
  const bool is_listed = std::ranges::find(channels, query.channel) != channels.end();
  const std::bitset<9> capabilities = lookup.get_channel_capabilities(query.opclass);
  const bool is_secondary = lookup.is_secondary_segment(query.opclass);
  if (!query.json) {
    return "frequency: " + in_mhz(frequency) + "\nsegment center: " + (center ? in_mhz(*center) : "none") +
           "\nlisted in the class: " + (is_listed ? "yes" : "no") + "\ncapabilities: " + names_of(capabilities) +
           "\nsecondary segment: " + (is_secondary ? "yes" : "no") + '\n';
  }
  return tools::json_line([&](tools::JsonLine& json) {
    json.member("region", to_string(query.region));
    json.member("opclass", query.opclass);
    json.member("channel", query.channel);
    json.member("frequency", frequency.value());
    json.member("segment_center", center ? std::optional(center->value()) : std::nullopt);
    json.member("listed", is_listed);
    json.member("capability_flags", capabilities.to_ulong());
    json.member("secondary_segment", is_secondary);
  });
}

}  // namespace

std::string answer(const OpclassQuery& query) {
  const Lookup& lookup = qel::OperatingClassDeduction::get_lookup(query.region);
  switch (query.verb) {
    case OpclassVerb::TABLE:
      return table(query, lookup);
    case OpclassVerb::OF:
      return opclasses_of(query, lookup);
    case OpclassVerb::FREQ:
      return frequency_of(query, lookup);
  }
  throw std::logic_error("unknown query");
}

}  // namespace meshctl
