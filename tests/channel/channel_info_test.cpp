#include "qel/channel/channel_info.h"

#include "qel/core/text.h"
#include "tests/channel/channels.h"

namespace qel {
namespace {

/// An 80+80 MHz channel, with all timestamps 10.
struct Fields {
  LastChanged<kHz> primary = frequency(5180000, 10);
  LastChanged<ChannelInfo::Segment> center = segment(5210000, W8080, 10);
  long secondary = 5530000;
  LastChanged<float> power{17.5F, 10};

  ChannelInfo object() const { return {primary, center, kHz(secondary), power}; }
  static std::string values(const ChannelInfo& info) {
    return to_string(info) + " " + to_string(info.get_secondary_center_frequency());
  }
  static std::string contents(const ChannelInfo& info) {
    std::ostringstream text;
    text << values(info) << " at " << info.get_primary_frequency().get_timestamp() << " "
         << info.get_primary_segment().get_timestamp() << " " << info.get_max_power().get_timestamp();
    return text.str();
  }
};

TEST(ChannelInfo, HasADebugTextAndJson) {
  std::ostringstream os;
  os << std::hex << std::showpos << std::fixed << Fields().object();
  EXPECT_EQ(os.str(),
            "primary frequency: 5180000 kHz (channel 36), segment info: primary center: 5210000 kHz (channel 42), "
            "channel width: 80+80 MHzsecondary center: 5530000 kHz (channel 106), max power: 17.5 dBm");
  EXPECT_EQ(to_string(Fields{.center = segment(5190000, W40, 1), .secondary = 0, .power = {-3, 1}}.object()),
            "primary frequency: 5180000 kHz (channel 36), segment info: primary center: 5190000 kHz (channel 38), "
            "channel width: 40 MHz, max power: -3 dBm");
  EXPECT_EQ(json(Fields().object()), R"({"primary_freq":5180000,"primary_center":5210000,"channel_width":"80+80 MHz",)"
                                     R"("secondary_center":5530000,"max_power":17})");
  ChannelInfo info = Fields().object();
  info.reset();
  EXPECT_EQ(json(info), R"({"primary_freq":null,"primary_center":null,"channel_width":null,)"
                        R"("secondary_center":null,"max_power":null})");
  EXPECT_EQ(Fields::contents(info), "primary frequency: ---, segment info: ---, max power: --- 0 kHz at 0 0 0");
}

TEST(ChannelInfo, UpdatesWhatIsLaterAndDifferent) {
  const Fields nan{.power = {NOT_A_NUMBER, 10}};
  const Fields unset{.primary = {}, .center = {}, .secondary = 0, .power = {}};
  const Fields mistaken{.center = segment(5250000, W160, 10)};
  const std::vector<Fields> taken = {
      {.primary = frequency(5200000, 11)},
      {.power = {1, 11}},
      // The primary channel may be at either border; the segment is checked against the one received with it.
      {.center = segment(5210000, W80, 11), .secondary = 0},
      {.center = segment(5150000, W80, 11), .secondary = 0},
      {.primary = frequency(5745000, 11), .center = segment(5775000, W80, 12), .secondary = 0},
      // The secondary centre has no timestamp, and may be as close as possible without touching.
      {.secondary = 5290001},
      {.center = segment(5210000, W8080, 11), .secondary = 5129999},
  };
  const std::vector<Fields> left = {
      {},
      {.primary = frequency(5180000, 11), .center = segment(5210000, W8080, 11), .power = {17.5F, 11}},
      {.primary = frequency(5200000, 10), .center = segment(5290000, W80, 9), .power = {1, 10}},
      {.center = segment(5250000, W160, 9), .secondary = 0},
      unset,
  };
  expect_taken(taken, left);
  expect_update<Fields>(unset, {}, {});
  expect_update<Fields>(nan, nan, nan);
  expect_update<Fields>(nan, {.power = {NOT_A_NUMBER, 11}}, {.power = {NOT_A_NUMBER, 11}});
  // An inconsistent value set by the constructor stays as long as the same value is received.
  expect_update<Fields>(mistaken, {.center = segment(5250000, W160, 11)}, mistaken);
  expect_update<Fields>({}, {.center = segment(5210000, W8080, 9), .secondary = 5690000}, {.secondary = 5690000});
  // A segment other than 80+80 MHz has no secondary centre.
  const Fields mended{.center = segment(5250000, W160, 11), .secondary = 0};
  expect_update<Fields>({}, {.center = mended.center}, mended);
  expect_update<Fields>({.center = mended.center}, {.center = mended.center, .secondary = 7}, mended);
}

TEST(ChannelInfo, RefusesASegmentAndStaysAsItWas) {
  const struct {
    long center;
    ChannelWidth width;
    long secondary;
    const char* text;
  } rows[] = {
      {0, NO_WIDTH, 0, "primary center frequency 0 kHz is invalid"},
      {5210000, NO_WIDTH, 0, "channel width INVALID is invalid"},
      {5200000, W8080, 0, "secondary center frequency 0 kHz is invalid in 80+80 mode"},
      {5210000, W8080, 5290000,
       "primary segment [5170000 kHz - 5250000 kHz] and secondary segment [5250000 kHz - 5330000 kHz] intersect"},
      {5210000, W8080, 5130000,
       "primary segment [5170000 kHz - 5250000 kHz] and secondary segment [5090000 kHz - 5170000 kHz] intersect"},
      {5210001, W80, 0, "Primary frequency 5180000 kHz is not within primary segment [5170001 kHz - 5250001 kHz]"},
      {5149999, W80, 0, "Primary frequency 5180000 kHz is not within primary segment [5109999 kHz - 5189999 kHz]"},
  };
  ChannelInfo info = Fields().object();
  for (const auto& row : rows) {
    Fields other{.center = segment(row.center, row.width, 11), .secondary = row.secondary, .power = {3, 11}};
    const std::string refused = std::string("invalid: ") + row.text;
    EXPECT_EQ(outcome_of([&] { return info.update(other.object()), info; }), refused);
    EXPECT_EQ(outcome_of([&] { return info.set_segment(other.center, kHz(row.secondary)), info; }), refused);
    other.primary = frequency(5745000, 11);
    EXPECT_THROW(info.update(other.object()), std::invalid_argument);
  }
  info.set_segment(segment(0, NO_WIDTH, 9), kHz(5210000));  // not later
  info.set_segment({}, kHz(5210000));
  EXPECT_EQ(Fields::contents(info), Fields::contents(Fields().object()));
}

TEST(Subsegment, HoldsThePrimaryChannel) {
  const struct {
    long primary, center;
    ChannelWidth width, desired;
    const char* outcome;
  } rows[] = {
      {5180000, 5210000, W80, W80, "5210000 kHz"},
      {5280000, 5250000, W160, W80, "5290000 kHz"},
      {5280000, 5250000, W160, W20, "5280000 kHz"},
      {5180000, 5210000, W8080, W160, "5210000 kHz"},
      {5180000, 5210000, W8080, W40, "5190000 kHz"},
      {5180000, 5180000, W40, W20, "5190000 kHz"},
      {0, 0, W80, W8080, "invalid: primary frequency not set"},
      {5180000, 0, W80, W8080, "invalid: primary segment not set"},
      {5180000, 5210000, W8080, W8080, "invalid: not possible to get center for 80+80 bandwidth"},
      {5180000, 5210000, W80, W160, "invalid: desired segment wider than current segment"},
  };
  for (const auto& row : rows) {
    const ChannelInfo info = Fields{.primary = frequency(row.primary, row.primary == 0 ? 0 : 1),
                                    .center = segment(row.center, row.width, row.center == 0 ? 0 : 1)}
                                 .object();
    EXPECT_EQ(outcome_of([&] { return get_center_frequency_of_subsegment(info, row.desired); }), row.outcome);
  }
}

}  // namespace
}  // namespace qel
