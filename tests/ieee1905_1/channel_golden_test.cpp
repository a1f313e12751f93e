#include "qel/ieee1905_1/channel_preference_tlvs.h"
#include "qel/ieee1905_1/operating_channel_tlvs.h"
#include "tests/ieee1905_1/tlv_test.h"

namespace qel::ieee1905_1 {
namespace {

using G = Row<TLV>;

ChannelPreference preference(std::uint8_t operating_class, std::initializer_list<std::uint8_t> channels, int score,
                             int reason) {
  ChannelPreference preference = filled(ChannelPreference(), FIELD(operating_class), operating_class,
                                        FIELD(preference_score), score, FIELD(reason_code), reason);
  std::ranges::for_each(channels, [&](std::uint8_t channel) { preference.add_channel(channel); });
  return preference;
}

RestrictedOperatingClass restricted(std::uint8_t operating_class, const std::vector<RestrictedChannel>& channels) {
  return fields(RestrictedOperatingClass(operating_class), FIELD(operating_class), operating_class,
                LIST_FIELD(restricted_channel), channels);
}

TEST(ChannelTLVs, Golden) {
  using Preference = ChannelPreference;
  using Preferences = ChannelPreferenceTLV;
  constexpr auto DECLINE = ChannelSelectionResponseCode::DECLINE_VIOLATES_REPORTED_PREFERED;
  const Preference first =
      fields(Preference(), FIELD(operating_class), 115, LIST_FIELD(channel), octets("24282C"), FIELD(preference_score),
             15, FIELD(reason_code), ChannelPreferenceReasonCode::OPERATION_DISALLOWED_RADAR_DFS_CHANNEL);
  check_rows({
      G(fields(Preferences(A), FIELD(radio_identifier), A, LIST_FIELD(channel_preference),
               std::vector{first, preference(81, {}, 2, 13)}),
        "8B 0010 021A2B3C4D5E 02 # radio, preferences\n 73 03 24282C F7\n 51 00 2D",
        "type: CHANNEL_PREFERENCE Radio Identifier: 02:1A:2B:3C:4D:5E Preferences: ["
        "\n\tChannel Preference Operating Class: 115 Channels: [ 36 40 44 ] Preference: 15 ReasonCode: "
        "OPERATION_DISALLOWED_RADAR_DFS_CHANNEL"
        "\n\tChannel Preference Operating Class: 81 Channels: [ ] Preference: 2 ReasonCode: RESERVED BIT 13]"),
      G(fields(RadioOperationRestrictionTLV(A), FIELD(radio_identifier), A, LIST_FIELD(restricted_operating_class),
               std::vector{restricted(115, {fields(RestrictedChannel(36, 4), FIELD(channel), 36,
                                                   FIELD(frequency_separation), 4),
                                            {44, 6}}),
                           restricted(121, {{100, 8}})}),
        "8C 0011 021A2B3C4D5E 02 # radio, operating classes\n 73 02 2404 2C06\n 79 01 6408",
        "type: RADIO_OPERATION_RESTRICTION Radio Unique Identifier:02:1A:2B:3C:4D:5E Operating Classes with "
        "Restriction: [\n\tResticted Operating Class: 115 [\n\t\tResticted Channel: 36 Freq Separation: 4"
        "\n\t\tResticted Channel: 44 Freq Separation: 6]\n\tResticted Operating Class: 121 ["
        "\n\t\tResticted Channel: 100 Freq Separation: 8]]"),
      G(fields(TransmitPowerLimitTLV(B, 200), FIELD(radio_identifier), B, FIELD(power_limit), 200),
        "8D 0007 06F1E2D3C4B5 C8", "type: TRANSMIT_POWER_LIMIT Radio Identifier: 06:F1:E2:D3:C4:B5 Power Limit: 200"),
      G(fields(ChannelSelectionResponseTLV(B, DECLINE), FIELD(radio_identifier), B, FIELD(selection_response_code),
               DECLINE),
        "8E 0007 06F1E2D3C4B5 02",
        "type: CHANNEL_SELECTION_RESPONSE Radio Identifier: 06:F1:E2:D3:C4:B5 Response Code: "
        "DECLINE_VIOLATES_REPORTED_PREFERED"),
      G(fields(OperatingChannelReportTLV(A), FIELD(radio_identifier), A, FIELD(transmit_power_eirp), -3,
               LIST_FIELD(operating_class_channel),
               std::vector{fields(OperatingClassChannel(128, 155), FIELD(operating_class), 128, FIELD(channel), 155),
                           OperatingClassChannel(115, 36)}),
        "8F 000C 021A2B3C4D5E 02 809B 7324 FD # radio, entries, class and channel of each, power",
        "type: OPERATING_CHANNEL_REPORT Radio Identifier: 02:1A:2B:3C:4D:5E Transmit Power EIRP: -3  ["
        "\n\tOperatingClass: 128 on Channel: 155\n\tOperatingClass: 115 on Channel: 36]"),
  });
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

}  // namespace
}  // namespace qel::ieee1905_1
