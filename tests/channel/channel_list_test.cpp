#include "qel/channel/channel_list.h"

#include "qel/core/text.h"
#include "tests/channel/channels.h"
#include "tests/support/fields.h"

namespace qel {
namespace {

using State = std::bitset<5>;
using Config = std::bitset<2>;

/// An entry with everything set, with timestamp 10.
struct Fields {
  unsigned char channel = 36;
  long frequency = 5180000;
  const char* capabilities = "000000101";
  LastChanged<State> state{State("00001"), 10};
  LastChanged<Config> config{Config("10"), 10};
  LastChanged<float> power{20, 10};
  LastChanged<float> regulatory{23.5F, 10};
  LastUpdated<unsigned char> anpi{7, 10};
  LastUpdated<unsigned char> utilization{55, 10};

  ChannelEntry object() const {
    return {channel, kHz(frequency), std::bitset<9>(capabilities), state, config, power, regulatory, anpi, utilization};
  }
  static std::string values(const ChannelEntry& entry) { return to_string(entry); }
  static std::string contents(const ChannelEntry& entry) {
    std::ostringstream text;
    text << entry << " at " << entry.get_state_flags().get_timestamp() << " "
         << entry.get_config_flags().get_timestamp() << " " << entry.get_max_power().get_timestamp() << " "
         << entry.get_max_regulatory_power().get_timestamp() << " " << entry.get_ANPI().get_timestamp() << " "
         << entry.get_channel_utilization().get_timestamp();
    return text.str();
  }
};

ChannelEntry at(unsigned char channel, long frequency, const LastChanged<Config>& config = {}) {
  return ChannelEntry(channel, kHz(frequency), {}, {}, config);
}

TEST(ChannelEntry, HasADebugTextAndThePropertiesOfItsFrequencyAndFlags) {
  std::ostringstream os;
  os << std::hex << std::showpos << std::fixed << Fields().object();
  EXPECT_EQ(os.str(), "36 | 5180000 kHz | 000000101 | 00001 | 10 | 20 dBm | 23.5 dBm | 7 | 55");
  EXPECT_EQ(to_string(at(1, 2412000)), "1 | 2412000 kHz | 000000000 | --- | --- | --- | --- | --- | ---");

  const Fields from;
  test::fields_from([&] { return ChannelEntry(36, kHz(5180000), std::bitset<9>(from.capabilities)); }, from.object(),
                    FIELD(state_flags), from.state, FIELD(config_flags), from.config, FIELD(max_power), from.power,
                    FIELD(max_regulatory_power), from.regulatory, FIELD(ANPI), from.anpi, FIELD(channel_utilization),
                    from.utilization);
  const ChannelEntry entry = Fields{.capabilities = "001001010"}.object();
  EXPECT_TRUE(entry.get_channel_number() == 36 && entry.get_frequency() == kHz(5180000) &&
              entry.get_capability_flags() == 0x4AU && entry.get_max_supported_channel_width() == W8080 &&
              entry.get_all_supported_channel_width() == (std::set{W40, W160, W8080}));
  EXPECT_EQ(entry.get_frequency_band(), FrequencyBand::BAND_5_GHZ);
  EXPECT_EQ(entry.get_detailed_frequency_band(), DetailedFrequencyBand::BAND_5_GHZ_LOWER);
  EXPECT_EQ(entry.get_min_supported_channel_width(), W40);
  EXPECT_EQ(at(1, 2412000).get_min_supported_channel_width(), NO_WIDTH);
  EXPECT_TRUE(at(36, 5180000) < at(1, 5955000) && !(at(36, 5180000) < at(40, 5180000)));
}

TEST(ChannelEntry, HasConfigBits) {
  ChannelEntry entry = at(36, 5180000);
  EXPECT_FALSE(entry.get_remote_disturber() || entry.get_performance_opt());
  entry.set_remote_disturber(true);
  EXPECT_TRUE(entry.get_remote_disturber() && !entry.get_performance_opt());
  entry = Fields().object();
  entry.set_performance_opt(true);
  EXPECT_TRUE(entry == Fields().object()) << "that bit was set before";
}

TEST(ChannelEntry, UpdatesComparesAndIsEquivalentFieldByField) {
  const std::vector<Fields> taken = {
      {},
      {.channel = 40},
      {.frequency = 5200000},
      {.state = {2, 11}},
      {.config = {1, 11}},
      {.power = {NOT_A_NUMBER, 11}},
      {.regulatory = {24, 11}},
      {.anpi = {7, 11}},
      {.utilization = {56, 11}},
  };
  const std::vector<Fields> left = {
      {.capabilities = "000000100"},
      {.state = {2, 10}, .config = {}, .power = {21, 9}, .regulatory = {3, 10}, .anpi = {8, 10}, .utilization = {6, 9}},
      {.state = {1, 11}, .config = {2, 11}, .power = {20, 11}, .regulatory = {23.5F, 11}},
  };
  expect_taken(taken, left);
  expect_update<Fields>({}, {.capabilities = "000000011"}, {.capabilities = "000000111"});
  const ChannelEntry nan = Fields{.regulatory = {NOT_A_NUMBER, 10}}.object();
  EXPECT_FALSE(nan == nan || nan.equivalent_to(nan) || nan.can_update_from(nan));
}

TEST(ChannelList, FindsAndUpdatesByFrequencyAndAppendsInTheOthersOrder) {
  ChannelList list({at(40, 5200000), at(36, 5180000, {1, 10}), at(37, 5180000)});
  EXPECT_EQ(list.get_channel_entry(kHz(5180000)), &list.get_channels()[1]);
  EXPECT_EQ(std::as_const(list).get_channel_entry(kHz(5220000)), nullptr);
  EXPECT_TRUE(list.has_common_channel_with(ChannelList({at(44, 5220000), at(42, 5200000)})));
  EXPECT_FALSE(list.has_common_channel_with(ChannelList({at(36, 5220000)})));

  const ChannelList other({at(60, 5300000), at(36, 5180000, {2, 11}), at(44, 5220000)});
  const ChannelList expected(
      {at(40, 5200000), at(36, 5180000, {2, 11}), at(37, 5180000), at(60, 5300000), at(44, 5220000)});
  EXPECT_TRUE(list.can_update_from(other));
  for (const ChannelList& offered : {other, other, ChannelList(), ChannelList({at(36, 5180000, {1, 11})})}) {
    list.update(offered);
    EXPECT_EQ(list, expected);
    EXPECT_FALSE(list.can_update_from(offered));
  }
  EXPECT_TRUE(list.can_update_from(ChannelList({at(36, 5180000, {1, 12})})));
  EXPECT_EQ(to_string(ChannelList({at(40, 5200000), at(36, 5180000)})),
            to_string(at(40, 5200000)) + "\n" + to_string(at(36, 5180000)));
}

TEST(ChannelList, ComparesInOrder) {
  const ChannelEntry first = at(36, 5180000, {1, 10});
  const ChannelEntry second = at(40, 5200000, {2, 10});
  ChannelEntry powerful = second;
  powerful.set_max_power({20, 10});
  const ChannelList list({first, second});
  const struct {
    std::vector<ChannelEntry> other;
    bool equal, equivalent, equivalent_in_configuration;
  } rows[] = {
      {{first, second}, true, true, true},
      {{first, at(40, 5200000, {2, 11})}, false, true, true},
      {{first, powerful}, false, false, true},
      {{first, at(40, 5200000, {1, 10})}, false, false, false},
      {{first, at(40, 5220000, {2, 10})}, false, false, false},
      {{second, first}, false, false, false},
      {{first}, false, false, false},
  };
  for (const auto& row : rows) {
    const ChannelList other(row.other);
    EXPECT_EQ(list == other, row.equal) << other;
    EXPECT_EQ(list.equivalent_to(other), row.equivalent) << other;
    EXPECT_EQ(list.channel_configuration_equivalent_to(other), row.equivalent_in_configuration) << other;
  }
}

/// State and config flags of each entry.
std::string flags(const ChannelList& list) {
  std::string text;
  for (const ChannelEntry& entry : list.get_channels()) {
    text += entry.get_state_flags().is_set() ? entry.get_state_flags().get().to_string() : "-";
    text += entry.get_config_flags().is_set() ? "," + entry.get_config_flags().get().to_string() + " " : ",- ";
  }
  return text;
}

TEST(ChannelList, SetsAndResetsFlags) {
  static const ChannelEntry NEWER = Fields{.state = {State("00100"), 11}}.object();
  const std::pair<std::function<void(ChannelList&)>, const char*> steps[] = {
      {[](auto& list) { list.set_performance_opt_flag(36, 40, false); }, "00001,00 00001,00 00001,10 "},
      {[](auto& list) { list.set_performance_opt_flag(40, 43, true); }, "00001,00 00001,10 00001,10 "},
      {[](auto& list) { list.set_performance_opt_flag(44, 36, false); }, "00001,00 00001,10 00001,10 "},
      {[](auto& list) { list.reset_configuration_flags(); }, "00001,- 00001,- 00001,- "},
      {[](auto& list) { list.set_performance_opt_flag(40, 40, true); }, "00001,- 00001,10 00001,- "},
      {[](auto& list) { list.set_unset_configuration_flags_to_not_penalized(); }, "00001,00 00001,10 00001,00 "},
      {[](auto& list) { list.reset_state_flags(); }, "-,00 -,10 -,00 "},
      {[](auto& list) { list.update(ChannelList({NEWER})); }, "00100,00 -,10 -,00 "},
      {[](auto& list) { list.set_unset_state_flags_to_default_state(); }, "00100,00 00000,10 00000,00 "},
      {[](auto& list) { list.reset_state_and_config_flags(); }, "-,- -,- -,- "},
  };
  ChannelList list({Fields{.channel = 36}.object(), Fields{.channel = 40, .frequency = 5200000}.object(),
                    Fields{.channel = 44, .frequency = 5220000}.object()});
  for (const auto& [step, expected] : steps) {
    step(list);
    EXPECT_EQ(flags(list), expected);
  }
}

TEST(ChannelList, IsWrittenAsJson) {
  const ChannelEntry set(36, kHz(5180000), {}, {}, {2, 1}, {-3.9F, 1});
  EXPECT_EQ(json(ChannelList({set, at(6, 2437000)})),
            R"({"channels":[{"channel":36,"frequency":5180000,"config_flags":2,"max_power":-3},)"
            R"({"channel":6,"frequency":2437000,"config_flags":null,"max_power":null}]})");
  const std::pair<float, const char*> powers[] = {{NOT_A_NUMBER, "null"},
                                                  {-std::numeric_limits<float>::infinity(), "null"},
                                                  {9223372036854775808.0F, "null"},
                                                  {9223371487098961920.0F, "9223371487098961920"}};
  for (const auto& [power, text] : powers) {
    EXPECT_THAT(json(Fields{.power = {power, 1}}.object()), EndsWith(std::string(R"("max_power":)") + text + "}"));
  }
}

TEST(ChannelList, LiesInOneBand) {
  EXPECT_EQ(ChannelList().get_frequency_band(), FrequencyBand::INVALID_BAND_MAX);
  EXPECT_EQ(ChannelList().get_detailed_frequency_band(), DetailedFrequencyBand::INVALID);
  const ChannelList two({at(104, 5520000), at(36, 5180000)});
  const ChannelList three({at(104, 5520000), at(1, 2412000), at(0, 5400000)});
  const std::string several = "logic: ChannelList covers multiple frequency bands: ";
  EXPECT_EQ(two.get_frequency_band(), FrequencyBand::BAND_5_GHZ);
  EXPECT_EQ(outcome_of([&] { return two.get_detailed_frequency_band(); }), several + "5180000 kHz 5520000 kHz");
  EXPECT_EQ(outcome_of([&] { return three.get_frequency_band(); }), several + "2412000 kHz 5520000 kHz 5400000 kHz");
}

}  // namespace
}  // namespace qel
