#include "qel/ieee1905_1/ap_capability_tlvs.h"
#include "qel/ieee1905_1/ap_he_capabilities_tlv.h"
#include "qel/ieee1905_1/ap_phy_capabilities_tlvs.h"
#include "qel/ieee1905_1/channel_preference_tlvs.h"
#include "qel/ieee1905_1/operating_channel_tlvs.h"
#include "tests/ieee1905_1/check_limit.h"

namespace qel::ieee1905_1 {
namespace {

const char* const SIZE = "Invalid size";

/// Numbers of records and of the elements that the records share evenly.
using Counts = std::vector<std::pair<std::size_t, std::size_t>>;

template <class T, class Record, class Element>
void check_limits(void (T::*add_record)(const Record&), void (Record::*add_element)(Element), const char* refused,
                  const Counts& counts) {
  for (auto [records, elements] : counts) {
    SCOPED_TRACE(std::to_string(records) + " " + std::to_string(elements));
    T tlv;
    for (; records > 0; --records) {
      Record record;
      const std::size_t left = elements - elements / records;
      for (; elements > left; --elements) {
        (record.*add_element)(std::remove_cvref_t<Element>());
      }
      (tlv.*add_record)(record);
    }
    check_limit(tlv, refused);
  }
}

template <class T, class Record, class Element>
void check_limits(void (T::*add_record)(const Record&), void (Record::*add_element)(Element), const Counts& accepted,
                  const Counts& refused, const Counts& too_long) {
  check_limits(add_record, add_element, "", accepted);
  check_limits(add_record, add_element, SIZE, refused);
  check_limits(add_record, add_element, "Invalid length", too_long);
}

TEST(APAndChannelLimits, OfEncoding) {
  check_limits(&APRadioBasicCapabilitiesTLV::add_operation_class_information,
               &OperatingClassInformation::add_non_operable_channel,  //
               {{1, 0}, {1, 255}, {255, 64762}}, {{0, 0}, {256, 0}, {1, 256}}, {{255, 64763}});
  // The last one is also too long: counts come first.
  check_limits(&ChannelPreferenceTLV::add_channel_preference, &ChannelPreference::add_channel, {{1, 255}, {255, 64763}},
               {{256, 0}, {1, 256}, {255, 255 * 256}}, {{255, 64764}});
  check_limits(&RadioOperationRestrictionTLV::add_restricted_operating_class,
               &RestrictedOperatingClass::add_restricted_channel,  //
               {{1, 1}, {1, 255}, {255, 255}, {200, 32564}}, {{0, 0}, {1, 0}, {1, 256}, {256, 256}}, {{200, 32565}});
  using Report = OperatingChannelReportTLV;
  for (const auto& [count, refused] : {std::pair(0U, SIZE), {1U, ""}, {255U, ""}, {256U, SIZE}}) {
    check_limit(test::with(Report(), &Report::add_operating_class_channel, std::vector<OperatingClassChannel>(count)),
                refused);
  }
}

TEST(APAndChannelLimits, EmptyListsThatDoNotEncodeDecodeAllTheSame) {
  check_decodes_only("85 0008 021A2B3C4D5E 07 00", SIZE);
  check_decodes_only("8C 0007 021A2B3C4D5E 00", SIZE);
  check_decodes_only("8C 0009 021A2B3C4D5E 01 73 00", SIZE);
  check_decodes_only("8F 0008 021A2B3C4D5E 00 FD", SIZE);
}

TEST(APAndChannelLimits, FailuresNameThePrimitiveThatIsCutShort) {
  for (const auto& [octets, type] : {std::pair("A1 0001", "uint8_t"),  // flags
                                     {"85 0008 021A2B3C4D5E 07 FF", "uint8_t"},
                                     {"85 0008 021A2B3C4D5E 07 01 73", "int8_t"},
                                     {"85 0008 021A2B3C4D5E 07 01 73 14", "uint8_t"},
                                     {"88 0015 021A2B3C4D5E 04 FF", "uint8_t"},  // map
                                     {"8B 000A 021A2B3C4D5E 02 51 FF 06", "uint8_t"},
                                     {"8F 000A 021A2B3C4D5E 01 80 9B", "int8_t"}}) {
    const test::Octets wire = test::octets(octets);
    EXPECT_EQ(decode_tlv(wire).outcome,
              (test::ReadOutcome{"Deserialization of type std::" + std::string(type) + " failed.", test::CUT_SHORT,
                                 wire.size()}))
        << octets;
  }
}

template <class... T>
bool give_back_their_radio() {
  const MACAddress radio = test::mac("06F1E2D3C4B5");
  const auto gives_back = [&](auto tlv) {
    tlv.set_radio_identifier(radio);
    return tlv.get_radio_identifier() == radio;
  };
  return (gives_back(T()) && ...);
}

TEST(APAndChannelTLVs, GiveBackTheirRadio) {
  EXPECT_TRUE((give_back_their_radio<APRadioBasicCapabilitiesTLV, APHTCapabilitiesTLV, APVHTCapabilitiesTLV,
                                     APHECapabilitiesTLV, ChannelPreferenceTLV, RadioOperationRestrictionTLV,
                                     TransmitPowerLimitTLV, ChannelSelectionResponseTLV, OperatingChannelReportTLV>()));
}

}  // namespace
}  // namespace qel::ieee1905_1
