#include "qel/channel/channel_validity.h"

#include "qel/channel/data_rate_calculator.h"
#include "qel/core/fixed_byte_buffer.h"
#include "qel/core/text.h"
#include "tests/channel/channels.h"
#include "tests/daemon/fixture.h"

namespace qel {
namespace {

constexpr const char* NO_CLASS = "Channel Entry does not belong to any operating class";

class Validity : public FakePlatformTest {
 protected:
  /// Expects nothing to be logged for a valid value, and the text as an error for an invalid one.
  template <class T>
  static void expect(const T& value, const std::string& wrong) {
    SCOPED_TRACE(testing::Message() << value);
    fake_platform::take_calls();
    EXPECT_EQ(is_valid(value), wrong.empty());
    using Calls = std::vector<std::string>;
    EXPECT_EQ(fake_platform::take_calls(),
              wrong.empty() ? Calls() : Calls{"errmsg(%s: %s, type_validator: " + wrong + ")"});
  }
};

ChannelEntry entry(unsigned char channel, long frequency) { return ChannelEntry(channel, kHz(frequency), 1); }

TEST_F(Validity, OfChannelAndFrequency) {
  const auto expect_all = [](const std::vector<std::pair<unsigned char, long>>& rows, const std::string& wrong) {
    for (const auto& [channel, frequency] : rows) {
      const std::string pair = to_string(kHz(frequency)) + " and " + std::to_string(channel);
      expect(entry(channel, frequency), wrong + (wrong.ends_with(':') ? pair : ""));
    }
  };
  expect_all({{1, 2412000}, {14, 2484000}, {36, 5180000}, {1, 5955000}, {233, 7115000}}, "");
  expect_all({{187, 5935000}}, "");  // in operating class 136, whose numbers are on the 5 GHz grid
  expect_all({{2, 5935000}, {40, 5180000}, {14, 2485000}, {0, 0}, {119, 3002000}, {200, 6000000}, {235, 7125000}},
             "Frequency value and channel index does not seem to match:");
  expect_all({{0, 2407000}, {118, 2997000}, {198, 5990000}}, NO_CLASS);
  expect_all({{36, 5180999}}, NO_CLASS);  // 5180 in whole MHz
}

TEST_F(Validity, OfAnEntrysValues) {
  const struct {
    const char* capabilities;
    const char* state;
    unsigned char utilization, anpi;
    const char* wrong;
  } rows[] = {
      {"000000001", "11001", 100, 220, ""},
      // Checked in this order.
      {"000000000", "01111", 101, 221, "HW Flags invalid: All zero"},
      {"000010000", "00011", 101, 221, "ChannelStateBits contradictory (00011)"},
      {"000010000", "01100", 101, 221, "ChannelStateBits contradictory (01100)"},
      {"000010000", "00000", 101, 221, "Invalid channel utilization channel entry"},
      {"000010000", "00000", 100, 221, "Invalid ANPI in channel entry"},
      {"000010000", "00000", 100, 220, NO_CLASS},
  };
  for (const auto& row : rows) {
    const LastChanged<std::bitset<5>> state(std::bitset<5>(row.state), 1);
    expect(ChannelEntry(36, kHz(5180000), std::bitset<9>(row.capabilities), state, {}, {}, {}, {row.anpi, 1},
                        {row.utilization, 1}),
           row.wrong);
  }
}

TEST_F(Validity, OfAList) {
  expect(ChannelList(), "");
  expect(ChannelList({entry(36, 5180000), entry(100, 5500000)}), "");
  expect(ChannelList({entry(36, 5180000), entry(32, 5160000)}), NO_CLASS);
  expect(ChannelList({entry(36, 5180000), entry(1, 2412000)}), "Channel list covers multiple frequency bands");
}

TEST_F(Validity, OfAnInfo) {
  const struct {
    LastChanged<kHz> primary;
    LastChanged<ChannelInfo::Segment> segment;
    long secondary;
    const char* wrong;
  } rows[] = {
      {{}, {}, 0, ""},
      {frequency(5240000, 1), segment(5210000, W80, 1), 0, ""},
      {frequency(5180000, 1), segment(5210000, W8080, 1), 5530000, ""},
      {frequency(5400000, 1), segment(0, W80, 1), 0, "primary frequency is invalid:5400000 kHz"},
      {{}, segment(5400000, ChannelWidth(9), 1), 0, "primary segment is invalid:5400000 kHz"},
      {{}, segment(5210000, ChannelWidth(9), 1), 0, "channel width is invalid:INVALID CHANNEL WIDTH 9"},
      {frequency(5200000, 1), segment(5180000, W20, 1), 7, "primary segment is invalid:[5170000 kHz - 5190000 kHz]"},
      {{}, segment(5210000, W8080, 1), 0, "secondary segment is invalid:0 kHz"},
      {{}, segment(5210000, W8080, 1), 5180000, "secondary segment is invalid:5180000 kHz"},
      {{}, segment(5210000, W80, 1), 5530000, "secondary segment is invalid:5530000 kHz"},
      {{}, {}, 5530000, "secondary segment is invalid:5530000 kHz"},
  };
  for (const auto& row : rows) {
    expect(ChannelInfo(row.primary, row.segment, kHz(row.secondary), {}), row.wrong);
  }
}

TEST(CompoundValidity, OfSetsBuffersAndRates) {
  EXPECT_TRUE(is_valid(std::bitset<6>("000001")));
  EXPECT_FALSE(is_valid(std::bitset<6>("000000")));
  EXPECT_TRUE(is_valid(std::bitset<32>(0xEFFFFFFF)));
  EXPECT_FALSE(is_valid(std::bitset<32>(0x10000000)));
  EXPECT_TRUE(is_valid(FixedByteBuffer<3>(std::array<std::uint8_t, 1>{})));
  EXPECT_FALSE(is_valid(FixedByteBuffer<3>()));
  EXPECT_TRUE(is_valid(std::pair<DataRate, DataRate>()));
}

}  // namespace
}  // namespace qel
