#pragma once

#include <optional>
#include <stdexcept>

#include "fuzz/round_trip.h"
#include "qel/ieee1905_1/channel_preference_conversion.h"
#include "qel/ieee1905_1/message.h"
#include "qel/ieee1905_1/operating_channel_conversion.h"

namespace qel::fuzz {

/// Checks that the scores from any preferences, for a radio with all classes, survive conversion to a report and back.
inline void convert(const ieee1905_1::ChannelPreferenceTLV& preferences) {
  ieee1905_1::APRadioBasicCapabilitiesTLV radio(preferences.get_radio_identifier(), 1);
  for (const std::uint8_t opclass :
       OperatingClassDeduction::get_all_region_opclasses(OperatingClassDeduction::Region::GLOBAL)) {
    radio.add_operation_class_information({opclass, 20});
  }
  const ieee1905_1::ChannelPreferenceConversion conversion(radio, OperatingClassDeduction::Region::GLOBAL,
                                                           UnknownChannels::SKIP);
  const ieee1905_1::ChannelScores scores = conversion.to_scores(preferences);
  require(conversion.to_scores(conversion.to_preferences(scores)) == scores, "scores come back from their report");
  conversion.to_scores(conversion.to_channel_list(scores));
}

/// Checks that any report either contradicts itself or describes one channel, which survives conversion to a report and
/// back.
inline void convert(const ieee1905_1::OperatingChannelReportTLV& report) {
  const ieee1905_1::OperatingChannelConversion conversion(OperatingClassDeduction::Region::GLOBAL,
                                                          UnknownChannels::SKIP);
  std::optional<ChannelInfo> info;
  try {
    info = conversion.to_channel_info(report, 1);
  } catch (const std::invalid_argument&) {
    return;
  }
  if (info->get_primary_segment().is_set()) {
    const auto again = conversion.to_report(report.get_radio_identifier(), *info);
    require(conversion.to_channel_info(again, 1) == *info, "a channel comes back from its report");
  }
}

/// Converts all TLVs of the message that have a conversion.
inline void convert(const ieee1905_1::Message& message) {
  for (const auto& tlv : message.get_list().get_TLV_list()) {
    if (const auto* preferences = dynamic_cast<const ieee1905_1::ChannelPreferenceTLV*>(tlv.get())) {
      convert(*preferences);
    } else if (const auto* report = dynamic_cast<const ieee1905_1::OperatingChannelReportTLV*>(tlv.get())) {
      convert(*report);
    }
  }
}

}  // namespace qel::fuzz
