#include "tools/meshd/wifi/control_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "tools/meshd/wifi/association.h"

namespace meshd::wifi::control_text {
namespace {

using qel::ChannelWidth;
using qel::kHz;
using qel::MACAddress;
using ::testing::ElementsAre;

const MACAddress PHONE("02:00:00:00:02:00");

qel::ChannelInfo channel(long primary, ChannelWidth width, long center, long second = 0) {
  qel::ChannelInfo info(qel::LastChanged<kHz>(kHz(primary * 1000), 1), {});
  info.set_segment({{kHz(center * 1000), width}, 1}, kHz(second * 1000));
  return info;
}

TEST(WifiControlText, CommandsTellAllThatTheDaemonNeeds) {
  const BssStatus ac = bss_status_of("ieee80211n=1\nieee80211ac=1\nieee80211ax=0\nbeacon_int=50\nssid[0]=x\n");
  const MoveRequest move{
      MACAddress("02:00:00:00:00:00"), PHONE, {{MACAddress("02:00:00:00:01:00"), 81, 6}}, true, true, 120};
  const std::uint8_t request[] = {0x51, 0, 0xAB};
  const std::pair<std::string, std::string> rows[] = {
      {switch_command(channel(5200, ChannelWidth::WIDTH_20_MHZ, 5200), ac),
       "CHAN_SWITCH 5 5200 center_freq1=5200 bandwidth=20 ht vht"},
      {switch_command(channel(5200, ChannelWidth::WIDTH_40_MHZ, 5190), BssStatus()),
       "CHAN_SWITCH 5 5200 sec_channel_offset=-1 center_freq1=5190 bandwidth=40"},
      {switch_command(channel(5220, ChannelWidth::WIDTH_80_80_MHZ, 5210, 5775), ac),
       "CHAN_SWITCH 5 5220 sec_channel_offset=1 center_freq1=5210 center_freq2=5775 bandwidth=80 ht vht"},
      {move_command(move, ac, 7),
       "BSS_TM_REQ 02:00:00:00:02:00 dialog_token=7 disassoc_timer=3 neighbor=02:00:00:00:01:00,3,81,6,7,0301ff pref=1 "
       "abridged=1 disassoc_imminent=1"},
      {move_command({move.bssid, PHONE}, bss_status_of("beacon_int=0\n"), 1),
       "BSS_TM_REQ 02:00:00:00:02:00 dialog_token=1"},
      {beacon_command(PHONE, request), "REQ_BEACON 02:00:00:00:02:00 5100ab"},
      {scan_command(115, 36), "SCAN freq=5180"},
      {scan_command(128, 42), "SCAN freq=5180,5200,5220,5240"},
      {scan_command(81, 36), "SCAN"},
      {scan_command(255, 0), "SCAN"}};
  for (const auto& [command, expected] : rows) {
    EXPECT_EQ(command, expected);
  }
  EXPECT_THROW(switch_command({}, ac), std::invalid_argument);
}

TEST(WifiControlText, OnlyWholeEventsCount) {
  const auto joined = client_event_of("AP-STA-CONNECTED 02:00:00:00:02:00 keyid=1");
  ASSERT_TRUE(joined);
  EXPECT_TRUE(joined->has_joined && joined->client == PHONE);
  const auto moved = move_event_of(
      "BSS-TM-RESP 02:00:00:00:02:00 status_code=0 bss_termination_delay=0 target_bssid=02:00:00:00:01:00 neighbor=34");
  ASSERT_TRUE(moved);
  EXPECT_TRUE(moved->client == PHONE && moved->answer.status == 0 && !moved->token);
  EXPECT_EQ(moved->answer.target, MACAddress("02:00:00:00:01:00"));
  EXPECT_FALSE(move_event_of("BSS-TM-RESP 02:00:00:00:02:00 status_code=7 target_bssid=no")->answer.target);
  EXPECT_THAT(beacon_event_of("BEACON-RESP-RX 02:00:00:00:02:00 1 04 51zz")->report, ElementsAre(39, 4, 1, 4, 5, 0x51));
  EXPECT_TRUE(beacon_event_of("BEACON-REQ-TX-STATUS 02:00:00:00:02:00 1 ack=0")->is_lost);
  EXPECT_EQ(connection_of("CTRL-EVENT-CONNECTED - Connection to 02:00:00:00:02:00 completed [id=0 id_str=]"), PHONE);

  const std::string endless(300, '5');
  for (const std::string& text :
       {std::string(), std::string("\0 ", 2), std::string("AP-STA-CONNECTED"), std::string("AP-STA-CONNECTED 02:00:00"),
        std::string("AP-STA-CONNECTEDX 02:00:00:00:02:00"), std::string("BSS-TM-RESP 02:00:00:00:02:00"),
        std::string("BSS-TM-RESP 02:00:00:00:02:00 status_code=256"), std::string("BSS-TM-RESP status_code=0"),
        std::string("BEACON-RESP-RX 02:00:00:00:02:00 300 00 51"), std::string("BEACON-RESP-RX 02:00:00:00:02:00 1"),
        "BEACON-RESP-RX 02:00:00:00:02:00 1 00 " + endless + endless,
        std::string("CTRL-EVENT-CONNECTED - Connection to nothing")}) {
    EXPECT_FALSE(client_event_of(text) || move_event_of(text) || beacon_event_of(text) || connection_of(text)) << text;
  }
}

TEST(WifiControlText, AnAssociationRequestIsBuiltFromWhatHostapdReports) {
  const auto phone = association_of_client(
      "flags=[AUTHORIZED]\ncapability=0x1011\nlisten_interval=5\nsupported_rates=0c 12 18 24 30 48 60 6c 02\n"
      "rx_vht_mcs_map=aaaa\ntx_vht_mcs_map=fffa\nht_mcs_bitmask=ff000000000000000001\nsupp_op_classes=7351\n"
      "min_txpower=-1\nmax_txpower=23\nvht_caps_info=0x038004fa\nht_caps_info=0x107e\next_capab=04\n");
  ASSERT_TRUE(phone && phone->request);
  std::ostringstream digits;
  for (const unsigned int octet : phone->request->body("mesh", {})) {
    digits << std::hex << (octet >> 4) << (octet & 0xF);
  }
  EXPECT_EQ(digits.str(),
            "1110"
            "0500"
            "00046d657368"
            "01080c1218243048606c"
            "320102"
            "2102ff17"
            "3b027351"
            "2d1a7e1000ff00000000000000000100000000000000000000000000"
            "7f0104"
            "bf0cfa048003aaaa0000faff0000");
  const std::uint8_t kept[] = {0, 0};
  EXPECT_THAT(phone->request->body("mesh", kept), ElementsAre(0x11, 0x10, 5, 0, 0, 0));
  EXPECT_FALSE(association_of_client("flags=[AUTHORIZED]\n")->request);
}

}  // namespace
}  // namespace meshd::wifi::control_text
