#include "qel/ieee1905_1/operating_channel_conversion.h"

#include <regex>

#include "qel/core/text.h"
#include "tests/ieee1905_1/tlv_test.h"

namespace qel::ieee1905_1 {
namespace {

using enum ChannelWidth;
using enum OperatingClassDeduction::Region;
using Entries = std::vector<OperatingClassChannel>;

constexpr std::int64_t TIME = 7;

OperatingChannelReportTLV report(const Entries& entries, int power = 20) {
  OperatingChannelReportTLV report(A);
  std::ranges::for_each(entries, [&](const auto& each) { report.add_operating_class_channel(each); });
  report.set_transmit_power_eirp(static_cast<signed char>(power));
  return report;
}

/// Frequencies in MHz; 0 if unset.
ChannelInfo info(long primary, long center, ChannelWidth width, long second = 0, float power = 20) {
  return {{kHz(primary * 1000), primary == 0 ? 0 : TIME},
          {{kHz(center * 1000), width}, center == 0 ? 0 : TIME},
          kHz(second * 1000),
          {power, TIME}};
}

TEST(OperatingChannelConversion, Golden) {
  const struct {
    OperatingClassDeduction::Region region;
    ChannelInfo channel;
    Entries written;                 ///< the report of the channel
    std::vector<Entries> read = {};  ///< other reports of this channel
  } rows[] = {
      {GLOBAL, info(2412, 2422, WIDTH_40_MHZ), {{81, 1}, {83, 1}}, {{{83, 1}}}},
      {GLOBAL, info(2437, 2427, WIDTH_40_MHZ), {{81, 6}, {84, 6}}},
      {GLOBAL, info(2484, 2484, WIDTH_20_MHZ), {{82, 14}}},
      {GLOBAL, info(5765, 5775, WIDTH_80_MHZ), {{125, 153}, {127, 153}, {128, 155}}, {{{128, 155}, {125, 153}}}},
      {GLOBAL, info(0, 5775, WIDTH_80_MHZ), {{128, 155}}},
      {GLOBAL, info(5260, 5250, WIDTH_160_MHZ), {{118, 52}, {119, 52}, {128, 58}, {129, 50}}},
      {GLOBAL,
       info(5180, 5210, WIDTH_80_80_MHZ, 5530),
       {{115, 36}, {116, 36}, {128, 42}, {130, 42}, {130, 106}},
       {{{115, 36}, {130, 106}, {130, 42}}, {{128, 42}, {115, 36}, {130, 106}}, {{130, 106}, {116, 36}, {130, 42}}}},
      {GLOBAL, info(0, 5530, WIDTH_80_80_MHZ, 5210), {{130, 106}, {130, 42}}, {{{130, 106}, {130, 42}, {130, 106}}}},
      {GLOBAL, info(6195, 6185, WIDTH_160_MHZ), {{131, 49}, {132, 51}, {133, 55}, {134, 47}}},
      {EUROPE, info(5500, 5510, WIDTH_40_MHZ), {{3, 100}, {7, 100}}, {{{16, 100}, {7, 100}, {3, 100}}}},
      {EUROPE, info(5860, 5860, WIDTH_20_MHZ), {{15, 172}}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.channel);
    const OperatingChannelConversion conversion(row.region);
    EXPECT_EQ(to_string(conversion.to_report(A, row.channel)), to_string(report(row.written)));
    EXPECT_EQ(conversion.to_channel_info(report(row.written), TIME), row.channel);
    for (const Entries& entries : row.read) {
      EXPECT_EQ(conversion.to_channel_info(report(entries), TIME), row.channel);
    }
  }
}

TEST(OperatingChannelConversion, NamesTheEntriesThatContradictAndSkipsTheUnknown) {
  const std::string two = "Operating channel report contradicts itself: ";
  const std::string lacks = "Operating channel report lacks the second segment beside ";
  const std::pair<Entries, std::string> rows[] = {
      // clang-format off
      {{{115, 36}, {117, 40}}, two + "115/36 and 117/40"},
      {{{128, 58}, {115, 36}}, two + "115/36 and 128/58"},     {{{132, 3}, {132, 11}}, two + "132/3 and 132/11"},
      {{{134, 15}, {133, 23}, {132, 3}}, two + "132/3 and 133/23"},
      {{{130, 42}, {130, 106}, {130, 155}}, two + "130/106 and 130/155"},
      {{{130, 42}, {130, 106}, {118, 52}}, two + "118/52 and 130/42"},
      {{{130, 42}, {129, 50}, {130, 106}}, two + "129/50 and 130/42"},
      {{{130, 42}, {130, 58}}, two + "130/42 and 130/58"},     {{{128, 42}, {130, 42}}, lacks + "130/42"},
      {{{115, 36}, {124, 149}}, "Provided opclass 124 not valid!"},
      {{{115, 36}, {180, 1}}, "Operating channel report has a channel of no known width: 180/1"},
      // clang-format on
  };
  for (const auto& row : rows) {
    // Entries are written as 115/36 here.
    const std::string failure =
        std::regex_replace(row.second, std::regex("(\\d+)/(\\d+)"), "OperatingClass: $1 on Channel: $2");
    EXPECT_THAT([&] { OperatingChannelConversion().to_channel_info(report(row.first)); },
                ThrowsMessage<std::invalid_argument>(failure));
  }
  const OperatingChannelConversion skipping(GLOBAL, UnknownChannels::SKIP);
  const Entries unknown = {{124, 149}, {128, 36}, {180, 1}};
  EXPECT_EQ(skipping.to_channel_info(report(unknown), TIME), info(0, 0, INVALID));
  EXPECT_EQ(skipping.to_channel_info(report({unknown[0], {115, 36}, unknown[1]}), TIME),
            info(5180, 5180, WIDTH_20_MHZ));
}

TEST(OperatingChannelConversion, ReportsChannelsOfAClassWithPowerInWholeDbm) {
  const OperatingChannelConversion conversion;
  for (const ChannelInfo& channel :
       {info(0, 0, INVALID), info(5200, 5210, WIDTH_40_MHZ), info(0, 2422, WIDTH_40_MHZ),
        info(2437, 2437, WIDTH_80_MHZ), info(5825, 5815, WIDTH_40_MHZ), info(5180, 5210, WIDTH_80_80_MHZ, 5735)}) {
    EXPECT_THAT([&] { conversion.to_report(A, channel); },
                ThrowsMessage<std::invalid_argument>("No operating class of GLOBAL has the channel of channel info " +
                                                     to_string(channel)));
  }
  EXPECT_THAT([&] { conversion.to_report(A, info(5180, 5290, WIDTH_80_MHZ)); },
              ThrowsMessage<std::invalid_argument>(StartsWith("Primary frequency 5180000 kHz is not within")));
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const auto& [power, whole] : {std::pair(19.5F, 20), {-2.6F, -3}, {300.F, 127}, {-300.F, -128}, {nan, 0}}) {
    const ChannelInfo channel({kHz(5180000), TIME}, {power, TIME});
    EXPECT_EQ(to_string(conversion.to_report(A, channel)), to_string(report({{115, 36}}, whole)));
  }
  EXPECT_EQ(to_string(conversion.to_report(A, info(0, 5180, WIDTH_20_MHZ))), to_string(report({{115, 36}})));
}

}  // namespace
}  // namespace qel::ieee1905_1
