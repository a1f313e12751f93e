#include "tools/meshctl/opclass.h"

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "qel/channel/frequency.h"
#include "qel/core/serialization/json_serializable_type.h"
#include "qel/core/serialization/yajl_wrappers.h"
#include "qel/core/text.h"

namespace meshctl {

namespace {

using qel::ChannelInfo;
using qel::kHz;
using qel::MHz;
using Lookup = qel::OperatingClassDeduction::OpclassLookup;

/// One object in one line.
class JsonLine {
 public:
  template <class Members>
  std::string write(Members members) {
    qel::serialization::wrap_in_yajl_object(stream_, members);
    return text_.str() + '\n';
  }

  template <class T>
  void member(const char* key, const T& value) {
    put(std::string(key));
    put(value);
  }

  /// Null for nothing.
  template <class T>
  void member(const char* key, const std::optional<T>& value) {
    value ? member(key, *value) : member(key, nullptr);
  }

  /// An array of objects, `members` writing those of one element.
  template <class List, class Members>
  void objects(const char* key, const List& list, Members members) {
    qel::serialization::wrap_in_yajl_array(stream_, key, [&] {
      for (const auto& element : list) {
        qel::serialization::wrap_in_yajl_object(stream_, [&] { members(element); });
      }
    });
  }

 private:
  template <class T>
  void put(const T& value) {
    qel::serialization::JSONSerializableType<T>::serialize(stream_, context_, value);
  }

  std::ostringstream text_;
  qel::serialization::SerializationContext context_;
  qel::serialization::YAJLStream stream_{text_, qel::serialization::YAJLIndentation::COMPACT};
};

/// "5857.5 MHz"; the tables know steps of 500 kHz.
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

ChannelInfo channel_info_of(const OpclassQuery& query) {
  const auto from_mhz = [](long frequency) { return qel::unit_cast<kHz>(MHz(frequency)); };
  ChannelInfo info(qel::LastChanged<kHz>(from_mhz(query.frequency)), {});
  if (query.width) {
    const ChannelInfo::Segment segment(from_mhz(query.center.value_or(0)), *query.width);
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
  JsonLine json;
  return json.write([&] {
    json.member("region", to_string(query.region));
    json.objects("opclasses", lookup.get_all_region_opclasses(), [&](std::uint8_t opclass) {
      const std::vector<std::uint8_t> channels = lookup.get_all_opclass_channels(opclass);
      std::vector<long> frequencies;
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

std::string opclasses_of(const OpclassQuery& query, const Lookup& lookup) {
  const ChannelInfo info = channel_info_of(query);
  const std::vector<unsigned char> opclasses = lookup.get_opclasses_from_channel_info(info);
  if (!query.json) {
    std::string text;
    for (const unsigned char opclass : opclasses) {
      text += std::to_string(opclass) + '\n';
    }
    return text;
  }
  JsonLine json;
  return json.write([&] {
    json.member("region", to_string(query.region));
    json.member("channel_info", info);
    json.member("opclasses", opclasses);
  });
}

std::optional<kHz> segment_center(const OpclassQuery& query, const Lookup& lookup) {
  try {
    return lookup.get_segment_center_frequency(query.channel, query.opclass);
  } catch (const std::logic_error&) {  // the class is known: the channel lies in none of its segments
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
  JsonLine json;
  return json.write([&] {
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
  throw std::logic_error("no such question");
}

}  // namespace meshctl
