#include "qel/channel/data_rate_calculator.h"
#include "qel/channel/wlan_radio.h"
#include "qel/core/text.h"
#include "tests/channel/channels.h"
#include "tests/support/fields.h"

namespace qel {
namespace {

template <class Strategy>
bool takes(DynamicValue<float, Strategy> stored, const DynamicValue<float, Strategy>& offered) {
  const bool expected = stored.can_update_from(offered);
  const auto time = (expected ? offered : stored).get_timestamp();
  EXPECT_EQ(stored.update(offered), expected);
  EXPECT_EQ(stored.get_timestamp(), time);
  return expected;
}

// Further cases, and the comparison of values, are in the tests of the classes that contain them.
TEST(DynamicValue, IsTakenByItsStrategy) {
  EXPECT_FALSE(takes<LastChangedStrategy>({}, {1, -5}));
  EXPECT_FALSE(takes<LastChangedStrategy>({1, -5}, {}));
  EXPECT_FALSE(takes<LastChangedStrategy>({1, 5}, {1, 6}));
  EXPECT_TRUE(takes<LastUpdatedStrategy>({1, 5}, {1, 6}));
  EXPECT_FALSE(takes<LastUpdatedStrategy>({1, 5}, {2, 5}));
  EXPECT_TRUE(takes<SetOnceStrategy>({}, {1, 5}));
  EXPECT_FALSE(takes<SetOnceStrategy>({1, 5}, {2, 6}));
}

TEST(DynamicValue, IsSetNowOrNotAtAll) {
  using Value = LastChanged<float>;
  const auto before = Value::now();
  Value value(0);
  EXPECT_GE(value.get_timestamp(), before);
  EXPECT_LE(value.get_timestamp(), Value::now());
  EXPECT_FALSE(value.equivalent_to(Value()));
  value.reset();
  EXPECT_THROW(value.get(), std::logic_error);
  EXPECT_TRUE(value == Value(3, 0) && value.equivalent_to(Value(NOT_A_NUMBER, 0)));
}

constexpr std::int64_t MS = 1000000;
constexpr std::int64_t UNKNOWN = -1;

std::int64_t rate(const DataRateCalculator& calculator) {
  return calculator.get_data_rate().is_set() ? std::int64_t{calculator.get_data_rate().get().value()} : UNKNOWN;
}

TEST(DataRateCalculator, DividesBytesByWholeMilliseconds) {
  const struct {
    unsigned long long before, after;
    std::int64_t nanoseconds, rate;
  } rows[] = {
      {7000, 8000, 500 * MS, 2000},
      {7000, 8000, MS - 1, 0},
      {7000, 8000, 2 * MS - 1, 1000000},
      {18446744073709551606U, 5, 1000 * MS, 14},  // wrapped: one less than the difference
      {7000, 6999, 1000 * MS, 4294967295},
      {0, 4294967294, 1000 * MS, 4294967294},
      {0, 4294967296, 1000 * MS, 4294967295},
      {0, 1ULL << 61U, MS, 4294967295},  // the product with 1000 is 0 in 64 bits
  };
  for (const auto& row : rows) {
    DataRateCalculator calculator;
    calculator.update(ByteCounter(row.before, 5 * MS));
    const DataRate::Timestamp begin = DataRate::now();
    calculator.update(ByteCounter(row.after, 5 * MS + row.nanoseconds));
    EXPECT_EQ(rate(calculator), row.rate) << row.before << " to " << row.after << " in " << row.nanoseconds;
    EXPECT_GE(calculator.get_data_rate().get_timestamp(), begin);
  }
}

TEST(DataRateCalculator, MeasuresFromReadingToReading) {
  const struct {
    ByteCounter counter;
    std::int64_t rate;
  } rows[] = {
      {{1000, 10 * MS}, UNKNOWN}, {{3000, 20 * MS}, 200000},
      {{9000, 20 * MS}, 0},  // not later, so ignored; the next is measured from the one kept
      {{3300, 30 * MS}, 30000},   {{}, UNKNOWN},
      {{5000, 40 * MS}, UNKNOWN}, {{5100, 60 * MS}, 5000},
  };
  DataRateCalculator calculator;
  for (const auto& row : rows) {
    calculator.update(row.counter);
    EXPECT_EQ(rate(calculator), row.rate) << row.counter.get_timestamp();
  }
  calculator.reset();
  calculator.calculate_data_rate();
  EXPECT_EQ(rate(calculator), UNKNOWN);
}

using enum ChannelWidth;
using RadioID = WLANRadio::RadioID;

/// Returns 4, 2, 3, 0, 0 after one change.
NSSTable updated(ChannelWidth width, unsigned char streams, bool fill_narrower, bool force) {
  NSSTable table(WIDTH_80_MHZ, 3);
  table.update_num_streams(WIDTH_40_MHZ, 2, false, true);
  table.update_num_streams(WIDTH_20_MHZ, 4, false, false);
  table.update_num_streams(width, streams, fill_narrower, force);
  return table;
}

TEST(NSSTable, HoldsACountForEachWidth) {
  const NSSTable left = updated(WIDTH_160_MHZ, 3, false, false);
  NSSTable cleared = left;
  cleared.clear();
  const NSSTable right = updated(WIDTH_40_MHZ, 5, false, false);
  const std::pair<NSSTable, const char*> rows[] = {
      {NSSTable(), "1 0 0 0 0 widest 0 most 1"},
      {cleared, "1 0 0 0 0 widest 0 most 1"},
      {NSSTable(WIDTH_40_MHZ, 0), "1 0 0 0 0 widest 0 most 1"},
      {NSSTable(WIDTH_80_MHZ, 2), "2 2 2 0 0 widest 2 most 2"},
      {NSSTable(WIDTH_80_80_MHZ, 2), "2 2 2 2 2 widest 4 most 2"},
      {updated(WIDTH_40_MHZ, 1, false, false), "4 2 3 0 0 widest 2 most 4"},
      {updated(WIDTH_40_MHZ, 1, false, true), "4 1 3 0 0 widest 2 most 4"},
      {updated(WIDTH_80_MHZ, 3, true, false), "4 3 3 0 0 widest 2 most 4"},
      {updated(WIDTH_160_MHZ, 0, true, true), "1 0 0 0 0 widest 0 most 1"},
      {left.intersect(right), "4 2 3 0 0 widest 2 most 4"},
      {left.merge(right), "4 5 3 3 0 widest 3 most 5"},
  };
  for (const auto& [table, expected] : rows) {
    std::string text;
    for (int width = 0; width < 5; ++width) {
      text += std::to_string(table.get_num_streams(static_cast<ChannelWidth>(width))) + ' ';
    }
    EXPECT_EQ(text + "widest " + std::to_string(static_cast<int>(table.get_max_channel_width())) + " most " +
                  std::to_string(table.get_max_streams()),
              expected);
  }
  EXPECT_TRUE(left < right && !(right < left) && !(left < left) && left != right);
  EXPECT_THROW(NSSTable(INVALID, 2), std::out_of_range);
  EXPECT_THROW(updated(static_cast<ChannelWidth>(255), 2, true, true), std::out_of_range);
  std::ostringstream os;
  os << std::hex << NSSTable(WIDTH_80_MHZ, 12);
  EXPECT_EQ(os.str(), "20 MHz: 12, 40 MHz: 12, 80 MHz: 12, 160 MHz: 0, 80+80 MHz: 0");
}

RadioID radio_id(std::uint8_t last, RadioID::Timestamp timestamp = 5) {
  return {{0x02, 0x51, 0x4C, 0xAB, 0xCD, last}, timestamp};
}

ChannelList channels(RadioID::Timestamp power_timestamp = 0, bool with_second = false) {
  std::vector<ChannelEntry> entries{{36, kHz(5180000), 2, {}, {}, {17.5F, power_timestamp}}};
  if (with_second) {
    entries.emplace_back(40, kHz(5200000), 2);
  }
  return ChannelList(entries);
}

TEST(WLANRadio, TakesWhatIsNew) {
  const NSSTable rx(WIDTH_80_MHZ, 2);
  const NSSTable tx(WIDTH_40_MHZ, 3);
  const WLANRadio radio(radio_id(0xEF), rx, tx, 40, channels());
  const NSSTable wide(WIDTH_160_MHZ, 1);
  const struct {
    const char* name;
    WLANRadio offered, updated;
  } rows[] = {
      {"itself", radio, radio},
      {"less", {{}, NSSTable(WIDTH_40_MHZ, 1), NSSTable(WIDTH_20_MHZ, 3), 8, {}}, radio},
      {"a later identifier", WLANRadio(radio_id(0x12, 9)), radio},
      {"to receive", {{}, wide, {}, 0, {}}, {radio_id(0xEF), rx.merge(wide), tx, 40, channels()}},
      {"to send", {{}, {}, wide, 0, {}}, {radio_id(0xEF), rx, tx.merge(wide), 40, channels()}},
      {"a mode", {{}, {}, {}, 24, {}}, {radio_id(0xEF), rx, tx, 56, channels()}},
      {"a channel", {{}, {}, {}, 0, channels(0, true)}, {radio_id(0xEF), rx, tx, 40, channels(0, true)}},
      {"a power", {{}, {}, {}, 0, channels(9)}, {radio_id(0xEF), rx, tx, 40, channels(9)}},
  };
  for (const auto& row : rows) {
    WLANRadio updated = radio;
    updated.update(row.offered);
    EXPECT_EQ(updated, row.updated) << row.name;
    EXPECT_EQ(radio.can_update_from(row.offered), !(row.updated == radio)) << row.name;
    EXPECT_EQ(radio.equivalent_to(row.updated), row.updated == radio) << row.name;
  }
  WLANRadio nameless{RadioID()};
  EXPECT_TRUE(nameless.can_update_from(WLANRadio(radio_id(0xEF))));
  EXPECT_TRUE(nameless < radio && !(radio < nameless) && WLANRadio(radio_id(0xED, 9)) < radio);
  EXPECT_FALSE(nameless.shares_channel_with(radio));
  nameless.set_channel_list(channels(9, true));
  EXPECT_TRUE(nameless.shares_channel_with(radio));

  const WLANRadio later(radio_id(0xEF, 6), rx, tx, 40, channels());
  EXPECT_TRUE(radio != later && radio.equivalent_to(later) && !(radio < later));
}

TEST(WLANRadio, HasFields) {
  const NSSTable rx(WIDTH_80_MHZ, 2);
  const NSSTable tx(WIDTH_40_MHZ, 3);
  const WLANRadio radio = test::fields_from(
      [] { return WLANRadio(radio_id(0xEF)); }, WLANRadio(radio_id(0xEF), rx, tx, 40, channels()), FIELD(rx_nss_table),
      rx, FIELD(tx_nss_table), tx, FIELD(supported_phymodes), 40U, FIELD(channel_list), channels());
  EXPECT_EQ(radio.get_radio_id(), radio_id(0xEF));
}

TEST(WLANRadio, HasADebugTextAndJson) {
  EXPECT_EQ(to_string(WLANRadio(radio_id(0xEF), NSSTable(WIDTH_80_MHZ, 4), {}, 40, channels())),
            "radio identifier: 02:51:4C:AB:CD:EF, "
            "rx NSS: [20 MHz: 4, 40 MHz: 4, 80 MHz: 4, 160 MHz: 0, 80+80 MHz: 0], "
            "tx NSS: [20 MHz: 1, 40 MHz: 0, 80 MHz: 0, 160 MHz: 0, 80+80 MHz: 0], phymodes: n ax, channels:\n" +
                to_string(channels()));
  EXPECT_THAT(to_string(WLANRadio(RadioID())), StartsWith("radio identifier: ---, rx N"));
  EXPECT_EQ(json(WLANRadio(radio_id(0xEF), NSSTable(WIDTH_80_80_MHZ, 4), NSSTable(WIDTH_40_MHZ, 3), 40, {})),
            R"({"radio_id":"02:51:4C:AB:CD:EF",)"
            R"("rx_nss_table":{"20 MHz":4,"40 MHz":4,"80 MHz":4,"160 MHz":4,"80+80 MHz":4},)"
            R"("tx_nss_table":{"20 MHz":3,"40 MHz":3,"80 MHz":0,"160 MHz":0,"80+80 MHz":0},)"
            R"("supported_phymodes":40,"channel_list":{"channels":[]}})");
  EXPECT_THAT(json(WLANRadio(RadioID())), StartsWith(R"({"radio_id":null)"));
}

}  // namespace
}  // namespace qel
