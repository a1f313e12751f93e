#include "qel/channel/operating_class_deduction.h"
#include "qel/core/text.h"
#include "tests/channel/channels.h"

namespace qel {
namespace {

using Deduction = OperatingClassDeduction;
using Lookup = Deduction::OpclassLookup;
using Capabilities = std::bitset<9>;
using enum Deduction::Region;

constexpr auto EIGHTY_PLUS = Deduction::Behavior::EIGHTY_PLUS_BEHAVIOR;
constexpr auto UNMAPPED = Deduction::Behavior::UNMAPPED_BEHAVIOR;
constexpr auto LOWER = Deduction::Behavior::PRIMARY_LOWER_BEHAVIOR;
constexpr auto UPPER = Deduction::Behavior::PRIMARY_UPPER_BEHAVIOR;

/// The meaning of a channel number in the class.
enum Names { CHANNEL, LOW_HALF, UP_HALF, SEGMENT, SECOND };

/// A range of spectrum in MHz, divided into segments whose starts are `raster` apart.
struct Block {
  long from;
  long to;
};
struct Class {
  int number;
  long base;  ///< kHz of channel 0
  long width;
  long raster;
  Names names;
  unsigned capabilities;  ///< from bit 0: HT20, HT40, HT80, HT160; from bit 6: HT8080, lower, upper
  std::vector<Block> blocks;

