#include "qel/ieee1905_1/channel_preference_tlvs.h"
#include "qel/ieee1905_1/operating_channel_tlvs.h"
#include "tests/ieee1905_1/tlv_test.h"
#include "tests/support/enum_texts.h"

namespace qel::ieee1905_1 {
namespace {

using G = Row<TLV>;

ChannelPreference preference(std::uint8_t operating_class, std::initializer_list<std::uint8_t> channels, int score,
                             int reason) {
  ChannelPreference preference =
      filled(ChannelPreference(), &ChannelPreference::set_operating_class, operating_class,
             &ChannelPreference::set_preference_score, score, &ChannelPreference::set_reason_code, reason);
  std::ranges::for_each(channels, [&](std::uint8_t channel) { preference.add_channel(channel); });
  return preference;
}
const auto PREFERENCES = with(ChannelPreferenceTLV(A), &ChannelPreferenceTLV::add_channel_preference,
                              {preference(115, {36, 40, 44}, 15, 7), preference(81, {}, 2, 13)});

RestrictedOperatingClass restricted(std::uint8_t operating_class, std::initializer_list<RestrictedChannel> channels) {
  return with(RestrictedOperatingClass(operating_class), &RestrictedOperatingClass::add_restricted_channel, channels);
}
const auto RESTRICTION =
    with(RadioOperationRestrictionTLV(A), &RadioOperationRestrictionTLV::add_restricted_operating_class,
         {restricted(115, {{36, 4}, {44, 6}}), restricted(121, {{100, 8}})});

const auto REPORT = with(filled(OperatingChannelReportTLV(A), &OperatingChannelReportTLV::set_transmit_power_eirp, -3),
                         &OperatingChannelReportTLV::add_operating_class_channel, {{128, 155}, {115, 36}});

TEST(ChannelTLVs, Golden) {
  check_rows({
      G(PREFERENCES, "8B 0010 021A2B3C4D5E 02 # radio, preferences\n 73 03 24282C F7\n 51 00 2D",
        "type: CHANNEL_PREFERENCE Radio Identifier: 02:1A:2B:3C:4D:5E Preferences: ["
        "\n\tChannel Preference Operating Class: 115 Channels: [ 36 40 44 ] Preference: 15 ReasonCode: "
        "OPERATION_DISALLOWED_RADAR_DFS_CHANNEL"
        "\n\tChannel Preference Operating Class: 81 Channels: [ ] Preference: 2 ReasonCode: RESERVED BIT 13]"),
      G(ChannelPreferenceTLV(B), "8B 0007 06F1E2D3C4B5 00",
        "type: CHANNEL_PREFERENCE Radio Identifier: 06:F1:E2:D3:C4:B5 Preferences: []"),
      G(RESTRICTION, "8C 0011 021A2B3C4D5E 02 # radio, operating classes\n 73 02 2404 2C06\n 79 01 6408",
        "type: RADIO_OPERATION_RESTRICTION Radio Unique Identifier:02:1A:2B:3C:4D:5E Operating Classes with "
        "Restriction: [\n\tResticted Operating Class: 115 [\n\t\tResticted Channel: 36 Freq Separation: 4"
        "\n\t\tResticted Channel: 44 Freq Separation: 6]\n\tResticted Operating Class: 121 ["
        "\n\t\tResticted Channel: 100 Freq Separation: 8]]"),
      G(TransmitPowerLimitTLV(B, 200), "8D 0007 06F1E2D3C4B5 C8",
        "type: TRANSMIT_POWER_LIMIT Radio Identifier: 06:F1:E2:D3:C4:B5 Power Limit: 200"),
      G(ChannelSelectionResponseTLV(B, ChannelSelectionResponseCode::DECLINE_VIOLATES_REPORTED_PREFERED),
        "8E 0007 06F1E2D3C4B5 02",
        "type: CHANNEL_SELECTION_RESPONSE Radio Identifier: 06:F1:E2:D3:C4:B5 Response Code: "
        "DECLINE_VIOLATES_REPORTED_PREFERED"),
      G(REPORT, "8F 000C 021A2B3C4D5E 02 809B 7324 FD # radio, entries, class and channel of each, power",
        "type: OPERATING_CHANNEL_REPORT Radio Identifier: 02:1A:2B:3C:4D:5E Transmit Power EIRP: -3  ["
        "\n\tOperatingClass: 128 on Channel: 155\n\tOperatingClass: 115 on Channel: 36]"),
  });
}

TEST(ChannelRecords, Golden) {
  test::check_golden_of(RestrictedChannel(36, 4), "24 04", "Resticted Channel: 36 Freq Separation: 4");
  test::check_golden_of(OperatingClassChannel(128, 155), "80 9B", "OperatingClass: 128 on Channel: 155");
}

TEST(ChannelPreference, IsOrderedByClassChannelsScoreAndReason) {
  const ChannelPreference in[] = {preference(81, {7}, 15, 3), preference(81, {8}, 1, 14), preference(81, {8}, 14, 0),
                                  preference(81, {8}, 14, 1), preference(82, {}, 0, 0)};
  test::expect_ascending<ChannelPreference>({&in[0], &in[1], &in[2], &in[3], &in[4]});
}

TEST(ChannelPreference, StaysAsItIsWhenDecodingFails) {
  const ChannelPreference before = preference(81, {7, 8}, 15, 3);
  for (const char* wire : {"", "73", "73 02 24", "73 02 24 28"}) {
    ChannelPreference decoded = before;
    serialization::SerializationContext context;
    test::read_all(octets(wire), [&](std::istream& is) { decoded.deserialize_impl(is, context); });
    EXPECT_EQ(decoded, before) << wire;
  }
}

TEST(ChannelPreference, KeepsFourBitsOfScoreAndOfReason) {
  ChannelPreference preference;
  preference.set_preference_score(0xF6);
  preference.set_reason_code(ChannelPreferenceReasonCode::CONTROLLER_DFS_CHANNEL_CLEAR_INDICATION);
  EXPECT_EQ(preference.get_preference_score(), 6);
  EXPECT_EQ(preference.get_reason_code(), ChannelPreferenceReasonCode(11));
  preference.set_reason_code(ChannelPreferenceReasonCode::INVALID_MAX);
  EXPECT_EQ(preference.get_reason_code(), ChannelPreferenceReasonCode::UNSPECIFIED);
  EXPECT_EQ(preference.get_preference_score(), 6);
}

TEST(ChannelTLVs, PrintTheirEnumerations) {
  test::check_enum_texts<ChannelPreferenceReasonCode>(R"(
0 UNSPECIFIED 1 PROXIMATE_NON_80211_INTERFERER 2 INTRA_NETWORK_80211_OBSS_INTERFERENCE_MANAGEMENT
3 EXTERNAL_NETWORK_80211_OBSS_INTERFERENCE_MANAGEMENT 4 REDUCED_COVERAGE 5 REDUCED_THROUGHPUT
6 INDEVICE_INTERFERER_WITHIN_AP 7 OPERATION_DISALLOWED_RADAR_DFS_CHANNEL 8 OPERATION_WOULD_PREVENT_BACKHAUL_OPERATION
9 IMMEDIATE_OPERATION_POSSIBLE_ON_DFS_CHANNEL 10 DFS_CHANNEL_STATE_UNKNOWN 11 CONTROLLER_DFS_CHANNEL_CLEAR_INDICATION
12 RESERVED~BIT~12 13 RESERVED~BIT~13 14 RESERVED~BIT~14 15 RESERVED~BIT~15 16 INVALID~MAX)");
  test::check_enum_texts<ChannelSelectionResponseCode>(
      "0 ACCEPT 1 DECLINE_VIOLATES_CHANGED_PREFERED 2 DECLINE_VIOLATES_REPORTED_PREFERED "
      "3 DECLINE_BREAKS_BACKHAUL_LINK 255 INVALID");
}

TEST(ChannelTLVs, GiveBackTheirFields) {
  const RestrictedOperatingClass& restricted = RESTRICTION.get_restricted_operating_class_vector()[0];
  const RestrictedChannel& channel = restricted.get_restricted_channel_vector()[1];
  const OperatingClassChannel& operating = REPORT.get_operating_class_channel_vector()[0];
  EXPECT_EQ(std::tuple(restricted.get_operating_class(), channel.get_channel(), channel.get_frequency_separation(),
                       operating.get_operating_class(), operating.get_channel()),
            std::tuple(115, 44, 6, 128, 155));
}

}  // namespace
}  // namespace qel::ieee1905_1
