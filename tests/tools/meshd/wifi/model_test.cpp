#include "tools/meshd/wifi/model.h"

#include <gtest/gtest.h>
#include <linux/nl80211.h>

#include <sstream>
#include <string>
#include <vector>

#include "qel/channel/channel_validity.h"
#include "tests/tools/meshd/wifi/attributes.h"

/// What a real kernel does not do on request; the rest is compared with iw in tests/wifi.

namespace meshd::wifi {
namespace {

using testing::attribute;
using testing::number;
using testing::octets_of;
using Topic = Question::Topic;

constexpr Timestamp SECOND = 1'000'000'000;
constexpr Timestamp NOW = 1000 * SECOND;
const qel::MACAddress PHONE({0x02, 0, 0, 0, 0, 0x0A});

void answer(Model& model, const Question& question, const std::vector<std::string>& messages) {
  model.begin(question);
  for (const std::string& attributes : messages) {
    model.add({.attributes = octets_of(attributes)}, NOW);
  }
  model.end();
}

/// Radio 1 with channels 1, 36, and 100, which needs 60 s of listening; the rules may forbid 40 MHz.
std::string wiphy(std::uint32_t dfs_state = NL80211_DFS_USABLE, bool forbids_40_mhz = false) {
  const auto channel = [&](std::uint32_t megahertz, const std::string& more = "") {
    const std::string flags = forbids_40_mhz ? attribute(NL80211_FREQUENCY_ATTR_NO_HT40_MINUS) +
                                                   attribute(NL80211_FREQUENCY_ATTR_NO_HT40_PLUS)
                                             : "";
    return attribute(static_cast<int>(megahertz), attribute(NL80211_FREQUENCY_ATTR_FREQ, megahertz) + flags + more);
  };
  const std::string radar = attribute(NL80211_FREQUENCY_ATTR_RADAR) +
                            attribute(NL80211_FREQUENCY_ATTR_DFS_STATE, dfs_state) +
                            attribute(NL80211_FREQUENCY_ATTR_DFS_CAC_TIME, 60000);
  const std::string ht = attribute(NL80211_BAND_ATTR_HT_CAPA, number<std::uint16_t>(2));
  return attribute(NL80211_ATTR_WIPHY, 1) +
         attribute(NL80211_ATTR_WIPHY_BANDS,
                   attribute(NL80211_BAND_2GHZ, attribute(NL80211_BAND_ATTR_FREQS, channel(2412)) + ht) +
                       attribute(NL80211_BAND_5GHZ,
                                 attribute(NL80211_BAND_ATTR_FREQS, channel(5180) + channel(5500, radar)) + ht));
}

std::string interface(std::uint32_t megahertz, std::uint32_t type = NL80211_IFTYPE_AP) {
  return attribute(NL80211_ATTR_WIPHY, 1) + attribute(NL80211_ATTR_IFINDEX, 3) + attribute(NL80211_ATTR_IFTYPE, type) +
         attribute(NL80211_ATTR_WIPHY_FREQ, megahertz) + attribute(NL80211_ATTR_CHANNEL_WIDTH, NL80211_CHAN_WIDTH_20) +
         attribute(NL80211_ATTR_CENTER_FREQ1, megahertz) + attribute(NL80211_ATTR_WIPHY_TX_POWER_LEVEL, 2000);
}

std::string station(const qel::MACAddress& mac) { return attribute(NL80211_ATTR_MAC, number(mac.octets())); }

std::string survey(std::uint64_t active, std::uint64_t busy) {
  return attribute(NL80211_ATTR_SURVEY_INFO, attribute(NL80211_SURVEY_INFO_FREQUENCY, 5180) +
                                                 attribute(NL80211_SURVEY_INFO_TIME, number(active)) +
                                                 attribute(NL80211_SURVEY_INFO_TIME_BUSY, number(busy)));
}

/// Radio 1 with access point 3 on channel 36, and its station.
Model one_of_each() {
  Model model;
  answer(model, {Topic::WIPHYS}, {wiphy()});
  answer(model, {Topic::INTERFACES}, {interface(5180)});
  answer(model, {Topic::STATIONS, 3}, {station(PHONE)});
  return model;
}

std::string text_of(const std::vector<Question>& questions) {
  std::string text;
  for (const Question& question : questions) {
    text += "WRISU"[static_cast<int>(question.topic)];
    text += question.interface != 0 ? std::to_string(question.interface) : "";
  }
  return text;
}

std::string text_of(const Model& model) {
  std::ostringstream text;
  text << model.get_wiphys().size() << " radios";
  for (const auto& [number, interface] : model.get_interfaces()) {
    text << ", " << role_text(interface.role) << ' ' << interface.channel.get_primary_frequency().get().value() << ' '
         << interface.channel.get_max_power().get() << " dBm, " << model.get_stations(number).size() << " stations";
  }
  return text.str();
}

std::vector<Question> take(Model& model, std::uint8_t command, const std::string& attributes) {
  return model.take(event_of({command, octets_of(attributes)}, NOW).value());
}

TEST(WifiModel, TakesEventsAndAsksForTheRest) {
  const std::string three = attribute(NL80211_ATTR_IFINDEX, 3);
  const std::string four = attribute(NL80211_ATTR_IFINDEX, 4);
  const std::string one = attribute(NL80211_ATTR_WIPHY, 1);
  const std::string other = station(qel::MACAddress({0x02, 0, 0, 0, 0, 0x0B}));
  const std::string same = "1 radios, AP 5180000 20 dBm, 1 stations";
  const std::string alone = "1 radios, AP 5180000 20 dBm, 0 stations";
  struct Row {
    std::uint8_t command;
    std::string attributes;
    std::string questions;
    std::string model;
  };
  for (const Row& row : std::vector<Row>{
           {NL80211_CMD_NEW_WIPHY, attribute(NL80211_ATTR_WIPHY, 2), "WRI", same},
           {NL80211_CMD_DEL_WIPHY, one, "WRI", "0 radios"},
           {NL80211_CMD_NEW_INTERFACE, interface(5180), "I", same},
           {NL80211_CMD_SET_INTERFACE, interface(5180, NL80211_IFTYPE_STATION), "I",
            "1 radios, STATION 5180000 20 dBm, 0 stations"},
           {NL80211_CMD_DEL_INTERFACE, three, "I", "1 radios"},
           {NL80211_CMD_NEW_STATION, three + other, "S3", "1 radios, AP 5180000 20 dBm, 2 stations"},
           {NL80211_CMD_NEW_STATION, four + other, "", same},
           {NL80211_CMD_DEL_STATION, three + station(PHONE), "S3", alone},
           {NL80211_CMD_START_AP, three, "I", same},
           {NL80211_CMD_ROAM, three, "I", same},
           {NL80211_CMD_DISCONNECT, three, "I", alone},
           {NL80211_CMD_CH_SWITCH_STARTED_NOTIFY, interface(5500), "", same},
           {NL80211_CMD_CH_SWITCH_NOTIFY, three + attribute(NL80211_ATTR_WIPHY_FREQ, 5500), "I",
            "1 radios, AP 5500000 20 dBm, 1 stations"},
           {NL80211_CMD_RADAR_DETECT, one + attribute(NL80211_ATTR_RADAR_EVENT, NL80211_RADAR_DETECTED), "W", same},
           {NL80211_CMD_REG_CHANGE, "", "RW", same},
       }) {
    Model model = one_of_each();
    EXPECT_EQ(text_of(take(model, row.command, row.attributes)), row.questions) << int{row.command};
    EXPECT_EQ(text_of(model), row.model) << int{row.command};
  }
}

TEST(WifiModel, ListsTheChannelsAsTheyAreNow) {
  Model model = one_of_each();
  const auto channel = [&](long megahertz, Timestamp now = NOW) {
    const qel::WLANRadio radio = model.get_radio(1, now);
    EXPECT_TRUE(is_valid(radio.get_channel_list()));
    return *radio.get_channel_list().get_channel_entry(qel::kHz(megahertz * 1000));
  };
  const auto state = [&](Timestamp now) { return channel(5500, now).get_state_flags().get().to_string(); };
  const auto radar = [&](std::uint32_t what) {
    take(model, NL80211_CMD_RADAR_DETECT, interface(5500) + attribute(NL80211_ATTR_RADAR_EVENT, what));
  };
  EXPECT_EQ(state(NOW), "01000");
  radar(NL80211_RADAR_CAC_STARTED);
  radar(NL80211_RADAR_NOP_FINISHED);
  EXPECT_EQ(state(NOW + 100 * SECOND), "00100");
  EXPECT_EQ(state(NOW + 121 * SECOND), "01000") << "its end was lost";
  radar(NL80211_RADAR_CAC_ABORTED);
  EXPECT_EQ(state(NOW), "01000");
  take(model, NL80211_CMD_NEW_INTERFACE, interface(5500));
  EXPECT_EQ(state(NOW), "00100") << "an access point cannot do anything else there";
  answer(model, {Topic::WIPHYS}, {wiphy(NL80211_DFS_AVAILABLE)});
  EXPECT_EQ(state(NOW), "00001");
  take(model, NL80211_CMD_NEW_INTERFACE, interface(5180));

  EXPECT_EQ(channel(5180).get_max_supported_channel_width(), qel::ChannelWidth::WIDTH_40_MHZ);
  answer(model, {Topic::WIPHYS}, {wiphy(NL80211_DFS_USABLE, true)});
  EXPECT_EQ(channel(5180).get_max_supported_channel_width(), qel::ChannelWidth::WIDTH_20_MHZ);

  EXPECT_EQ(model.get_radio(1, NOW, qel::FrequencyBand::BAND_2_4_GHZ).get_channel_list().get_channels().size(), 1U);
  take(model, NL80211_CMD_DEL_INTERFACE, attribute(NL80211_ATTR_IFINDEX, 3));
  EXPECT_EQ(model.get_radio(1, NOW).get_channel_list().get_frequency_band(), qel::FrequencyBand::BAND_2_4_GHZ);
}

TEST(WifiModel, MeasuresTheUtilizationLongEnough) {
  Model model = one_of_each();
  struct Row {
    std::uint64_t active, busy;
    int percent;
  };
  for (const Row& row : std::vector<Row>{{9000, 900, 10},
                                         {14000, 3400, 50},
                                         {14100, 3450, 50},
                                         {14100, 3450, 50},
                                         {19000, 3450, 0},
                                         {1000, 30, 3},
                                         {3000, 1030, 50}}) {
    answer(model, {Topic::SURVEYS, 3}, {survey(row.active, row.busy)});
    const auto radio = model.get_radio(1, NOW);
    EXPECT_EQ(radio.get_channel_list().get_channel_entry(qel::kHz(5180000))->get_channel_utilization().get(),
              row.percent);
  }
}

TEST(WifiModel, StaysWithinLimits) {
  Model model = one_of_each();
  std::vector<std::string> stations;
  for (std::uint16_t i = 0; i < MOST_STATIONS + 10; ++i) {
    stations.push_back(attribute(NL80211_ATTR_MAC, "mesh" + number(i)));
    take(model, NL80211_CMD_NEW_STATION, attribute(NL80211_ATTR_IFINDEX, 3) + stations.back());
    take(model, NL80211_CMD_NEW_INTERFACE, attribute(NL80211_ATTR_IFINDEX, i + 4U));
  }
  EXPECT_EQ(model.get_stations(3).size(), MOST_STATIONS);
  EXPECT_EQ(model.get_interfaces().size(), MOST_INTERFACES);
  answer(model, {Topic::STATIONS, 3}, stations);
  EXPECT_EQ(model.get_stations(3).size(), MOST_STATIONS);
}

}  // namespace
}  // namespace meshd::wifi
