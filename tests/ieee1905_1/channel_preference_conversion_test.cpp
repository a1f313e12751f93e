#include "qel/ieee1905_1/channel_preference_conversion.h"

#include "qel/core/text.h"
#include "tests/ieee1905_1/tlv_test.h"

namespace qel::ieee1905_1 {
namespace {

using enum ChannelWidth;
using enum OperatingClassDeduction::Region;
using enum UnknownChannels;
using Channels = std::vector<std::uint8_t>;

constexpr std::int64_t TIME = 7;

struct Class {
  std::uint8_t opclass;
  Channels non_operable = {};
};
APRadioBasicCapabilitiesTLV radio(const std::vector<Class>& classes) {
  APRadioBasicCapabilitiesTLV radio(A, 4);
  for (const Class& each : classes) {
    OperatingClassInformation information(each.opclass, 20);
    std::ranges::for_each(each.non_operable, [&](auto channel) { information.add_non_operable_channel(channel); });
    radio.add_operation_class_information(information);
  }
  return radio;
}

/// 36 to 64, up to 160 MHz.
const auto LOWER_5_GHZ =
    radio({{115}, {116}, {117}, {118}, {119}, {120}, {128, {106, 122, 138, 155, 171}}, {129, {114, 163}}});

struct Record {
  std::uint8_t opclass;
  Channels channels;
  int score, reason;
};
ChannelPreferenceTLV preferences(const std::vector<Record>& records, const MACAddress& of = A) {
  ChannelPreferenceTLV tlv(of);
  for (const Record& each : records) {
    ChannelPreference record;
    record.set_operating_class(each.opclass);
    record.set_preference_score(static_cast<std::uint8_t>(each.score));
    record.set_reason_code(ChannelPreferenceReasonCode(each.reason));
    std::ranges::for_each(each.channels, [&](auto channel) { record.add_channel(channel); });
    tlv.add_channel_preference(record);
  }
  return tlv;
}

constexpr ChannelScore score(int score, int reason) {
  return {static_cast<std::uint8_t>(score), ChannelPreferenceReasonCode(reason)};
}

/// What is known of some channels.
struct Known {
  Channels channels;
  unsigned long state = 0, config = 0, dfs = 0;
  LastUpdated<unsigned char> anpi = {}, utilization = {};

