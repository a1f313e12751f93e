#include <dlfcn.h>
#include <yajl/yajl_gen.h>

#include "qel/channel/channel_info.h"
#include "qel/channel/wlan_radio.h"
#include "qel/core/serialization/json_serializable_type.h"
#include "tests/support/streams.h"

static int nulls_until_failure = -1;  // negative: never fails

extern "C" [[gnu::visibility("default")]] yajl_gen_status yajl_gen_null(yajl_gen generator) {
  if (nulls_until_failure >= 0 && nulls_until_failure-- == 0) {
    return yajl_gen_in_error_state;
  }
  return reinterpret_cast<decltype(&yajl_gen_null)>(dlsym(RTLD_NEXT, "yajl_gen_null"))(generator);
}

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

template <class T>
std::string failure_of_null(int index, const T& value) {
  nulls_until_failure = index;
  const std::string text = test::refusal([&] { json(value); });
  nulls_until_failure = -1;
  return text;
}

TEST(ChannelJson, OfAnInfo) {
  const LastChanged<kHz> primary(kHz(5180000), 1);
  const LastChanged<ChannelInfo::Segment> segment({kHz(5210000), ChannelWidth::WIDTH_80_80_MHZ}, 1);
  EXPECT_EQ(json(ChannelInfo(primary, segment, kHz(5530000), {17.9F, 1})),
            R"({"primary_freq":5180000,"primary_center":5210000,"channel_width":"80+80 MHz",)"
            R"("secondary_center":5530000,"max_power":17})");
  EXPECT_EQ(json(ChannelInfo()), R"({"primary_freq":null,"primary_center":null,"channel_width":null,)"
                                 R"("secondary_center":null,"max_power":null})");

  int index = 0;
  for (const char* const key : {"primary_freq", "primary_center", "channel_width", "secondary_center", "max_power"}) {
    EXPECT_EQ(failure_of_null(index++, ChannelInfo()),
              std::string("Serialization of ChannelInfo failed: Failed to write null for ") + key + ".");
  }
}

TEST(ChannelJson, OfAListAndItsEntries) {
  const ChannelEntry unset(6, kHz(2437000), {});
  const ChannelEntry set(36, kHz(5180000), {}, {}, {2, 1}, {-3.9F, 1});
  EXPECT_EQ(json(ChannelList()), R"({"channels":[]})");
  EXPECT_EQ(json(ChannelList({set, unset})),
            R"({"channels":[{"channel":36,"frequency":5180000,"config_flags":2,"max_power":-3},)"
            R"({"channel":6,"frequency":2437000,"config_flags":null,"max_power":null}]})");
  const std::string refused = "Serialization of ChannelEntry failed: Failed to write null for ";
  EXPECT_EQ(failure_of_null(0, unset), refused + "config_flags");
  EXPECT_EQ(failure_of_null(1, unset), refused + "max_power");

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