  /// In kHz, like the others below.
  long step() const { return width == 2160 ? 2160000 : 5000; }
  std::vector<long> centers() const {
    std::vector<long> all;
    for (const Block& block : blocks) {
      for (long low = block.from; low + width <= block.to; low += raster) {
        all.push_back(low * 1000 + width * 500);
      }
    }
    return all;
  }
  long named(long center) const { return center + (names == LOW_HALF ? -10000 : names == UP_HALF ? 10000 : 0); }
  bool lies_in(long frequency, long center) const {
    return names >= SEGMENT ? std::abs(frequency - center) < width * 500 : frequency == named(center);
  }
  std::string center_of(long frequency) const {
    const auto all = centers();
    const auto found = std::ranges::find_if(all, [&](long center) { return lies_in(frequency, center); });
    const std::string name = "Provided opclass " + std::to_string(number);
    return width < 40           ? to_string(kHz(frequency))
           : found == all.end() ? "invalid: " + name + " not valid!"
           : width == 2160      ? "logic: " + name + " has no behaviors!"
                                : to_string(kHz(*found));
  }
};

// clang-format off
constexpr Block ISM{2402, 2482};
constexpr Block LOW{5170, 5250};
constexpr Block MID{5250, 5330};
constexpr Block TOP{5735, 5895};
constexpr Block SIX{5945, 7125};

const std::vector<Class> EUROPEAN = {
    { 1, 5000000, 20, 20, CHANNEL,  0x001, {LOW}},          { 2, 5000000, 20, 20, CHANNEL, 0x001, {MID}},
    { 3, 5000000, 20, 20, CHANNEL,  0x001, {{5490, 5710}}}, { 4, 2407000, 20,  5, CHANNEL, 0x001, {ISM}},
    { 5, 5000000, 40, 40, LOW_HALF, 0x083, {LOW}},          { 8, 5000000, 40, 40, UP_HALF, 0x103, {LOW}},
    { 6, 5000000, 40, 40, LOW_HALF, 0x083, {MID}},          { 9, 5000000, 40, 40, UP_HALF, 0x103, {MID}},
    { 7, 5000000, 40, 40, LOW_HALF, 0x083, {{5490, 5710}}}, {10, 5000000, 40, 40, UP_HALF, 0x103, {{5490, 5710}}},
    {11, 2407000, 40,  5, LOW_HALF, 0x083, {ISM}},          {12, 2407000, 40,  5, UP_HALF, 0x103, {ISM}},
    {13, 5002500,  5,  5, CHANNEL,  0x000, {{5855, 5925}}}, {14, 5000000, 10,  5, CHANNEL, 0x000, {{5850, 5925}}},
    {15, 5000000, 20,  5, CHANNEL,  0x001, {{5850, 5925}}}, {16, 5000000, 20, 20, CHANNEL, 0x001, {{5490, 5710}}},
    {17, 5000000, 20, 20, CHANNEL,  0x001, {{5735, 5855}}},
    {18, 56160000, 2160, 2160, CHANNEL, 0x000, {{57240, 65880}}},
    {128, 5000000, 80, 80, SEGMENT,   0x007, {LOW, MID, {5490, 5650}}},
    {129, 5000000, 160, 160, SEGMENT, 0x00F, {{5170, 5330}, {5490, 5650}}},
    {130, 5000000, 80, 80, SECOND,    0x047, {LOW, MID, {5490, 5650}}},
};

const std::vector<Class> WORLDWIDE = {
    { 81, 2407000, 20,  5, CHANNEL,  0x001, {ISM}},          { 82, 2414000, 20,  5, CHANNEL, 0x001, {{2474, 2494}}},
    { 83, 2407000, 40,  5, LOW_HALF, 0x083, {ISM}},          { 84, 2407000, 40,  5, UP_HALF, 0x103, {ISM}},
    {115, 5000000, 20, 20, CHANNEL,  0x001, {LOW}},          {118, 5000000, 20, 20, CHANNEL, 0x001, {MID}},
    {116, 5000000, 40, 40, LOW_HALF, 0x083, {LOW}},          {117, 5000000, 40, 40, UP_HALF, 0x103, {LOW}},
    {119, 5000000, 40, 40, LOW_HALF, 0x083, {MID}},          {120, 5000000, 40, 40, UP_HALF, 0x103, {MID}},
    {121, 5000000, 20, 20, CHANNEL,  0x001, {{5490, 5730}}}, {125, 5000000, 20, 20, CHANNEL, 0x001, {TOP}},
    {122, 5000000, 40, 40, LOW_HALF, 0x083, {{5490, 5730}}}, {123, 5000000, 40, 40, UP_HALF, 0x103, {{5490, 5730}}},
    {126, 5000000, 40, 40, LOW_HALF, 0x083, {TOP}},          {127, 5000000, 40, 40, UP_HALF, 0x103, {TOP}},
    {128, 5000000, 80, 80, SEGMENT,   0x007, {LOW, MID, {5490, 5730}, TOP}},
    {129, 5000000, 160, 160, SEGMENT, 0x00F, {{5170, 5330}, {5490, 5730}, TOP}},
    {130, 5000000, 80, 80, SECOND,    0x047, {LOW, MID, {5490, 5730}, TOP}},
    {131, 5950000, 20, 20, CHANNEL,   0x001, {SIX}},         {132, 5950000, 40, 40, SEGMENT, 0x003, {SIX}},
    {133, 5950000, 80, 80, SEGMENT,   0x007, {SIX}},         {134, 5950000, 160, 160, SEGMENT, 0x00F, {SIX}},
    {135, 5950000, 80, 80, SECOND,    0x047, {SIX}},         {136, 5925000, 20, 20, CHANNEL, 0x001, {{5925, 5945}}},
    {180, 56160000, 2160, 2160, CHANNEL, 0x000, {{57240, 70200}}},
};
// clang-format on

class OfRegion : public testing::TestWithParam<std::pair<Deduction::Region, const std::vector<Class>*>> {};

TEST_P(OfRegion, EveryClassHasItsChannels) {
  const auto& [region, classes] = GetParam();
  std::set<std::uint8_t> numbers;
  for (const Class& row : *classes) {
    SCOPED_TRACE(row.number);
    const auto number = static_cast<unsigned char>(row.number);
    numbers.insert(number);
    std::vector<std::uint8_t> channels;
    for (const long center : row.centers()) {
      channels.push_back(static_cast<std::uint8_t>((row.named(center) - row.base) / row.step()));
    }
    EXPECT_EQ(Deduction::get_all_opclass_channels(number, region), channels);
    EXPECT_EQ(Deduction::get_channel_capabilities(number, region), Capabilities(row.capabilities));
    EXPECT_EQ(Deduction::is_secondary_segment(number, region), row.names == SECOND);
    for (int channel = 0; channel < 256; ++channel) {
      const auto code = static_cast<unsigned char>(channel);
      const long frequency = row.base + channel * row.step();
      EXPECT_EQ(Deduction::get_channel_frequency(code, number, region), kHz(frequency)) << channel;
      const std::string center =
          outcome_of([&, on = region] { return Deduction::get_segment_center_frequency(code, number, on); });
      EXPECT_EQ(center, row.center_of(frequency)) << channel;
    }
  }
  EXPECT_EQ(Deduction::get_all_region_opclasses(region), numbers);
  const Lookup& lookup = Deduction::get_lookup(region);
  for (int number = 0; number < 256; ++number) {
    const auto code = static_cast<unsigned char>(number);
    if (!numbers.contains(code)) {
      const std::string outcomes[] = {outcome_of([&] { return lookup.get_channel_frequency(1, code); }),
                                      outcome_of([&] { return lookup.get_segment_center_frequency(1, code); }),
                                      outcome_of([&] { return lookup.get_channel_capabilities(code); }),
                                      outcome_of([&] { return lookup.get_all_opclass_channels(code); })};
      EXPECT_THAT(outcomes, Each("invalid: Provided opclass " + std::to_string(number) + " not valid!"));
      EXPECT_FALSE(lookup.is_secondary_segment(code));
    }
    EXPECT_TRUE(region != GLOBAL || is_valid_global_operating_class(code) == numbers.contains(code)) << number;
  }
}

INSTANTIATE_TEST_SUITE_P(OperatingClass, OfRegion,
                         testing::Values(std::pair(EUROPE, &EUROPEAN), std::pair(GLOBAL, &WORLDWIDE)),
                         [](const auto& instance) { return to_string(instance.param.first); });

TEST(OperatingClass, IsFoundByWidthFrequencyAndBehaviors) {
  const struct {
    Deduction::Region region;
    ChannelWidth width;
    long frequency;
    std::set<Deduction::Behavior> behaviors;
    int opclass;
  } rows[] = {
      // clang-format off
      {GLOBAL, W20, 2412000, {}, 81},                // in the second search, which other widths do not use
      {GLOBAL, W40, 2484000, {LOWER}, 0},            {GLOBAL, W20, 2484001, {}, 0},
      {GLOBAL, W20, 5180000, {LOWER, EIGHTY_PLUS}, 115},
      {GLOBAL, W20, 5925000, {}, 0},                 {GLOBAL, W20, 5925001, {}, 136},
      {GLOBAL, W20, 5945000, {}, 0},                 {GLOBAL, W40, 2437000, {LOWER, UPPER}, 83},
      {GLOBAL, W40, 5180000, {}, 0},                 {GLOBAL, W40, 5180000, {UPPER}, 0},
      {GLOBAL, W160, 5815000, {}, 129},              {GLOBAL, NO_WIDTH, 5180000, {}, 0},
      {GLOBAL, W8080, 5210000, {EIGHTY_PLUS}, 130},  {GLOBAL, W8080, 5210000, {UNMAPPED, LOWER}, 0},
      {EUROPE, W20, 5500000, {UNMAPPED}, 3},         // like 16
      {EUROPE, W20, 5865000, {}, 0},                 {EUROPE, W20, 5865000, {UNMAPPED}, 15},
      // clang-format on
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Deduction::get_lookup(row.region).get_opclass(row.width, kHz(row.frequency), row.behaviors), row.opclass)
        << row.frequency << ' ' << row.width;
  }
}

TEST(OperatingClass, IsFoundFromAChannelInfo) {
  const auto classes = [](const ChannelInfo& info) { return Deduction::get_opclasses_from_channel_info(info, GLOBAL); };
  const auto info = [](long primary, long center, ChannelWidth width, long secondary = 0) {
    return ChannelInfo(frequency(primary, 7), segment(center, width, 7), kHz(secondary), {});
  };
  EXPECT_THAT(classes({frequency(5180000, 7), {}}), ElementsAre(115));
  EXPECT_THAT(classes(info(2437000, 2437000, W20)), ElementsAre(81));
  EXPECT_THAT(classes(info(5180000, 5190000, W40)), ElementsAre(116));
  EXPECT_THAT(classes(info(2437000, 2437000, W40)), ElementsAre(84));  // an impossible centre counts as upper
  EXPECT_THAT(classes(info(5180000, 6065000, W80)), ElementsAre(128));
  EXPECT_THAT(classes(info(5955000, 5985000, W8080, 6145000)), ElementsAre(133, 135));

  EXPECT_EQ(outcome_of([&] { return classes({}); }), "logic: Channel info has no primary frequency set");
  const std::string text = " segment of channel info primary frequency: 5180000 kHz (channel 36), segment info: ";
  EXPECT_THAT(outcome_of([&] { return classes(info(5180000, 5210000, NO_WIDTH)); }),
              StartsWith("logic: No mapping available for primary" + text));
  EXPECT_THAT(outcome_of([&] { return classes(info(5180000, 5210000, W8080, 5735000)); }),
              StartsWith("logic: No mapping available for secondary" + text));
}

TEST(OperatingClass, OfAChannelListFollowsFromItsCapabilities) {
  const ChannelEntry lower(36, kHz(5180000), Capabilities(0x0CF));  // all widths, lower
  const ChannelEntry neither(36, kHz(5180000), Capabilities(0x003));
  const ChannelEntry upper(11, kHz(2462000), Capabilities(0x102));  // 40 MHz only, upper
  const ChannelEntry none(36, kHz(5180000), Capabilities(0x1B0));   // no width
  const ChannelEntry off_grid(36, kHz(5181000), Capabilities(0x003));
  const auto classes = [](std::vector<ChannelEntry> entries, Deduction::Region region) {
    return Deduction::get_opclasses(ChannelList(std::move(entries)), region);
  };
  EXPECT_THAT(classes({lower, upper, none}, GLOBAL), ElementsAre(84, 115, 116, 128, 129, 130));
  EXPECT_THAT(classes({lower, upper, none}, EUROPE), ElementsAre(1, 5, 12, 128, 129, 130));
  EXPECT_THAT(classes({neither, off_grid}, GLOBAL), ElementsAre(115));
  EXPECT_TRUE(Deduction::opclass_deducible_from_channel(upper, GLOBAL));
  EXPECT_FALSE(Deduction::opclass_deducible_from_channel(none, GLOBAL) ||
               Deduction::opclass_deducible_from_channel(off_grid, GLOBAL));
}

TEST(OperatingClass, HasPrimaryFrequenciesForCapabilities) {
  const auto primaries = [](unsigned long capabilities, Deduction::Region region) {
    return Deduction::get_primary_frequencies_with_capabilities(Capabilities(capabilities), region);
  };
  EXPECT_THAT(primaries(0x1FE, GLOBAL), IsEmpty());
  // First 2.4 GHz, then the blocks of 5 GHz, last those of class 15, which needs a behaviour but no capability.
  EXPECT_EQ(primaries(0x001, EUROPE).size(), 13U + 4 + 4 + 11 + 6 + 12);
  const std::vector<kHz> of_40_mhz = primaries(0x083, GLOBAL);  // which includes those of 20 MHz
  EXPECT_EQ(of_40_mhz.size(), 14U + 4 + 4 + 12 + 8 + 59);
  EXPECT_TRUE(std::ranges::is_sorted(of_40_mhz));
}

TEST(OperatingClass, OfACustomTable) {
  const Lookup lookup{{9, kHz(5000000), MHz(40), {44, 36}, {}, {UNMAPPED, EIGHTY_PLUS}},
                      {7, kHz(2407000), MHz(25), {}, {6, 11}, {LOWER, UPPER}}};
  EXPECT_EQ(lookup.get_opclass(W40, kHz(5180000), {EIGHTY_PLUS, UNMAPPED}), 9);
  EXPECT_EQ(lookup.get_opclass(W20, kHz(2424501), {LOWER, UPPER}), 7);
  EXPECT_THAT(lookup.get_primary_frequencies_with_capabilities(Capabilities(0x003)), IsEmpty());
  EXPECT_THAT(lookup.get_primary_frequencies_with_capabilities(Capabilities(0x043)),
              ElementsAre(kHz(5180000), kHz(5220000)));
  EXPECT_EQ(outcome_of([&] { return lookup.get_segment_center_frequency(44, 9); }),
            "logic: Provided opclass 9 has no primary channel behavior definition!");
  const kHz highest(std::numeric_limits<long>::max());
  EXPECT_EQ((Lookup{{8, highest, MHz(20), {1}, {}, {}}}.get_opclass(W20, kHz(5000), {})), 0);
  std::ostringstream text;
  text << std::hex << std::showpos;
  lookup.print_lookup_table(text);
  EXPECT_EQ(text.str(), R"(Full lookup table:
Channel Width: 25 MHz
  Opclass: 7
    Channel List: [6, 11]
    Freq Ranges: [2424500 kHz - 2449500 kHz, 2449500 kHz - 2474500 kHz]
    Behavior: [PRIMARY_LOWER_BEHAVIOR, PRIMARY_UPPER_BEHAVIOR]
Channel Width: 40 MHz
  Opclass: 9
    Channel List: [44, 36]
    Freq Ranges: []
    Behavior: [UNMAPPED_BEHAVIOR, EIGHTY_PLUS_BEHAVIOR]
)");
}

TEST(OperatingClass, BehaviorsAreCapabilities) {
  const auto all = std::make_unique<std::vector<Deduction::Behavior>>(
      std::initializer_list<Deduction::Behavior>{UPPER, UNMAPPED, EIGHTY_PLUS, LOWER});
  EXPECT_EQ(Lookup::behaviors_to_channel_capabilities(all), Capabilities(0x1C0));
  EXPECT_EQ(Lookup::behaviors_to_channel_capabilities(nullptr), Capabilities());
  EXPECT_THAT(Lookup::behaviors_from_channel_capabilities(0x0BF), ElementsAre(LOWER));
  EXPECT_THAT(Lookup::behaviors_from_channel_capabilities(0x140), ElementsAre(EIGHTY_PLUS, UPPER));
}

TEST(OperatingClass, IsKnownForTwoRegionsAndValidWithItsOwnChannels) {
  EXPECT_EQ(enum_to_string(static_cast<Deduction::Behavior>(65537)), "65537");
  for (const int code : {0, 2, 4, 5, 7}) {
    EXPECT_EQ(outcome_of([&] { return Deduction::get_channel_frequency(1, 4, static_cast<Deduction::Region>(code)); }),
              code < 5 ? "invalid: Not implemented yet." : "invalid: Unknown region.");
  }
  EXPECT_TRUE(is_valid_global_operating_class_channelset(115, {48, 36}));
  EXPECT_FALSE(is_valid_global_operating_class_channelset(115, {36, 52}));
  EXPECT_FALSE(is_valid_global_operating_class_channelset(124, {}));
}

}  // namespace
}  // namespace qel