  void set(ChannelEntry& entry) const {
    entry = ChannelEntry(entry.get_channel_number(), entry.get_frequency(), entry.get_capability_flags() | Bits(dfs),
                         {state, TIME}, {config, TIME}, {}, {}, anpi, utilization);
  }
  using Bits = std::bitset<9>;
};

TEST(ChannelPreferenceConversion, DescribesAListInFewRecords) {
  constexpr unsigned long CLEAR = 1, RADAR = 2, RUNNING = 4, DUE = 8, INTERFERENCE = 16;
  constexpr unsigned long DISTURBER = 1, OPTIMIZED = 2, DFS = 16;
  const std::tuple<APRadioBasicCapabilitiesTLV, std::vector<Known>, std::vector<Record>> rows[] = {
      // clang-format off
      {LOWER_5_GHZ, {{{52, 56, 60, 64}, DUE}},
       {{118, {}, 8, 10}, {119, {}, 8, 10}, {120, {}, 8, 10}, {128, {58}, 8, 10}, {129, {}, 8, 10}}},
      {LOWER_5_GHZ, {{{36}, 0, DISTURBER}, {{52, 56, 64}, CLEAR}, {{60}, RUNNING}},
       {{115, {36}, 4, 3}, {116, {36}, 4, 3}, {117, {40}, 4, 3}, {118, {60}, 9, 10}, {118, {52, 56, 64}, 12, 9},
        {119, {60}, 9, 10}, {119, {52}, 12, 9}, {120, {64}, 9, 10}, {120, {56}, 12, 9}, {128, {42}, 4, 3},
        {128, {58}, 9, 10}, {129, {}, 4, 3}}},
      {radio({{121}}), {{{100}, RADAR}, {{104}, INTERFERENCE, 0, DFS}, {{108}, 0, 0, 0, {80, TIME}, {100, TIME}},
                     {{112}, 0, 0, 0, {79, TIME}, {75, TIME}}, {{116}, 0, 0, 0, {255, TIME}, {101, TIME}},
                     {{120}, 0, 0, 0, {0, TIME}, {74, TIME}}, {{124}, 0, OPTIMIZED}, {{128}, RADAR, OPTIMIZED},
                     {{132}, DUE, 0, DFS}, {{136}, 0, 0, DFS}, {{140}, RUNNING, 0, DFS}, {{144}, CLEAR, 0, DFS}},
       {{121, {100, 128}, 0, 7}, {121, {104}, 2, 1}, {121, {108}, 3, 1}, {121, {112}, 5, 5}, {121, {124}, 6, 2},
        {121, {132, 136}, 8, 10}, {121, {140}, 9, 10}, {121, {144}, 12, 9}}},
      // clang-format on
  };
  for (const auto& [of_radio, changes, records] : rows) {
    const ChannelPreferenceConversion conversion(of_radio);
    std::vector<ChannelEntry> entries = conversion.to_channel_list({}).get_channels();
    for (const Known& known : changes) {
      for (const std::uint8_t channel : known.channels) {
        known.set(*std::ranges::find(entries, channel, &ChannelEntry::get_channel_number));
      }
    }
    EXPECT_EQ(conversion.to_preferences(ChannelList(entries)), preferences(records));
  }
}

TEST(ChannelPreferenceConversion, ReportsWhatAListLacks) {
  const ChannelPreferenceConversion conversion(radio({{115}, {116}, {117}, {128, {58, 106, 122, 138, 155, 171}}}));
  std::vector<ChannelEntry> entries = conversion.to_channel_list({}).get_channels();
  entries[0] = ChannelEntry(36, kHz(5180000), 0b10001001);  // neither 40 nor 80 MHz
  EXPECT_EQ(conversion.to_preferences(ChannelList(entries)), preferences({{116, {36}, 0, 0}}));
  entries.pop_back();
  EXPECT_EQ(conversion.to_preferences(ChannelList(entries)),
            preferences({{115, {48}, 0, 0}, {116, {}, 0, 0}, {117, {48}, 0, 0}, {128, {}, 0, 0}}));
}

TEST(ChannelPreferenceConversion, ReadsAScoreForEachChannelOfTheRadio) {
  const ChannelPreferenceConversion conversion(LOWER_5_GHZ);
  const auto read = [&](const std::vector<Record>& records) { return conversion.to_scores(preferences(records)); };
  ChannelScores expected = read({});
  EXPECT_EQ(expected.size(), 4U + 2 + 2 + 4 + 2 + 2 + 2 + 1);
  EXPECT_TRUE(std::ranges::all_of(expected, [](const auto& each) { return each.second == ChannelScore(); }));
  expected[{128, 42}] = expected[{128, 58}] = score(0, 7);
  // The radio has neither 106 nor class 81.
  EXPECT_EQ(read({{128, {}, 0, 7}, {128, {106}, 3, 1}, {81, {1}, 0, 0}}), expected);
  expected[{115, 36}] = score(2, 5);
  EXPECT_EQ(read({{115, {36}, 3, 4}, {115, {36}, 2, 0}, {128, {}, 0, 7}, {115, {36}, 2, 5}, {115, {}, 15, 0}}),
            expected);
  EXPECT_THROW(conversion.to_scores(preferences({}, B)), std::invalid_argument);
  EXPECT_EQ(conversion.get_radio_identifier(), A);
}

TEST(ChannelPreferenceConversion, RefusesOrSkipsWhatIsUnknown) {
  const ChannelPreferenceConversion refusing(LOWER_5_GHZ), skipping(LOWER_5_GHZ, GLOBAL, SKIP);
  for (const Record& unknown : {Record{124, {}, 0, 0}, {128, {36}, 0, 0}}) {
    EXPECT_THROW(refusing.to_scores(preferences({unknown})), std::invalid_argument);
    EXPECT_EQ(skipping.to_scores(preferences({unknown})), skipping.to_scores(preferences({})));
  }
  const auto reported = radio({{123, {134, 138}}, {124}, {125, {169}}, {125}});  // by a repeater; 134 is a centre
  EXPECT_THAT([&] { ChannelPreferenceConversion{reported}; },
              ThrowsMessage<std::invalid_argument>("Provided opclass 123 has no channel 134!"));
  EXPECT_EQ(ChannelPreferenceConversion(reported, GLOBAL, SKIP).to_scores(preferences({})).size(), 6U + 7);
}

TEST(ChannelPreferenceConversion, ScoresPrimaryChannels) {
  const ChannelPreferenceConversion conversion(radio({{83}, {84}, {128}, {130}}));
  const auto scores = conversion.to_primary_scores(
      conversion.to_scores(preferences({{83, {5, 4}, 0, 1}, {84, {5}, 7, 2}, {128, {42}, 3, 4}, {130, {42}, 2, 5}})));
  EXPECT_EQ(scores.at({kHz(2432000), WIDTH_40_MHZ}), score(7, 2));  // channel 5 can extend downwards
  EXPECT_EQ(scores.at({kHz(2427000), WIDTH_40_MHZ}), score(0, 1));  // channel 4 cannot
  EXPECT_EQ(scores.at({kHz(5240000), WIDTH_80_80_MHZ}), score(2, 5));
  EXPECT_FALSE(scores.contains({kHz(5240000), WIDTH_20_MHZ}));
  const ChannelPreferenceConversion same_channels(radio({{3}, {16}}), EUROPE);
  const auto given = same_channels.to_scores(preferences({{16, {100}, 1, 1}, {3, {100}, 2, 2}}));
  EXPECT_EQ(same_channels.to_primary_scores(given).at({kHz(5500000), WIDTH_20_MHZ}), score(1, 1));
}

TEST(ChannelPreferenceConversion, ConvertsScoresToAList) {
  const ChannelPreferenceConversion conversion(radio({{81, {7, 8, 9, 10, 11, 12, 13}}, {83, {6, 7, 8, 9}}}));
  const std::vector<Record> records = {{81, {1}, 0, 0},   {83, {1}, 0, 0}, {81, {2}, 0, 3}, {81, {3}, 7, 3},
                                       {81, {4}, 12, 11}, {81, {5}, 0, 7}, {81, {6}, 3, 7}};
  const ChannelList list = conversion.to_channel_list(conversion.to_scores(preferences(records)));
  EXPECT_EQ(to_string(list), R"(2 | 2417000 kHz | 010000010 | 00000 | 00 | 20 dBm | --- | --- | ---
3 | 2422000 kHz | 010000011 | 00000 | 01 | 20 dBm | --- | --- | ---
4 | 2427000 kHz | 010010011 | 00001 | 00 | 20 dBm | --- | --- | ---
5 | 2432000 kHz | 010010011 | 00010 | 00 | 20 dBm | --- | --- | ---
6 | 2437000 kHz | 000000001 | 00000 | 00 | 20 dBm | --- | --- | ---)");
}

TEST(ChannelPreferenceConversion, MergesKeepingTheWorseScore) {
  const ChannelPreferenceConversion conversion(LOWER_5_GHZ);
  const auto own = conversion.to_scores(preferences({{115, {36}, 0, 0}, {115, {40}, 9, 3}, {118, {}, 8, 10}}));
  const auto others = conversion.to_scores(preferences({{115, {36, 40, 44}, 5, 2}, {118, {52}, 8, 0}}));
  const auto merged = preferences({{115, {36}, 0, 0}, {115, {40, 44}, 5, 2}, {118, {}, 8, 10}});
  EXPECT_EQ(merge(own, others), conversion.to_scores(merged));
  EXPECT_EQ(merge(others, own), conversion.to_scores(merged));
}

TEST(ChannelPreferenceConversion, AppliesOtherRules) {
  ChannelScoreRule rules[] = {{ChannelConfigBit::REMOTE_DISTURBER, {1, ChannelPreferenceReasonCode(14)}}};
  const ChannelPreferenceConversion conversion(radio({{118}}), GLOBAL, REFUSE, rules);
  const ChannelList list = conversion.to_channel_list(conversion.to_scores(preferences({{118, {60}, 3, 14}})), TIME);
  EXPECT_EQ(conversion.to_preferences(list), preferences({{118, {60}, 1, 14}}));
  rules[0].score.score = 16;
  EXPECT_THROW(ChannelPreferenceConversion(LOWER_5_GHZ, GLOBAL, REFUSE, rules), std::invalid_argument);
}

}  // namespace
}  // namespace qel::ieee1905_1
