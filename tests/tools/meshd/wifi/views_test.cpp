#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/nl80211.h>

#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/tools/meshd/wifi/attributes.h"
#include "tools/meshd/wifi/clients_view.h"
#include "tools/meshd/wifi/media.h"
#include "tools/meshd/wifi/radios_view.h"

namespace meshd::wifi {
namespace {

using ::testing::AllOf;
using testing::attribute;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using testing::number;
using testing::octets_of;
using ::testing::StartsWith;
using Topic = Question::Topic;

void tell(Model& model, const Question& question, const std::vector<std::string>& answers) {
  model.begin(question);
  for (const std::string& attributes : answers) {
    model.add({0, octets_of(attributes)}, 1);
  }
  model.end();
}

std::string address(char last) { return attribute(NL80211_ATTR_MAC, std::string("\x02\0\0\0\0", 5) + last); }

std::string octet(int type, std::uint8_t value) { return attribute(type, number(value)); }

std::string on_channel(std::uint32_t primary, std::uint32_t width, std::uint32_t center) {
  return attribute(NL80211_ATTR_WIPHY_FREQ, primary) + attribute(NL80211_ATTR_CHANNEL_WIDTH, width) +
         attribute(NL80211_ATTR_CENTER_FREQ1, center) + attribute(NL80211_ATTR_WIPHY_TX_POWER_LEVEL, 2350);
}

/// An access point on a radar channel with a phone and a backhaul, a station without anything that its driver reports,
/// and an idle radio. The SSID would clear the terminal.
Model model_of_a_node() {
  Model model;
  std::string channels;
  for (std::uint32_t frequency = 5260; frequency <= 5320; frequency += 20) {
    const std::string state = frequency == 5320 ? attribute(NL80211_FREQUENCY_ATTR_DFS_STATE, NL80211_DFS_UNAVAILABLE)
                                                : attribute(NL80211_FREQUENCY_ATTR_DFS_STATE, NL80211_DFS_AVAILABLE);
    channels += attribute(
        0, attribute(NL80211_FREQUENCY_ATTR_FREQ, frequency) + attribute(NL80211_FREQUENCY_ATTR_RADAR) + state);
  }
  const std::string wide =
      attribute(NL80211_BAND_ATTR_HT_CAPA, number<std::uint16_t>(2)) + attribute(NL80211_BAND_ATTR_VHT_CAPA, 0);
  const std::string at_2_4_ghz = attribute(0, attribute(NL80211_FREQUENCY_ATTR_FREQ, 2437));
  const auto radio = [](std::uint32_t wiphy, const std::string& name, const std::string& bands) {
    return attribute(NL80211_ATTR_WIPHY, wiphy) + attribute(NL80211_ATTR_WIPHY_NAME, name + '\0') +
           attribute(NL80211_ATTR_WIPHY_BANDS, bands);
  };
  const std::string low = attribute(NL80211_BAND_2GHZ, attribute(NL80211_BAND_ATTR_FREQS, at_2_4_ghz));
  tell(model, {Topic::WIPHYS},
       {radio(0, "phy0", low + attribute(NL80211_BAND_5GHZ, attribute(NL80211_BAND_ATTR_FREQS, channels) + wide)),
        radio(1, "phy1", low), radio(2, "phy2\n", low)});
  const auto interface = [](std::uint32_t index, std::uint32_t wiphy, const std::string& name, std::uint32_t type) {
    return attribute(NL80211_ATTR_IFINDEX, index) + attribute(NL80211_ATTR_WIPHY, wiphy) +
           attribute(NL80211_ATTR_IFNAME, name + '\0') + attribute(NL80211_ATTR_IFTYPE, type);
  };
  const std::string ssid = attribute(NL80211_ATTR_SSID, std::string("\x1b[2J|\xff"));
  tell(model, {Topic::INTERFACES},
       {interface(3, 0, "wlan0", NL80211_IFTYPE_AP) + address(0) + ssid + on_channel(5260, NL80211_CHAN_WIDTH_80, 5290),
        interface(4, 0, "wlan0.sta1", NL80211_IFTYPE_AP_VLAN) + address(0) + octet(NL80211_ATTR_4ADDR, 1),
        interface(5, 1, "wlan1", NL80211_IFTYPE_STATION) + address(0x10) + on_channel(2437, 1, 2437)});
  const auto information = [](const std::string& values) { return attribute(NL80211_ATTR_STA_INFO, values); };
  const std::string rate = attribute(NL80211_RATE_INFO_BITRATE32, 8667) + octet(NL80211_RATE_INFO_VHT_MCS, 9) +
                           octet(NL80211_RATE_INFO_VHT_NSS, 2) + attribute(NL80211_RATE_INFO_80_MHZ_WIDTH);
  const std::string flags = attribute(NL80211_STA_INFO_STA_FLAGS, number(nl80211_sta_flag_update{2, 2}));
  tell(model, {Topic::STATIONS, 3},
       {address(1) +
        information(flags + octet(NL80211_STA_INFO_SIGNAL, 0xD3) + attribute(NL80211_STA_INFO_TX_BITRATE, rate) +
                    attribute(NL80211_STA_INFO_RX_BITRATE, attribute(NL80211_RATE_INFO_BITRATE32, 60)) +
                    attribute(NL80211_STA_INFO_TX_BYTES64, number<std::uint64_t>(1'234'567)) +
                    attribute(NL80211_STA_INFO_RX_BYTES64, number<std::uint64_t>(999)) +
                    attribute(NL80211_STA_INFO_TX_PACKETS, 12) + attribute(NL80211_STA_INFO_TX_RETRIES, 3) +
                    attribute(NL80211_STA_INFO_CONNECTED_TIME, 3723) +
                    attribute(NL80211_STA_INFO_INACTIVE_TIME, 1090))});
  tell(model, {Topic::STATIONS, 4},
       {address(2) + information(attribute(NL80211_STA_INFO_CONNECTED_TIME, 200'000) +
                                 attribute(NL80211_STA_INFO_INACTIVE_TIME, 59'999))});
  tell(model, {Topic::STATIONS, 5}, {address(3) + information(flags)});
  tell(model, {Topic::SURVEYS, 3},
       {attribute(NL80211_ATTR_SURVEY_INFO, attribute(NL80211_SURVEY_INFO_FREQUENCY, 5260) +
                                                octet(NL80211_SURVEY_INFO_NOISE, 0xA4) +
                                                attribute(NL80211_SURVEY_INFO_TIME, number<std::uint64_t>(1000)) +
                                                attribute(NL80211_SURVEY_INFO_TIME_BUSY, number<std::uint64_t>(250)))});
  return model;
}

template <class View>
std::string text_of(const View& view) {
  std::ostringstream os;
  print_text(os, view);
  return os.str();
}

template <class View>
std::string json_of(const View& view) {
  std::ostringstream os;
  print_json(os, view);
  return os.str();
}

TEST(WifiViews, ShowsRadios) {
  const Model model = model_of_a_node();
  const RadiosView view = view_radios("meshd", model, 2);
  EXPECT_EQ(text_of(view), R"(RADIO     BAND     CHANNEL   WIDTH    CENTER     POWER  UTILIZATION    NOISE  RADAR
phy0      5 GHz         52  80 MHz  5290 MHz  23.5 dBm         25 %  -92 dBm  radar
phy1      2.4 GHz        6  20 MHz  2437 MHz  23.5 dBm            -        -  -
phy2\x0a  2.4 GHz        -       -         -         -            -        -  -

INTERFACE   RADIO  ROLE                  BSSID              CLIENTS  SSID
wlan0       phy0   AP                    02:00:00:00:00:00        1  \x1b[2J|)"
                           "\uFFFD\n"
                           R"(wlan0.sta1  phy0   AP_VLAN, 4 addresses  02:00:00:00:00:00        1  \x1b[2J|)"
                           "\uFFFD\n"
                           R"(wlan1       phy1   STATION               02:00:00:00:00:03        -  -
)");
  EXPECT_THAT(
      json_of(view),
      AllOf(
          StartsWith(
              R"({"name":"meshd","radios":[{"name":"phy0","radio_id":"02:00:00:00:00:00","bands":["2.4 GHz","5 GHz"],)"
              R"("band":"5 GHz","channel":52,"channel_info":{"primary_freq":5260000,"primary_center":5290000,)"
              R"("channel_width":"80 MHz","secondary_center":null,"max_power":23},"utilization":25,"noise":-92,)"
              R"("dfs_state":"RADAR_FOUND","interfaces":[{"name":"wlan0","role":"AP","four_addresses":false,"ssid":)"
              R"("\u001B[2J|)"
              "\uFFFD"
              R"(","mac":"02:00:00:00:00:00","bssid":"02:00:00:00:00:00","clients":1},)"),
          HasSubstr(R"("mac":"02:00:00:00:00:10","bssid":"02:00:00:00:00:03","clients":null}]},{"name":"phy2\n",)"),
          EndsWith(R"("dfs_state":null,"interfaces":[]}]})"
                   "\n")));
  EXPECT_EQ(text_of(view_radios("meshd", Model(), 2)), "no radios\n");
}

TEST(WifiViews, ShowsClients) {
  const auto phone = association_of_client(
      "02:00:00:00:00:01\nflags=[AUTH][ASSOC][AUTHORIZED][WMM]\nwpa=2\nAKMSuiteSelector=00-0f-ac-2\n"
      "supp_op_classes=80515\next_capab=04004a02\n");
  const auto unfinished = association_of_client("flags=[AUTH][ASSOC]\nAKMSuiteSelector=00-0f-ac-2\n");
  const auto none = association_of_client("FAIL\n");
  const auto ours = association_of_status("bssid=02:00:00:00:00:03\nkey_mgmt=SAE\nwpa_state=COMPLETED\n");
  const auto searching = association_of_status("wpa_state=SCANNING\nbssid=02:00:00:00:00:03\n");
  ASSERT_TRUE(phone && ours && !unfinished && !none && !searching);
  const Associations associations{{qel::MACAddress("02:00:00:00:00:01"), *phone}, *ours};
  const ClientsView view =
      view_clients("meshd", model_of_a_node(), associations, {{qel::MACAddress("02:00:00:00:00:01"), "phone"}});
  EXPECT_EQ(
      text_of(view),
      R"(STATION                  KIND                  INTERFACE    SIGNAL  SEND RATE                 RECEIVE RATE  CONNECTED   IDLE  SECURITY  SSID
02:00:00:00:00:01 phone  client                wlan0       -45 dBm  866.7 Mb/s, ac 80 MHz x2  6.0 Mb/s        1:02:03  1.0 s  WPA2PSK   \x1b[2J|)"
      "\uFFFD\n"
      R"(02:00:00:00:00:02        backhaul, no key yet  wlan0.sta1        -  -                         -             2 d 07:33   59 s  -         \x1b[2J|)"
      "\uFFFD\n"
      R"(02:00:00:00:00:03        access point          wlan1             -  -                         -                     -      -  WPA3PSK   -

STATION                    SENT  PACKETS  RETRIES  FAILED  RECEIVED  PACKETS  DROPPED
02:00:00:00:00:01 phone  1.2 MB       12        3       -     999 B        -        -
02:00:00:00:00:02             -        -        -       -         -        -        -
02:00:00:00:00:03             -        -        -       -         -        -        -
)");
  EXPECT_THAT(
      json_of(view),
      HasSubstr(
          R"("authorized":true,"protected_management":false,"signal":-45,"average_signal":null,"send_rate":{"rate":866700,)"
          R"("mode":"ac","mcs":9,"streams":2,"channel_width":"80 MHz","short_guard":false},"receive_rate":{"rate":6000,)"
          R"("mode":null,"mcs":0,"streams":1,"channel_width":"20 MHz","short_guard":false},"sent_octets":1234567,)"
          R"("received_octets":999,"sent_packets":12,"received_packets":null,"retries":3,"send_failures":null,)"));
  EXPECT_THAT(json_of(view),
              HasSubstr(R"("inactive":1090,"security":"WPA2PSK","bss_transition":true,"opclasses":[128,81]})"));
  EXPECT_EQ(text_of(view_clients("meshd", Model(), {}, {})), "no clients\n");
}

TEST(WifiViews, ShowsTheClassesOfARadioInAllItsBands) {
  const Model model = model_of_a_node();
  EXPECT_EQ(text_of(view_classes("phy0", model, 2)), R"(CLASS  BAND      WIDTH  PRIMARY CHANNELS
   81  2.4 GHz  20 MHz  6
  118  5 GHz    20 MHz  52 56 60 64
  119  5 GHz    40 MHz  52 60
  120  5 GHz    40 MHz  56 64
  128  5 GHz    80 MHz  52 56 60 64
)");
  EXPECT_EQ(json_of(view_classes("wlan1", model, 2)),
            R"({"radio":"phy1","classes":[{"opclass":81,"band":"2.4 GHz","channel_width":"20 MHz","channels":[6]}]})"
            "\n");
  EXPECT_THROW(view_classes("eth0", model, 2), std::invalid_argument);
}

TEST(WifiMedia, IsWhatTheMeshIsTold) {
  Model model = model_of_a_node();
  const struct {
    std::uint32_t interface;
    StandardsInUse standards;
    const char* expected;  // mode, BSS and channel, and who is at the other end
  } rows[] = {
      {3, {}, "AC_5_GHZ WLAN bssid: 02:00:00:00:00:00 role AP band 2 ctrFreqIdx1 58 ctrFreqIdx2 0 02:00:00:00:00:01"},
      {4,
       {{3, qel::WLANPhymode::N}},
       "N_5_GHZ WLAN bssid: 02:00:00:00:00:00 role AP band 2 ctrFreqIdx1 58 ctrFreqIdx2 0 02:00:00:00:00:02"},
      {5,
       {{5, qel::WLANPhymode::A}},
       "G_2_4_GHZ WLAN bssid: 02:00:00:00:00:03 role STA band 0 ctrFreqIdx1 6 ctrFreqIdx2 0 02:00:00:00:00:03"},
  };
  for (const auto& row : rows) {
    const WlanInterface wlan = wlan_interface(model, row.standards, row.interface).value();
    std::ostringstream text;
    text << wlan.mode << ' ' << wlan.information << ' ' << wlan.peers.at(0);
    EXPECT_EQ(text.str(), row.expected);
  }
  EXPECT_FALSE(wlan_interface(model, {}, 6));
  const auto state = [&](std::uint32_t interface, std::uint8_t peer) {
    InterfaceState all;
    add_link_states(model, interface, all);
    const LinkState link = all.link_to(qel::MACAddress({2, 0, 0, 0, 0, peer}));
    return std::vector<int>{link.speed, link.throughput, link.rcpi, static_cast<int>(link.sent_packets),
                            all.availability};
  };
  EXPECT_THAT(state(3, 1), ElementsAre(866, 866, 130, 12, 75));
  EXPECT_THAT(state(4, 2), ElementsAre(0, 0, RCPI_UNKNOWN, 0, 75)) << "the channel is that of the access point";
  const auto associated = number(nl80211_sta_flag_update{~0U, 1U << NL80211_STA_FLAG_ASSOCIATED});
  tell(model, {Topic::STATIONS, 3},
       {address(1) + attribute(NL80211_ATTR_STA_INFO, attribute(NL80211_STA_INFO_STA_FLAGS, associated))});
  EXPECT_TRUE(wlan_interface(model, {}, 3)->peers.empty()) << "not authorized yet";
  StationEvent joined{true, 3, {}};
  joined.station.mac = qel::MACAddress({2, 0, 0, 0, 0, 9});
  model.take(joined);
  EXPECT_EQ(model.get_stations(3).size(), 2U);
  EXPECT_TRUE(wlan_interface(model, {}, 3)->peers.empty()) << "not even associated";
}

TEST(WifiMedia, TakesTheStandardFromEitherDaemon) {
  using enum qel::WLANPhymode;
  const std::pair<const char*, qel::WLANPhymode> rows[] = {
      {"state=ENABLED\nieee80211n=1\nieee80211ac=1\nieee80211ax=0\nbeacon_int=100\n", AC},
      {"ieee80211n=1\nieee80211ac=0\nieee80211ax=1", AX},
      {"ieee80211n=0\nieee80211ac=0\nieee80211ax=0\n", A},
      {"ssid=wifi_generation=6\nwifi_generation=4\n", N},
      {"wpa_state=COMPLETED\nssid=old\n", A},
      {"wpa_state=SCANNING\n", INVALID_MAX}};
  for (const auto& [status, standard] : rows) {
    EXPECT_EQ(standard_of(status), standard) << status;
  }
}

}  // namespace
}  // namespace meshd::wifi
