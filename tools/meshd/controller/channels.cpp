#include "tools/meshd/controller/channels.h"

#include <algorithm>
#include <stdexcept>

#include "qel/channel/frequency.h"
#include "qel/channel/opclass_segment.h"
#include "qel/channel/operating_class_deduction.h"
#include "qel/ieee1905_1/channel_preference_conversion.h"
#include "qel/ieee1905_1/operating_channel_conversion.h"
#include "tools/meshd/controller/plan_words.h"

namespace meshd::controller {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::ChannelWidth;
using qel::kHz;
using Region = qel::OperatingClassDeduction::Region;

namespace {

ChannelPreferenceConversion conversion_of(const RadioModel& radio) {
  if (!radio.capabilities) {
    throw std::invalid_argument("the capabilities of the radio are not known yet");
  }
  return ChannelPreferenceConversion(radio.capabilities->value, Region::GLOBAL, qel::UnknownChannels::SKIP);
}

ChannelPreferenceTLV preferences_of(const RadioModel& radio) {
  return radio.preferences ? radio.preferences->value
                           : ChannelPreferenceTLV(radio.capabilities->value.get_radio_identifier());
}

/// Whether a channel of an operating class is the wanted one, or a part of it that contains the primary channel.
bool belongs_to(const qel::OpclassSegment& segment, const PrimaryChannel& wanted) {
  if (!is_valid(segment.width) || segment.width > wanted.width) {
    return false;
  }
  const std::vector<kHz> primaries = segment.get_primaries();
  return std::ranges::find(primaries, wanted.frequency) != primaries.end();
}

}  // namespace

std::optional<PrimaryChannel> operating_channel(const OperatingChannelReportTLV& report) {
  constexpr std::int64_t ANY_TIME = 1;
  try {
    const qel::ChannelInfo info =
        OperatingChannelConversion(Region::GLOBAL, qel::UnknownChannels::SKIP).to_channel_info(report, ANY_TIME);
    if (!info.get_primary_segment().is_set()) {
      return std::nullopt;
    }
    const auto& [center, width] = info.get_primary_segment().get();
    if (info.get_primary_frequency().is_set()) {
      return PrimaryChannel{info.get_primary_frequency().get(), width};
    }
    constexpr kHz HALF_OF_20_MHZ(10'000);
    const kHz half(qel::unit_cast<kHz>(channel_width_to_frequency(width)).value() / 2);
    return PrimaryChannel{center - half + HALF_OF_20_MHZ, width};  // any of them
  } catch (const std::invalid_argument&) {                         // the report contradicts itself
    return std::nullopt;
  }
}

std::optional<OperatingClassChannel> primary_class_channel(const OperatingChannelReportTLV& report) {
  for (const OperatingClassChannel& entry : report.get_operating_class_channel_vector()) {
    if (!qel::is_valid_global_operating_class_channelset(entry.get_operating_class(), {entry.get_channel()})) {
      continue;
    }
    if (get_opclass_segment(entry.get_channel(), entry.get_operating_class(), Region::GLOBAL).width ==
        ChannelWidth::WIDTH_20_MHZ) {
      return entry;
    }
  }
  return std::nullopt;
}

PrimaryChannel find_channel(const RadioModel& radio, unsigned int number, ChannelWidth width) {
  const ChannelPreferenceConversion conversion = conversion_of(radio);
  const auto current = radio.channel ? operating_channel(radio.channel->value) : std::nullopt;
  std::optional<PrimaryChannel> found;
  ChannelScore score;
  for (const auto& [channel, its_score] : conversion.to_primary_scores(conversion.to_scores(preferences_of(radio)))) {
    if (channel.width != width || qel::frequency_to_channel(channel.frequency) != number) {
      continue;
    }
    if (!found ||
        (current && qel::frequency_to_band(channel.frequency) == qel::frequency_to_band(current->frequency))) {
      found = channel;
      score = its_score;
    }
  }
  const std::string name = "channel " + std::to_string(number) + " at " + enum_to_string(width);
  if (!found) {
    throw std::invalid_argument("the radio has no " + name);
  }
  if (!score.is_operable()) {
    throw std::invalid_argument("the radio cannot use " + name + " now: " + meaning_of(score.reason));
  }
  return *found;
}

ChannelPreferenceTLV only_channel(const RadioModel& radio, const PrimaryChannel& wanted) {
  const ChannelPreferenceConversion conversion = conversion_of(radio);
  ChannelScores scores = conversion.to_scores(ChannelPreferenceTLV(conversion.get_radio_identifier()));
  for (auto& [channel, score] : scores) {
    const qel::OpclassSegment segment =
        get_opclass_segment(channel.get_channel(), channel.get_operating_class(), Region::GLOBAL);
    if (belongs_to(segment, wanted)) {
      const int steps = static_cast<int>(wanted.width) - static_cast<int>(segment.width);
      score.score = static_cast<std::uint8_t>(ChannelScore::HIGHEST - steps);
    } else {
      score.score = ChannelScore::NON_OPERABLE;
    }
  }
  return conversion.to_preferences(scores);
}

}  // namespace meshd::controller
