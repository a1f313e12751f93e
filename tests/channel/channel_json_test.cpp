#include "qel/channel/channel_info.h"
#include "qel/channel/wlan_radio.h"
#include "qel/core/serialization/json_serializable_type.h"
#include "tests/support/streams.h"

namespace qel {
namespace {

template <class T>
std::string json(const T& value) {
  std::ostringstream os;
  serialization::YAJLStream stream(os, serialization::YAJLIndentation::COMPACT);
  serialization::SerializationContext context;
  serialization::JSONSerializableType<T>::serialize(stream, context, value);
  return os.str();
}

TEST(ChannelJson, OfAnInfo) {
  const LastChanged<kHz> primary(kHz(5180000), 1);
  const LastChanged<ChannelInfo::Segment> segment({kHz(5210000), ChannelWidth::WIDTH_80_80_MHZ}, 1);
  EXPECT_EQ(json(ChannelInfo(primary, segment, kHz(5530000), {17.9F, 1})),
            R"({"primary_freq":5180000,"primary_center":5210000,"channel_width":"80+80 MHz",)"
            R"("secondary_center":5530000,"max_power":17})");
  EXPECT_EQ(json(ChannelInfo()), R"({"primary_freq":null,"primary_center":null,"channel_width":null,)"
                                 R"("secondary_center":null,"max_power":null})");
}

TEST(ChannelJson, OfAListAndItsEntries) {
  const ChannelEntry unset(6, kHz(2437000), {});
  const ChannelEntry set(36, kHz(5180000), {}, {}, {2, 1}, {-3.9F, 1});
  EXPECT_EQ(json(ChannelList()), R"({"channels":[]})");
  EXPECT_EQ(json(ChannelList({set, unset})),
            R"({"channels":[{"channel":36,"frequency":5180000,"config_flags":2,"max_power":-3},)"
            R"({"channel":6,"frequency":2437000,"config_flags":null,"max_power":null}]})");

  using Limits = std::numeric_limits<float>;
  const std::pair<float, const char*> powers[] = {{Limits::quiet_NaN(), "null"},
                                                  {-Limits::infinity(), "null"},
                                                  {9223372036854775808.0F, "null"},
                                                  {9223371487098961920.0F, "9223371487098961920"}};
  for (const auto& [power, text] : powers) {
    EXPECT_EQ(json(ChannelEntry(6, kHz(2437000), {}, {}, {1, 1}, {power, 1})),
              std::string(R"({"channel":6,"frequency":2437000,"config_flags":1,"max_power":)") + text + "}");
  }
}

TEST(ChannelJson, OfARadio) {
  EXPECT_EQ(json(WLANRadio({{0x02, 0x51, 0x4C, 0xAB, 0xCD, 0xEF}, 5}, NSSTable(ChannelWidth::WIDTH_80_80_MHZ, 4),
                           NSSTable(ChannelWidth::WIDTH_40_MHZ, 3), 40, {})),
            R"({"radio_id":"02:51:4C:AB:CD:EF",)"
            R"("rx_nss_table":{"20 MHz":4,"40 MHz":4,"80 MHz":4,"160 MHz":4,"80+80 MHz":4},)"
            R"("tx_nss_table":{"20 MHz":3,"40 MHz":3,"80 MHz":0,"160 MHz":0,"80+80 MHz":0},)"
            R"("supported_phymodes":40,"channel_list":{"channels":[]}})");
  EXPECT_EQ(json(WLANRadio(WLANRadio::RadioID())).substr(0, 16), R"({"radio_id":null)");
}

}  // namespace
}  // namespace qel
