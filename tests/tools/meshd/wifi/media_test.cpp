#include "tools/meshd/wifi/media.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/nl80211.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/tools/meshd/wifi/attributes.h"

namespace meshd::wifi {
namespace {

using qel::WLANPhymode;
using testing::attribute;
using testing::number;
using testing::octets_of;
using Topic = Question::Topic;

void tell(Model& model, const Question& question, const std::vector<std::string>& answers) {
  model.begin(question);
  for (const std::string& attributes : answers) {
    model.add({0, octets_of(attributes)}, 1);
  }
  model.end();
}

std::string address(char last) { return attribute(NL80211_ATTR_MAC, std::string("\x02\0\0\0\0", 5) + last); }

std::string interface(std::uint32_t index, std::uint32_t type, char last, const std::string& channel = {}) {
  return attribute(NL80211_ATTR_IFINDEX, index) + attribute(NL80211_ATTR_WIPHY, 0) +
         attribute(NL80211_ATTR_IFTYPE, type) + address(last) + channel;
}

std::string channel(std::uint32_t primary, std::uint32_t width, std::uint32_t center, std::uint32_t second = 0) {
  return attribute(NL80211_ATTR_WIPHY_FREQ, primary) + attribute(NL80211_ATTR_CHANNEL_WIDTH, width) +
         attribute(NL80211_ATTR_CENTER_FREQ1, center) + attribute(NL80211_ATTR_CENTER_FREQ2, second);
}

std::string station(char last, const std::string& values, std::uint32_t flags) {
  const std::string flag_values = number(nl80211_sta_flag_update{~0U, flags});
  return address(last) + attribute(NL80211_ATTR_STA_INFO, values + attribute(NL80211_STA_INFO_STA_FLAGS, flag_values));
}

/// A radio for 802.11ac on 5 GHz and n on 2.4 GHz.
class Media : public ::testing::Test {
 protected:
  Media() {
    const auto band = [](int kind, std::uint32_t frequency, const std::string& capabilities) {
      const std::string ht = attribute(NL80211_BAND_ATTR_HT_CAPA, number<std::uint16_t>(2));
      return attribute(
          kind, attribute(NL80211_BAND_ATTR_FREQS, attribute(0, attribute(NL80211_FREQUENCY_ATTR_FREQ, frequency))) +
                    ht + capabilities);
    };
    tell(model_, {Topic::WIPHYS},
         {attribute(NL80211_ATTR_WIPHY, 0) +
          attribute(NL80211_ATTR_WIPHY_BANDS,
                    band(NL80211_BAND_2GHZ, 2437, "") +
                        band(NL80211_BAND_5GHZ, 5180, attribute(NL80211_BAND_ATTR_VHT_CAPA, 0)))});
  }

