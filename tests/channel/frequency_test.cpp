#include "qel/channel/frequency.h"

#include "tests/channel/channels.h"

namespace qel {
namespace {

using Modes = std::bitset<6>;
using Capabilities = std::bitset<9>;

constexpr long MOST = std::numeric_limits<long>::max();
constexpr long LEAST = std::numeric_limits<long>::min();

TEST(Frequency, HasAChannel) {
  // Below the band, the negative number of steps is also reduced to 8 bits, -481 to 31.
  const std::pair<long, int> rows[] = {
      {LEAST, 0},    {-1, 0},       {0, 0},         {1, 31},        {2402000, 255}, {2406999, 0},  {2407000, 0},
      {2411999, 0},  {2412000, 1},  {2472000, 13},  {2483999, 15},  {2484000, 14},  {2484001, 9},  {4999999, 0},
      {5005000, 1},  {5180000, 36}, {5885000, 177}, {5929999, 185}, {5930000, 1},   {5935000, 2},  {5949999, 4},
      {5950000, 0},  {5955000, 1},  {7115000, 233}, {7124999, 234}, {7125000, 0},   {56160000, 0}, {56160001, 0},
      {58319999, 0}, {58320000, 1}, {60480000, 2},  {64800000, 4},  {64800001, 0},  {MOST, 0},
  };
  for (const auto& [frequency, channel] : rows) {
    EXPECT_EQ(frequency_to_channel(kHz(frequency)), channel) << frequency;
  }
}

TEST(Frequency, OfAChannelLiesOnTheGridOfTheBand) {
  const std::pair<int, long> starts[] = {{0, 2407000}, {1, 5000000}, {2, 5950000}, {3, 0}, {255, 0}};
  for (const auto& [band, start] : starts) {
    EXPECT_EQ(band_to_starting_frequency(FrequencyBand(band)), kHz(start));
  }
  const std::tuple<long, int, long> rows[] = {{2407000, 255, 3682000}, {5950000, 1, 5955000},      {-5000, 3, 10000},
                                              {56159999, 2, 56169999}, {56160000, 255, 606960000}, {MOST, 1, MOST}};
  for (const auto& [base, channel, frequency] : rows) {
    EXPECT_EQ(channel_to_frequency(kHz(base), static_cast<unsigned char>(channel)), kHz(frequency));
  }
}

TEST(Frequency, LiesInABand) {
  const std::tuple<long, int, int> rows[] = {
      {LEAST, 5, 3},   {-1, 5, 3},      {0, 5, 3},       {2411999, 5, 3}, {2412000, 0, 0}, {2484000, 0, 0},
      {2484001, 5, 3}, {5179999, 5, 3}, {5180000, 1, 1}, {5320000, 1, 1}, {5320001, 5, 3}, {5330000, 5, 3},
      {5499999, 5, 3}, {5500000, 2, 1}, {5885000, 2, 1}, {5885001, 5, 3}, {5925000, 5, 3}, {5929999, 5, 3},
      {5930000, 4, 2}, {7125000, 4, 2}, {7125001, 5, 3}, {MOST, 5, 3},
  };
  for (const auto& [frequency, detailed, band] : rows) {
    EXPECT_EQ(frequency_to_detailed_band(kHz(frequency)), DetailedFrequencyBand(detailed)) << frequency;
    EXPECT_EQ(frequency_to_band(kHz(frequency)), FrequencyBand(band)) << frequency;
  }
}

TEST(Width, ConvertsToFrequenciesAndCapabilities) {
  const std::pair<long, const char*> rows[] = {
      {20, "000000001"}, {40, "000000011"}, {80, "000000111"}, {160, "000001111"},
      {80, "001000111"}, {0, "000000000"},  {0, "000000000"},
  };
  for (std::size_t width = 0; width < std::size(rows); ++width) {
    EXPECT_EQ(channel_width_to_frequency(ChannelWidth(width)), MHz(rows[width].first)) << width;
    EXPECT_EQ(channel_width_capability_bits(ChannelWidth(width)), Capabilities(rows[width].second)) << width;
  }
  for (long m = -1; m < 200; ++m) {
    const ChannelWidth expected = m == 20 || m == 25 ? W20 : m == 40 ? W40 : m == 80 ? W80 : m == 160 ? W160 : NO_WIDTH;
    EXPECT_EQ(frequency_to_channel_width(MHz(m)), expected) << m;
  }
}

TEST(Width, OfCapabilities) {
  const std::pair<const char*, std::vector<ChannelWidth>> rows[] = {
      {"111111111", {W20, W40, W80, W160, W8080}}, {"110110101", {W20, W80}}, {"000000010", {W40}}, {"110110000", {}}};
  for (const auto& [bits, widths] : rows) {
    const Capabilities capabilities(bits);
    EXPECT_THAT(capability_bits_channel_widths(capabilities), testing::ElementsAreArray(widths)) << bits;
    EXPECT_EQ(capability_bits_max_channel_width(capabilities), widths.empty() ? NO_WIDTH : widths.back()) << bits;
  }
}

TEST(Width, InCommon) {
  const char* const expected[] = {"0000055", "0111155", "0122255", "0123255", "0122455", "5555555", "5555555"};
  for (std::size_t a = 0; a < 7; ++a) {
    for (std::size_t b = 0; b < 7; ++b) {
      EXPECT_EQ(find_common_channel_width(ChannelWidth(a), ChannelWidth(b)), ChannelWidth(expected[a][b] - '0'))
          << a << " " << b;
    }
  }
}

TEST(Phymode, NewestOfTheBand) {
  const std::tuple<int, const char*, int> rows[] = {
      // ax, ac, n, g, b, a
      {0, "111111", 5}, {0, "011111", 3}, {0, "010111", 2}, {0, "010011", 1},   {0, "010001", 6},
      {1, "111111", 5}, {1, "011111", 4}, {1, "001111", 3}, {1, "000111", 0},   {1, "000110", 6},
      {2, "111111", 5}, {2, "011111", 6}, {3, "111111", 6}, {255, "111111", 6},
  };
  for (const auto& [band, modes, newest] : rows) {
    EXPECT_EQ(get_max_phy_mode(FrequencyBand(band), Modes(modes)), WLANPhymode(newest)) << band << " " << modes;
  }
}

TEST(Phymode, GivesAPhyType) {
  const int types[] = {4, 5, 6, 7, 9, 14, 15, 15};
  for (std::uint8_t mode = 0; mode < 8; ++mode) {
    EXPECT_EQ(phymode_to_phytype(WLANPhymode(mode)), PHYType(types[mode])) << mode;
  }
  const std::pair<const char*, int> rows[] = {
      {"111111", 14}, {"011111", 9}, {"001111", 7}, {"000111", 6}, {"000011", 5}, {"000001", 15}, {"000000", 15},
  };
  for (const auto& [modes, type] : rows) {
    EXPECT_EQ(phymodesupportbits_to_phytype(Modes(modes)), PHYType(type)) << modes;
  }
}

TEST(Units, ConvertOnRequestAndStopAtTheirBorders) {
  const std::pair<kHz, long> rows[] = {
      {unit_cast<kHz>(MHz(-25)), -25000},
      {unit_cast<kHz>(MHz(MOST / 2)), MOST},
      {unit_cast<kHz>(MHz(LEAST)), LEAST},
      {kHz(7) + kHz(-30), -23},
      {kHz(MOST) + kHz(1), MOST},
      {kHz(LEAST) + kHz(-1), LEAST},
      {kHz(7) - kHz(-30), 37},
      {kHz(1) - kHz(LEAST), MOST},
      {kHz(-2) - kHz(MOST), LEAST},
  };
  for (const auto& [result, value] : rows) {
    EXPECT_EQ(result, kHz(value));
  }
  EXPECT_EQ(unit_cast<MHz>(kHz(5180999)), MHz(5180));
  EXPECT_EQ(unit_cast<MHz>(kHz(-1999)), MHz(-1));
  std::ostringstream os;
  os << std::hex << std::showpos << kHz(2412000) << ", " << MHz(-20);
  EXPECT_EQ(os.str(), "2412000 kHz, -20 MHz");
}

}  // namespace
}  // namespace qel
