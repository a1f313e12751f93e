#include "qel/ieee1905_1/message.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>

#include "fuzz/round_trip.h"
#include "qel/ieee1905_1/ap_he_capabilities_tlv.h"
#include "qel/ieee1905_1/channel_preference_conversion.h"
#include "qel/ieee1905_1/operating_channel_conversion.h"
#include "qel/ieee1905_1/vendor/qel_message_type_tlv.h"
#include "qel/ieee1905_1/vendor/qel_tlv_type.h"
#include "qel/ieee1905_1/vendor/vendor_specific_tlv.h"

/// Decodes any octets as a CMDU.

using namespace qel::ieee1905_1;
using qel::fuzz::require;

namespace {

/// With 80+80 MHz but without 160 MHz, the encoder writes the maps for 80+80 where a decoder expects those for 160.
bool is_he_8080_without_160(const TLV& tlv) {
  if (const auto* vendor = dynamic_cast<const VendorSpecificTLV*>(&tlv); vendor != nullptr) {
    const auto* nested = dynamic_cast<const QELTLVType*>(vendor->get_vendor_specific().get());
    return nested != nullptr && is_he_8080_without_160(*nested->get_tlv());
  }
  const auto* he = dynamic_cast<const APHECapabilitiesTLV*>(&tlv);
  return he != nullptr && he->get_he_80_80_mhz_support() && !he->get_he_160_mhz_support();
}

/// The messages that do not decode to what was encoded.
std::string exception(const Message& message) {
  const auto& tlvs = message.get_list().get_TLV_list();
  const bool he = std::ranges::any_of(tlvs, [](const auto& tlv) { return is_he_8080_without_160(*tlv); });
  return he ? "HE Capabilities with inconsistent MCS set" : "";
}

/// Checks that the scores from any preferences, for a radio with all classes, survive conversion to a report and back.
void convert(const ChannelPreferenceTLV& preferences) {
  APRadioBasicCapabilitiesTLV radio(preferences.get_radio_identifier(), 1);
  for (const std::uint8_t opclass :
       qel::OperatingClassDeduction::get_all_region_opclasses(qel::OperatingClassDeduction::Region::GLOBAL)) {
    radio.add_operation_class_information({opclass, 20});
  }
  const ChannelPreferenceConversion conversion(radio, qel::OperatingClassDeduction::Region::GLOBAL,
                                               qel::UnknownChannels::SKIP);
  const ChannelScores scores = conversion.to_scores(preferences);
  require(conversion.to_scores(conversion.to_preferences(scores)) == scores, "scores come back from their report");
  conversion.to_scores(conversion.to_channel_list(scores));
}

/// Checks that any report either contradicts itself or describes one channel, which survives conversion to a report and
/// back.
void convert(const OperatingChannelReportTLV& report) {
  const OperatingChannelConversion conversion(qel::OperatingClassDeduction::Region::GLOBAL, qel::UnknownChannels::SKIP);
  std::optional<qel::ChannelInfo> info;
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
void convert(const Message& message) {
  for (const auto& tlv : message.get_list().get_TLV_list()) {
    if (const auto* preferences = dynamic_cast<const ChannelPreferenceTLV*>(tlv.get())) {
      convert(*preferences);
    } else if (const auto* report = dynamic_cast<const OperatingChannelReportTLV*>(tlv.get())) {
      convert(*report);
    }
  }
}

void print(std::ostream& os, const Message& message) { os << message << get_qel_message_type(message); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto message = qel::fuzz::round_trip<Message>({data, size}, print, exception);
  if (message != nullptr) {
    convert(*message);
  }
  return 0;
}
