#include <gtest/gtest.h>
#include <linux/nl80211.h>

#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "qel/channel/channel_validity.h"
#include "tests/tools/meshd/wifi/attributes.h"
#include "tools/meshd/wifi/event.h"
#include "tools/meshd/wifi/radio.h"
#include "tools/meshd/wifi/station.h"
#include "tools/meshd/wifi/survey.h"

/// What no recording shows: other drivers, other widths, and nonsense.

namespace meshd::wifi {
namespace {

using testing::attribute;
using testing::number;
using testing::octets_of;

template <class T>
std::string text_of(const T& value) {
  std::ostringstream os;
  os << value;
  return os.str();
}

std::string channel(std::uint32_t primary, std::uint32_t width, std::uint32_t center, std::uint32_t second = 0) {
  return attribute(NL80211_ATTR_WIPHY_FREQ, primary) + attribute(NL80211_ATTR_CHANNEL_WIDTH, width) +
         attribute(NL80211_ATTR_CENTER_FREQ1, center) + attribute(NL80211_ATTR_CENTER_FREQ2, second);
}

TEST(WifiChannel, HasTheSegmentThatTheModelKnows) {
  struct Row {
    std::string attributes;
    std::string text;
  };
  const std::string alone = "primary frequency: 5180000 kHz (channel 36), segment info: ---, max power: ---";
  const std::string none = "primary frequency: ---, segment info: ---, max power: ---";
  for (const Row& row : std::vector<Row>{
           {channel(2462, NL80211_CHAN_WIDTH_20_NOHT, 2462) + attribute(NL80211_ATTR_WIPHY_TX_POWER_LEVEL, 1750),
            "primary frequency: 2462000 kHz (channel 11), segment info: primary center: 2462000 kHz (channel 11), "
            "channel width: 20 MHz, max power: 17.5 dBm"},
           {channel(5500, NL80211_CHAN_WIDTH_160, 5570),
            "primary frequency: 5500000 kHz (channel 100), segment info: primary center: 5570000 kHz (channel 114), "
            "channel width: 160 MHz, max power: ---"},
           {channel(5180, NL80211_CHAN_WIDTH_5, 5180), alone},
           {channel(5180, 13 /* 320 MHz */, 6105), alone},
           {channel(5180, NL80211_CHAN_WIDTH_40, 5230), alone},
           {channel(5180, NL80211_CHAN_WIDTH_80P80, 5210), alone},
           {channel(5180, NL80211_CHAN_WIDTH_80, 0xFFFFFFFF), alone},
           {channel(0xFFFFFFFF, NL80211_CHAN_WIDTH_20, 0xFFFFFFFF), none},
           {attribute(NL80211_ATTR_WIPHY_FREQ, number<std::uint16_t>(5180)), none},
           {attribute(NL80211_ATTR_CHANNEL_WIDTH, NL80211_CHAN_WIDTH_20), none},
       }) {
    EXPECT_EQ(text_of(channel_info(octets_of(row.attributes), 1)), row.text);
  }
  const auto two = channel_info(octets_of(channel(5180, NL80211_CHAN_WIDTH_80P80, 5210, 5530)), 1);
  EXPECT_EQ(two.get_secondary_center_frequency(), qel::kHz(5530000));
  EXPECT_TRUE(is_valid(two));
}

TEST(WifiStation, HasTheRateInTermsOfTheModel) {
  struct Row {
    std::string information;
    std::uint64_t kilobits;
    qel::WLANPhymode mode;
    int mcs;
    int streams;
    qel::ChannelWidth width;
  };
  using qel::ChannelWidth;
  using qel::WLANPhymode;
  const auto octet = [](int type, std::uint8_t value) { return attribute(type, number(value)); };
  for (const Row& row : std::vector<Row>{
           {attribute(NL80211_RATE_INFO_BITRATE, number<std::uint16_t>(55)), 5500, WLANPhymode::INVALID_MAX, 0, 1,
            ChannelWidth::WIDTH_20_MHZ},
           {attribute(NL80211_RATE_INFO_BITRATE32, 1350) + octet(NL80211_RATE_INFO_MCS, 15) +
                attribute(NL80211_RATE_INFO_40_MHZ_WIDTH),
            135000, WLANPhymode::N, 7, 2, ChannelWidth::WIDTH_40_MHZ},
           {attribute(NL80211_RATE_INFO_BITRATE32, 8667) + octet(NL80211_RATE_INFO_VHT_MCS, 9) +
                octet(NL80211_RATE_INFO_VHT_NSS, 2) + attribute(NL80211_RATE_INFO_80_MHZ_WIDTH),
            866700, WLANPhymode::AC, 9, 2, ChannelWidth::WIDTH_80_MHZ},
           {attribute(NL80211_RATE_INFO_BITRATE32, 0xFFFFFFFF) + octet(NL80211_RATE_INFO_HE_MCS, 11) +
                octet(NL80211_RATE_INFO_HE_NSS, 4) + attribute(NL80211_RATE_INFO_320_MHZ_WIDTH),
            429496729500, WLANPhymode::AX, 11, 4, ChannelWidth::INVALID},
       }) {
    const std::string attributes =
        attribute(NL80211_ATTR_STA_INFO, attribute(NL80211_STA_INFO_TX_BITRATE, row.information));
    const auto rate = station_of({.attributes = octets_of(attributes)}).send_rate;
    ASSERT_TRUE(rate);
    EXPECT_EQ(rate->kilobits, row.kilobits);
    EXPECT_EQ(rate->mode, row.mode);
    EXPECT_EQ(rate->mcs, row.mcs);
    EXPECT_EQ(rate->streams, row.streams);
    EXPECT_EQ(rate->width, row.width);
  }
}

TEST(WifiStation, PrefersTheLongCounts) {
  const std::string short_count = attribute(NL80211_STA_INFO_RX_BYTES, 7);
  const std::string long_count = attribute(NL80211_STA_INFO_RX_BYTES64, number<std::uint64_t>(1ULL << 32 | 7));
  const auto received = [](const std::string& information) {
    return station_of({.attributes = octets_of(attribute(NL80211_ATTR_STA_INFO, information))}).received_octets;
  };
  EXPECT_EQ(received(short_count), 7U);
  EXPECT_EQ(received(short_count + long_count), 1ULL << 32 | 7);
  EXPECT_EQ(received(long_count + short_count), 1ULL << 32 | 7);
  EXPECT_EQ(received(""), std::nullopt);
}

TEST(WifiRadio, HasTheStreamsAndWidthsOfItsCapabilities) {
  struct Row {
    Band band;
    std::string receive;
    std::string send;
  };
  const auto vht = [](std::uint32_t widths) {  // received: three streams, sent: two
    return VHTCapabilities{widths << 2, {0xEA, 0xFF, 0, 0, 0xFA, 0xFF, 0, 0}};
  };
  using qel::FrequencyBand;
  // 1 stream up to 80 MHz received, 2 sent; 3 and 4 at 160 MHz, which counts only if it is supported.
  const HECapabilities he_80{.phy = {0x04}, .mcs = {0xFE, 0xFF, 0xFA, 0xFF, 0xEA, 0xFF, 0xAA, 0xFF, 0, 0, 0, 0}};
  HECapabilities he_160 = he_80;
  he_160.phy[0] = 0x0C;
  HTCapabilities differs{0, {0xFF, 0xFF}};
  differs.mcs[12] = 0x03;  // one stream sent
  for (const Row& row : std::vector<Row>{
           {{.band = FrequencyBand::BAND_5_GHZ}, "20 MHz: 1, 40 MHz: 0, 80 MHz: 0, 160 MHz: 0, 80+80 MHz: 0", ""},
           {{.band = FrequencyBand::BAND_2_4_GHZ, .ht = HTCapabilities{2, {0xFF, 0xFF, 0xFF}}},
            "20 MHz: 3, 40 MHz: 3, 80 MHz: 0, 160 MHz: 0, 80+80 MHz: 0",
            ""},
           {{.band = FrequencyBand::BAND_2_4_GHZ, .ht = differs, .vht = vht(2)},
            "20 MHz: 2, 40 MHz: 0, 80 MHz: 0, 160 MHz: 0, 80+80 MHz: 0",
            "20 MHz: 1, 40 MHz: 0, 80 MHz: 0, 160 MHz: 0, 80+80 MHz: 0"},
           {{.band = FrequencyBand::BAND_5_GHZ, .vht = vht(0)},
            "20 MHz: 3, 40 MHz: 3, 80 MHz: 3, 160 MHz: 0, 80+80 MHz: 0",
            "20 MHz: 2, 40 MHz: 2, 80 MHz: 2, 160 MHz: 0, 80+80 MHz: 0"},
           {{.band = FrequencyBand::BAND_5_GHZ, .vht = vht(2)},
            "20 MHz: 3, 40 MHz: 3, 80 MHz: 3, 160 MHz: 3, 80+80 MHz: 3",
            "20 MHz: 2, 40 MHz: 2, 80 MHz: 2, 160 MHz: 2, 80+80 MHz: 2"},
           {{.band = FrequencyBand::BAND_6_GHZ, .he = {he_80}},
            "20 MHz: 1, 40 MHz: 1, 80 MHz: 1, 160 MHz: 0, 80+80 MHz: 0",
            "20 MHz: 2, 40 MHz: 2, 80 MHz: 2, 160 MHz: 0, 80+80 MHz: 0"},
           {{.band = FrequencyBand::BAND_6_GHZ, .he = {he_160}},
            "20 MHz: 1, 40 MHz: 1, 80 MHz: 1, 160 MHz: 3, 80+80 MHz: 0",
            "20 MHz: 2, 40 MHz: 2, 80 MHz: 2, 160 MHz: 4, 80+80 MHz: 0"},
       }) {
    EXPECT_EQ(text_of(receive_streams(row.band)), row.receive);
    EXPECT_EQ(text_of(send_streams(row.band)), row.send.empty() ? row.receive : row.send);
  }
}

TEST(WifiRadio, HasTheChannelsThatTheRegulationsLeave) {
  struct Row {
    WiphyChannel channel;
    std::string capabilities;  // from the last bit to the first
    std::string state;
  };
  const auto at = [](long megahertz) { return WiphyChannel{.frequency = qel::kHz(megahertz * 1000)}; };
  WiphyChannel upper = at(5180);
  upper.no_ht40_plus = true;
  WiphyChannel narrow = at(5180);
  narrow.no_ht40_plus = narrow.no_ht40_minus = true;
  WiphyChannel no_80 = at(5180);
  no_80.no_80_mhz = true;
  WiphyChannel no_160 = at(5180);
  no_160.no_160_mhz = true;
  WiphyChannel radar = at(5580);
  radar.has_radar = true;
  WiphyChannel weather = at(5660);
  weather.has_radar = true;
  weather.dfs_state = DfsState::AVAILABLE;
  WiphyChannel hit = at(5640);
  hit.has_radar = true;
  hit.dfs_state = DfsState::UNAVAILABLE;
  for (const Row& row : std::vector<Row>{{at(5180), "110001111", "00000"},
                                         {upper, "100001111", "00000"},
                                         {narrow, "000000001", "00000"},
                                         {no_80, "110000011", "00000"},
                                         {no_160, "110000111", "00000"},
                                         {radar, "110011111", "01000"},
                                         {weather, "110011111", "00001"},
                                         {hit, "110111111", "00010"}}) {
    const Band band{.band = qel::FrequencyBand::BAND_5_GHZ,
                    .channels = {row.channel},
                    .ht = HTCapabilities{2, {0xFF}},
                    .vht = VHTCapabilities{1U << 2, {}}};
    const qel::ChannelEntry entry = channel_list(band, nullptr, 1).get_channels().at(0);
    EXPECT_EQ(entry.get_capability_flags().to_string(), row.capabilities) << entry;
    EXPECT_EQ(entry.get_state_flags().get().to_string(), row.state) << entry;
    EXPECT_TRUE(is_valid(entry));
  }
}

TEST(WifiSurvey, TellsTheShareOfTheTime) {
  using std::chrono::milliseconds;
  struct Row {
    std::optional<int> active, busy, active_before, busy_before;
    std::optional<int> percent;
  };
  const auto survey = [](std::optional<int> active, std::optional<int> busy) {
    Survey made;
    made.active = active ? std::optional(milliseconds(*active)) : std::nullopt;
    made.busy = busy ? std::optional(milliseconds(*busy)) : std::nullopt;
    return made;
  };
  for (const Row& row : std::vector<Row>{{1000, 250, {}, {}, 25},
                                         {1000, 250, 600, 50, 50},
                                         {1000, 250, 1000, 250, {}},
                                         {1000, 1250, {}, {}, 100},
                                         {100, 30, 9000, 20, 30},
                                         {100, 30, 50, 9000, 30},
                                         {1000, {}, {}, {}, {}},
                                         {{}, 5, {}, {}, {}}}) {
    const auto share = utilization(survey(row.active, row.busy), survey(row.active_before, row.busy_before));
    EXPECT_EQ(share ? std::optional<int>(*share) : std::nullopt, row.percent);
  }
  Survey endless;
  endless.active = milliseconds::max();
  endless.busy = milliseconds::max();
  EXPECT_EQ(utilization(endless), 100);
}

TEST(WifiEvent, SaysWhatItIsAboutOrIsNone) {
  const std::string interface = attribute(NL80211_ATTR_IFINDEX, 3);
  const std::string wiphy = attribute(NL80211_ATTR_WIPHY, 1);
  const std::string mac = attribute(NL80211_ATTR_MAC, std::string("\x02\x1a\x2b\x3c\x4d\x5e"));
  const auto index = [](std::uint8_t command, const std::string& attributes) {
    const auto event = event_of({command, octets_of(attributes)}, 1);
    return event ? static_cast<int>(event->index()) : -1;
  };
  EXPECT_EQ(index(NL80211_CMD_NEW_STATION, interface), -1);
  EXPECT_EQ(index(NL80211_CMD_NEW_STATION, mac), -1);
  EXPECT_EQ(index(NL80211_CMD_NEW_STATION, interface + mac), 2);
  EXPECT_EQ(index(NL80211_CMD_DEL_WIPHY, interface), -1);
  EXPECT_EQ(index(NL80211_CMD_RADAR_DETECT, wiphy), -1);
  EXPECT_EQ(index(NL80211_CMD_RADAR_DETECT, wiphy + attribute(NL80211_ATTR_RADAR_EVENT, 77)), -1);
  EXPECT_EQ(index(NL80211_CMD_FRAME, interface + wiphy), -1);

  const std::string nonsense = attribute(NL80211_ATTR_REG_ALPHA2, std::string("u\x1b"));
  const auto event = event_of({NL80211_CMD_REG_CHANGE, octets_of(nonsense)}, 1);
  EXPECT_EQ(std::get<RegulatoryEvent>(*event).country, "");
}

TEST(WifiWiphy, StaysWithinLimits) {
  Wiphys wiphys;
  std::string channels;
  for (std::uint32_t i = 0; i < 2 * MOST_CHANNELS; ++i) {
    const std::string one = attribute(static_cast<int>(i), attribute(NL80211_FREQUENCY_ATTR_FREQ, 5000 + i));
    channels = one + one;
    const std::string attributes =
        attribute(NL80211_ATTR_WIPHY, i) + attribute(NL80211_ATTR_WIPHY, 0U) +
        attribute(NL80211_ATTR_WIPHY_BANDS, attribute(NL80211_BAND_5GHZ, attribute(NL80211_BAND_ATTR_FREQS, channels)) +
                                                attribute(99, attribute(NL80211_BAND_ATTR_FREQS, channels)));
    add_wiphy(wiphys, {NL80211_CMD_NEW_WIPHY, octets_of(attributes)});
    const std::string alone = attribute(NL80211_ATTR_WIPHY, i);
    add_wiphy(wiphys, {NL80211_CMD_NEW_WIPHY, octets_of(alone)});
  }
  EXPECT_EQ(wiphys.size(), MOST_WIPHYS);
  ASSERT_EQ(wiphys[0].bands.size(), 1U);
  EXPECT_EQ(wiphys[0].bands[0].channels.size(), MOST_CHANNELS);
}

}  // namespace
}  // namespace meshd::wifi