  Model model_;
};

TEST_F(Media, IsWhatTheInterfaceIs) {
  const std::string wide = channel(5180, NL80211_CHAN_WIDTH_80P80, 5210, 5775);
  const std::string low = channel(2437, NL80211_CHAN_WIDTH_40, 2427);
  const struct {
    std::string interfaces;  // the first one counts
    std::string more;
    WLANPhymode standard;
    const char* expected;  // mode, role, BSSID, width, centres
  } rows[] = {
      {interface(3, NL80211_IFTYPE_AP, 9, wide), "", WLANPhymode::INVALID_MAX,
       "AC_5_GHZ WLAN bssid: 02:00:00:00:00:09 role AP band 4 ctrFreqIdx1 42 ctrFreqIdx2 155"},
      {interface(3, NL80211_IFTYPE_AP, 9, wide), "", WLANPhymode::N,
       "N_5_GHZ WLAN bssid: 02:00:00:00:00:09 role AP band 4 ctrFreqIdx1 42 ctrFreqIdx2 155"},
      {interface(3, NL80211_IFTYPE_AP_VLAN, 9), interface(4, NL80211_IFTYPE_AP, 9, low), WLANPhymode::INVALID_MAX,
       "N_2_4_GHZ WLAN bssid: 02:00:00:00:00:09 role AP band 1 ctrFreqIdx1 4 ctrFreqIdx2 0"},
      {interface(3, NL80211_IFTYPE_STATION, 9, low), "", WLANPhymode::A,
       "G_2_4_GHZ WLAN bssid: 02:00:00:00:00:01 role STA band 1 ctrFreqIdx1 4 ctrFreqIdx2 0"},
      {interface(3, NL80211_IFTYPE_P2P_GO, 9), "", WLANPhymode::AX,
       "AX WLAN bssid: 02:00:00:00:00:09 role P2PGroupOwner band 0 ctrFreqIdx1 0 ctrFreqIdx2 0"},
  };
  for (const auto& row : rows) {
    tell(model_, {Topic::INTERFACES},
         row.more.empty() ? std::vector{row.interfaces} : std::vector{row.interfaces, row.more});
    tell(model_, {Topic::STATIONS, 3}, {station(1, "", ~0U)});
    const WlanInterface wlan = wlan_interface(model_, {{3, row.standard}}, 3).value();
    std::ostringstream text;
    text << wlan.mode << ' ' << wlan.information;
    EXPECT_EQ(text.str(), row.expected);
  }
  EXPECT_FALSE(wlan_interface(model_, {}, 5));
}

TEST_F(Media, LinksAreThoseToTheStations) {
  tell(model_, {Topic::INTERFACES}, {interface(3, NL80211_IFTYPE_AP, 9, channel(5180, NL80211_CHAN_WIDTH_20, 5180))});
  const auto octet = [](int type, std::int8_t value) { return attribute(type, number(value)); };
  const std::string rate = attribute(NL80211_STA_INFO_TX_BITRATE, attribute(NL80211_RATE_INFO_BITRATE32, 8667));
  tell(model_, {Topic::STATIONS, 3},
       {station(1,
                rate + octet(NL80211_STA_INFO_SIGNAL, -40) + octet(NL80211_STA_INFO_SIGNAL_AVG, -62) +
                    attribute(NL80211_STA_INFO_TX_PACKETS, 12) + attribute(NL80211_STA_INFO_TX_FAILED, 3) +
                    attribute(NL80211_STA_INFO_RX_PACKETS, 14) +
                    attribute(NL80211_STA_INFO_RX_DROP_MISC, number<std::uint64_t>(5)) +
                    attribute(NL80211_STA_INFO_EXPECTED_THROUGHPUT, 433'900),
                ~0U),
        station(2, rate + octet(NL80211_STA_INFO_SIGNAL, -40), 0), station(3, "", 1U << NL80211_STA_FLAG_ASSOCIATED)});
  tell(model_, {Topic::SURVEYS, 3},
       {attribute(NL80211_ATTR_SURVEY_INFO, attribute(NL80211_SURVEY_INFO_FREQUENCY, 5180) +
                                                attribute(NL80211_SURVEY_INFO_IN_USE) +
                                                attribute(NL80211_SURVEY_INFO_TIME, number<std::uint64_t>(1000)) +
                                                attribute(NL80211_SURVEY_INFO_TIME_BUSY, number<std::uint64_t>(250)))});
  InterfaceState state;
  add_link_states(model_, 3, 1, state);
  EXPECT_EQ(state.availability, 75);
  const auto values = [&](char last) {
    const LinkState link = state.links.at(qel::MACAddress({2, 0, 0, 0, 0, static_cast<std::uint8_t>(last)}));
    return std::vector<std::uint32_t>{link.received_packets,
                                      link.receive_errors,
                                      link.sent_packets,
                                      link.send_errors,
                                      link.speed,
                                      link.throughput,
                                      link.rcpi};
  };
  EXPECT_THAT(values(1), ::testing::ElementsAre(14, 5, 12, 3, 866, 433, 96)) << "the average signal, if there is one";
  EXPECT_THAT(values(2), ::testing::ElementsAre(0, 0, 0, 0, 866, 866, 140));
  EXPECT_THAT(values(3), ::testing::ElementsAre(0, 0, 0, 0, 0, 0, RCPI_UNKNOWN));
  EXPECT_THAT(wlan_interface(model_, {}, 3)->peers,
              ::testing::ElementsAre(qel::MACAddress({2, 0, 0, 0, 0, 1}), qel::MACAddress({2, 0, 0, 0, 0, 2})))
      << "the last one is not authorized yet";
}

TEST(Standard, IsInTheStatusOfEitherDaemon) {
  const std::pair<const char*, WLANPhymode> rows[] = {
      {"state=ENABLED\nieee80211n=1\nieee80211ac=1\nieee80211ax=0\nbeacon_int=100\n", WLANPhymode::AC},
      {"ieee80211n=1\nieee80211ac=0\nieee80211ax=1", WLANPhymode::AX},
      {"ieee80211n=0\nieee80211ac=0\nieee80211ax=0\n", WLANPhymode::A},
      {"mode=station\nwifi_generation=5\nwpa_state=COMPLETED\n", WLANPhymode::AC},
      {"ssid=wifi_generation=6\nwifi_generation=4\n", WLANPhymode::N},
      {"wpa_state=SCANNING\n", WLANPhymode::INVALID_MAX},
      {"FAIL\n", WLANPhymode::INVALID_MAX}};
  for (const auto& [status, standard] : rows) {
    EXPECT_EQ(standard_of(status), standard) << status;
  }
}

}  // namespace
}  // namespace meshd::wifi
