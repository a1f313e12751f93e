#include "qel/ieee1905_1/backhaul_steering_tlvs.h"
#include "qel/ieee1905_1/beacon_metrics_tlvs.h"
#include "qel/ieee1905_1/client_association_control_tlv.h"
#include "qel/ieee1905_1/fragmenter.h"
#include "qel/ieee1905_1/service_tlvs.h"
#include "qel/ieee1905_1/steering_tlvs.h"
#include "qel/ieee1905_1/unassociated_sta_tlvs.h"
#include "tests/tools/meshd/agent/agent_fixture.h"

namespace meshd::test {
namespace {

using Texts = std::vector<std::string>;

/// Each text must contain all parts, which are separated by '|', of the line at its place.
void expect(const Texts& texts, const Texts& lines, const std::string& name) {
  ASSERT_EQ(texts.size(), lines.size()) << name << ::testing::PrintToString(texts);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    std::istringstream parts(lines[i]);
    for (std::string part; std::getline(parts, part, '|');) {
      EXPECT_THAT(texts[i], HasSubstr(part)) << name;
    }
  }
}

SteeringRequestTLV steering(bool is_mandate, const std::vector<MACAddress>& clients,
                            const std::vector<SteeringRequestTargetBSSID>& targets) {
  SteeringRequestTLV request(HOME_5);
  request.set_steering_mandated(is_mandate);
  request.set_steering_opertunity_window(5);
  for (const MACAddress& client : clients) {
    request.add_steering_sta_mac(client);
  }
  for (const SteeringRequestTargetBSSID& target : targets) {
    request.add_target_bssid(target);
  }
  return request;
}

ClientAssociationControlRequestTLV control(ClientAssociationControl what, const std::vector<MACAddress>& clients) {
  ClientAssociationControlRequestTLV request(HOME_5, what, 30);
  for (const MACAddress& client : clients) {
    request.add_sta_mac(client);
  }
  return request;
}

APChannelReportList channel_list() {
  APChannelReportList list(115);
  list.add_channel(36);
  return list;
}

UnassociatedSTALinkMetricsQueryTLV unassociated() {
  UnassociatedSTAChannel channel(36);
  channel.add_sta_mac(ANN);
  channel.add_sta_mac(CAT);
  UnassociatedSTALinkMetricsQueryTLV query(115);
  query.add_channel(channel);
  return query;
}

TEST_F(AgentFixture, CarriesOutOrdersAndSaysWhatCameOfThem) {
  air.state[0].backhaul = {UPLINK, "wlan2", FAR};
  air.on_asked_for_beacons = [](const MACAddress&, std::span<const std::uint8_t>) {
    return std::vector<std::vector<std::uint8_t>>{{39, 3, 1, 4, 5}, {39, 200, 1}, {}};  // refused, and nonsense
  };
  using enum MessageType;
  const SteeringRequestTargetBSSID far(FAR, 115, 44);
  const std::string ann = ANN.to_string();
  const std::string at_home = " at " + HOME_5.to_string();
  const std::string ack = "IEEE1905_ACK_MESSAGE";
  struct Row {
    std::string name;
    Message request;
    Texts sent;
    Texts acts;
  };
  std::vector<Row> rows;
  const auto row = [&](std::string name, MessageType type, auto tlv, Texts sent, Texts acts) {
    rows.push_back({std::move(name), make_message(type, static_cast<std::uint16_t>(rows.size()), std::move(tlv)),
                    std::move(sent), std::move(acts)});
  };
  row("mandate", CLIENT_STEERING_REQUEST_MESSAGE, steering(true, {ANN, CAT}, {far}),
      {ack + "|STA_NOT_ASSOCIATED_WITH_ANY_BSS_OPERATED_BY_AGENT STA MAC: " + CAT.to_string(),
       "BTM_REPORT|STAMAC: " + ann + "|BTM Status Code: 7"},
      {"ask " + ann + at_home + " to move to " + FAR.to_string() + " on 115/44"});
  row("a client that cannot be asked", CLIENT_STEERING_REQUEST_MESSAGE, steering(true, {BOB}, {far}), {ack},
      {"deny " + BOB.to_string() + at_home, "disconnect " + BOB.to_string() + " from " + HOME_5.to_string()});
  row("targets do not fit", CLIENT_STEERING_REQUEST_MESSAGE, steering(true, {ANN, CAT, BOB}, {far, far, far}),
      {ack, "BTM_REPORT"}, {"ask " + ann + at_home + " to move to " + FAR.to_string() + " on 115/44"});
  row("wildcard", CLIENT_STEERING_REQUEST_MESSAGE,
      steering(true, {}, {SteeringRequestTargetBSSID(SteeringRequestTargetBSSID::WILDCARD)}), {ack, "BTM_REPORT"},
      {"ask " + ann + at_home + " to move to " + HOME_2.to_string() + " on 81/1"});
  row("opportunity", CLIENT_STEERING_REQUEST_MESSAGE, steering(false, {ANN}, {}),
      {ack, "BTM_REPORT", "STEERING_COMPLETED"},
      {"ask " + ann + at_home + " to move to " + HOME_2.to_string() + " on 81/1"});
  row("opportunity for nobody", CLIENT_STEERING_REQUEST_MESSAGE, steering(false, {}, {}), {ack, "STEERING_COMPLETED"},
      {});
  row("block", CLIENT_ASSOCIATION_CONTROL_REQUEST_MESSAGE, control(ClientAssociationControl::BLOCK, {ANN, CAT}),
      {ack + "|STA_ASSOCIATED_WITH_BSS_OPERATED_BY_AGENT STA MAC: " + ann}, {"deny " + CAT.to_string() + at_home});
  row("unblock", CLIENT_ASSOCIATION_CONTROL_REQUEST_MESSAGE, control(ClientAssociationControl::UNBLOCK, {ANN, CAT}),
      {ack}, {"allow " + CAT.to_string() + at_home});
  row("beacons", BEACON_METRICS_QUERY_MESSAGE,
      BeaconMetricsQueryTLV(ANN, 115, 255, FAR, 1, {}, {channel_list()}, {0, 48}),
      {ack, "BEACON_METRICS_RESPONSE|" + ann},
      {"ask " + ann + " for beacons: 73 FF 00 00 32 00 01 02 19 05 B0 00 FF 02 01 01 0A 02 00 30 33 02 73 24"});
  row("beacons of nobody", BEACON_METRICS_QUERY_MESSAGE, BeaconMetricsQueryTLV(CAT, 115, 36, FAR, 0, {}, {}, {}),
      {ack + "|STA_NOT_ASSOCIATED_WITH_ANY_BSS_OPERATED_BY_AGENT STA MAC: " + CAT.to_string()}, {});
  row("clients of others", UNASSOCIATED_STA_LINK_METRICS_QUERY_MESSAGE, unassociated(),
      {ack + "|STA_ASSOCIATED_WITH_BSS_OPERATED_BY_AGENT STA MAC: " + ann,
       "UNASSOCIATED_STA_LINK_METRICS_RESPONSE|STA Reports: []"},
      {});
  row("backhaul", BACKHAUL_STEERING_REQUEST_MESSAGE, BackhaulSteeringRequestTLV(UPLINK, HOME_2, 115, 44),
      {ack, "BACKHAUL_STEERING_RESPONSE|SUCCESS"},
      {"move " + UPLINK.to_string() + " to " + HOME_2.to_string() + " on 115/44"});
  row("backhaul elsewhere", BACKHAUL_STEERING_REQUEST_MESSAGE, BackhaulSteeringRequestTLV(UPLINK, FAR, 81, 1),
      {ack, "BACKHAUL_STEERING_RESPONSE|FAILURE|REJECTED_CHANNEL"}, {});
  row("higher layer data", HIGHER_LAYER_DATA_MESSAGE,
      HigherLayerDataTLV(HigherLayerProtocol::TR181_TRANSPORT_PROTOCOL, {1}), {ack}, {});
  air.on_asked_to_move = [](const wifi::MoveRequest&) { return wifi::MoveAnswer{7, {}}; };
  for (const Row& each : rows) {
    expect(ask(each.request), each.sent, each.name);
    EXPECT_EQ(air.take_acts(), each.acts) << each.name;
  }
  EXPECT_THAT(notices, Contains(HasSubstr("higher layer data of protocol TR181_TRANSPORT_PROTOCOL")));
}

/// A request like "115:36=14 128=0": the class, its channel if only one is meant, and the score.
ChannelPreferenceTLV preferences(const MACAddress& radio, const std::string& text) {
  ChannelPreferenceTLV result(radio);
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    ChannelPreference preference;
    preference.set_operating_class(static_cast<std::uint8_t>(std::stoi(word)));
    if (const std::size_t colon = word.find(':'); colon != std::string::npos) {
      preference.add_channel(static_cast<std::uint8_t>(std::stoi(word.substr(colon + 1))));
    }
    preference.set_preference_score(static_cast<std::uint8_t>(std::stoi(word.substr(word.find('=') + 1))));
    result.add_channel_preference(preference);
  }
  return result;
}

TEST_F(AgentFixture, SelectsAChannelThatBothSidesAllow) {
  // All classes of the radio but one channel.
  const std::string no_20 = "115=0 118=0 121=0 ";
  const std::string no_40 = "116=0 117=0 119=0 120=0 122=0 123=0 ";
  const std::string no_80 = "128=0 ";
  const std::string only_58 = no_20 + no_40 + "128:42=0 128:106=0 128:122=0 ";
  struct Row {
    std::string name;
    std::string asked;
    std::string code;
    std::string target;  // of the switch; empty for none
    std::function<void(wifi::AirRadio&)> change = [](wifi::AirRadio&) {};
  };
  const auto with_backhaul = [](wifi::AirRadio& radio) { radio.backhaul = {UPLINK, "wlan2", FAR}; };
  for (long channel = 5260000; channel <= 5320000; channel += 20000) {
    air.set_dfs_state(FIVE, qel::kHz(channel), qel::ChannelStateBit::DFS_CLEAR);
  }
  wait(1s);
  for (const Row& row : std::vector<Row>{
           {"no opinion", "", "ACCEPT", ""},
           {"the same for all", "115=9 116=9 117=9 118=9 119=9 120=9 121=9 122=9 123=9 128=9", "ACCEPT", ""},
           {"as it is", no_40 + "118=0 121=0 128:58=0 128:106=0 128:122=0", "ACCEPT", ""},
           {"narrower", no_40 + no_80 + "118=0 121=0 115:40=0 115:44=0 115:48=0", "ACCEPT",
            "5180000 kHz at 20 MHz around 5180000 kHz"},
           {"wider scores decide", "115=14 116=13 117=13 118=1 119=1 120=1 121=1 122=1 123=1 128=12", "ACCEPT",
            "5180000 kHz at 20 MHz around 5180000 kHz"},
           {"narrower channels tell the primary one",
            "118=0 119=0 120=0 121=0 122=0 123=0 128:58=0 128:106=0 128:122=0 115:36=9 115:40=9 115:48=9 117=9 "
            "116:36=9",
            "ACCEPT", "5220000 kHz at 80 MHz around 5210000 kHz"},
           {"40 MHz above or below", no_20 + no_80 + "116=0 119=0 120=0 122=0 123=0 117:40=0", "ACCEPT",
            "5240000 kHz at 40 MHz around 5230000 kHz"},
           {"to be checked again", only_58, "DECLINE_VIOLATES_CHANGED_PREFERED", "",
            [&](wifi::AirRadio&) { air.set_dfs_state(FIVE, qel::kHz(5280000), qel::ChannelStateBit::PRECAC_TODO); }},
           {"checked", only_58, "ACCEPT", "5260000 kHz at 80 MHz around 5290000 kHz"},
           {"nothing at all", no_20 + no_40 + no_80, "DECLINE_VIOLATES_REPORTED_PREFERED", ""},
           {"radar since", only_58, "DECLINE_VIOLATES_CHANGED_PREFERED", "",
            [&](wifi::AirRadio&) { air.find_radar(FIVE, qel::kHz(5300000)); }},
           {"radar as reported", only_58, "DECLINE_VIOLATES_REPORTED_PREFERED", "",
            [&](wifi::AirRadio&) {
              air.find_radar(FIVE, qel::kHz(5300000));
              wait(1s);
            }},
           {"backhaul elsewhere", only_58, "DECLINE_BREAKS_BACKHAUL_LINK", "", with_backhaul},
           {"backhaul here", no_40 + no_80, "ACCEPT", "5180000 kHz at 20 MHz around 5180000 kHz", with_backhaul},
           {"classes of others", "81=0 200=3 115:99=4 128:36=0", "ACCEPT", ""},
       }) {
    const auto before = air.state;
    row.change(air.state[0]);
    static std::uint16_t id = 100;
    now += 60s;  // the guard has a limit
    const Texts sent =
        ask(make_message(MessageType::CHANNEL_SELECTION_REQUEST_MESSAGE, ++id, preferences(FIVE, row.asked)));
    ASSERT_GE(sent.size(), 1U) << row.name;
    EXPECT_THAT(sent[0], HasSubstr("Response Code: " + row.code + "\n")) << row.name;
    EXPECT_THAT(sent[1], HasSubstr("OPERATING_CHANNEL_REPORT")) << row.name;
    const Texts switches = row.target.empty() ? Texts{} : Texts{"switch " + FIVE.to_string() + " to " + row.target};
    EXPECT_EQ(air.take_acts(), switches) << row.name;
    air.state = before;
    air.changed();
    wait(1s);
  }
  expect(ask(make_message(MessageType::CHANNEL_SELECTION_REQUEST_MESSAGE, 99, preferences(CAT, "115=0"),
                          TransmitPowerLimitTLV(TWO, 12))),
         {"Radio Identifier: " + TWO.to_string() + " Response Code: ACCEPT|Radio Identifier: " + CAT.to_string() +
              " Response Code: DECLINE_VIOLATES_REPORTED_PREFERED",
          "OPERATING_CHANNEL_REPORT|" + TWO.to_string()},
         "unknown radio");
  EXPECT_EQ(air.take_acts(), Texts{"limit " + TWO.to_string() + " to 12 dBm"});
}

TEST_F(AgentFixture, ReportsRadarUnasked) {
  air.state[0].channel = wifi::simulated_channel(qel::kHz(5500000), qel::ChannelWidth::WIDTH_80_MHZ);
  air.changed();
  expect(wait(1s), {"OPERATING_CHANNEL_REPORT|OperatingClass: 128 on Channel: 106"}, "moved");
  acknowledges = false;  // so that both come again
  air.find_radar(FIVE, qel::kHz(5520000));
  const Texts reports{
      "CHANNEL_PREFERENCE_REPORT|Operating Class: 121 Channels: [ 104 ] Preference: 0 ReasonCode: "
      "OPERATION_DISALLOWED_RADAR_DFS_CHANNEL|Operating Class: 128 Channels: [ 106 ] Preference: 0",
      "OPERATING_CHANNEL_REPORT|OperatingClass: 115 on Channel: 36|" + FIVE.to_string()};
  expect(wait(1s), reports, "radar");
  expect(wait(2s), reports, "radar again");
  acknowledges = true;
  wait(60s);
  controller = CAT;
  expect(wait(1s),
         {"CHANNEL_PREFERENCE_REPORT|" + FIVE.to_string() + "|" + TWO.to_string(),
          "OPERATING_CHANNEL_REPORT|" + FIVE.to_string() + "|" + TWO.to_string()},
         "another controller");
}

TEST_F(AgentFixture, ObeysOnlyTheControllerAndOnlyOnce) {
  const auto block = make_message(MessageType::CLIENT_ASSOCIATION_CONTROL_REQUEST_MESSAGE, 77,
                                  control(ClientAssociationControl::BLOCK, {ANN, CAT}));
  expect(ask(block, CAT), {}, "from another device");
  air.state[0].channel = wifi::simulated_channel(qel::kHz(5500000), qel::ChannelWidth::WIDTH_80_MHZ);  // not operable
  ask(make_message(MessageType::CHANNEL_SELECTION_REQUEST_MESSAGE, 78), CAT);
  EXPECT_THAT(air.take_acts(), IsEmpty());
  const Texts first = ask(block);
  air.leave(ANN);
  EXPECT_EQ(ask(block), first) << "repeated";
  EXPECT_EQ(air.take_acts(), Texts{"deny " + CAT.to_string() + " at " + HOME_5.to_string()});

  // The time of the block is over, but at first hostapd does not listen.
  wait(29s);
  EXPECT_TRUE(air.is_denied(HOME_5, CAT));
  air.trouble = [](const std::string&) { return "no answer"; };
  wait(3s);
  EXPECT_TRUE(air.is_denied(HOME_5, CAT));
  air.trouble = nullptr;
  wait(5s);
  EXPECT_FALSE(air.is_denied(HOME_5, CAT));
}

TEST_F(AgentFixture, AnswersQueriesOfAnyone) {
  air.state[0].utilization = 50;
  wifi::Station& ann = air.state[0].bss[0].clients[0].station;
  ann.send_rate = wifi::Rate{.kilobits = 866'700};
  ann.sent_octets = 0x1'0000'0007U;
  ann.connected = 100'000s;
  air.state[0].bss[0].clients[0].association_request = {0x31, 0x04, 0x0A, 0x00, 0x00, 0x04, 'h', 'o', 'm', 'e'};
  air.state[1] = wifi::simulated_radio(TWO, {qel::FrequencyBand::BAND_2_4_GHZ, qel::FrequencyBand::BAND_5_GHZ},
                                       qel::ChannelWidth::WIDTH_40_MHZ);  // of both bands, and off
  air.state[1].bands[0].channels[12].no_initiation = true;
  APMetricQueryTLV both;
  both.add_bssid(HOME_5);
  both.add_bssid(FAR);
  using enum MessageType;
  const std::string unknown = "STA_NOT_ASSOCIATED_WITH_ANY_BSS_OPERATED_BY_AGENT STA MAC: " + CAT.to_string();
  struct Row {
    Message query;
    std::string answer;
  };
  std::vector<Row> rows;
  const auto row = [&](MessageType type, auto tlv, std::string answer) {
    rows.push_back({make_message(type, static_cast<std::uint16_t>(rows.size()), std::move(tlv)), std::move(answer)});
  };
  row(AP_CAPABILITY_QUERY_MESSAGE, EndOfMessageTLV(),
      "AP_CAPABILITY_REPORT|Operating Class: 118 Max tranmis power: 20 Non_Operable Channels: [ ]|"
      "Operating Class: 128 Max tranmis power: 26 Non_Operable Channels: [ 138 155 171 ]|"
      "RadioIdentifier: " +
          TWO.to_string() +
          " Max BSS suported: 8\n\tOperating Class: 81 Max tranmis power: 20 "
          "Non_Operable Channels: [ 13 ]|Operating Class: 83 Max tranmis power: 20 Non_Operable Channels: [ 9 ]|"
          "AP_HT_CAPABILITIES Radio Unique Identifier: " +
          TWO.to_string() + " TX spatial streams:2");
  row(BACKHAUL_STA_CAPABILITY_QUERY_MESSAGE, EndOfMessageTLV(), "BACKHAUL_STA_CAPABILITY_REPORT");
  row(CHANNEL_PREFERENCE_QUERY_MESSAGE, EndOfMessageTLV(), "CHANNEL_PREFERENCE_REPORT|DFS_CHANNEL_STATE_UNKNOWN");
  row(CHANNEL_SELECTION_REQUEST_MESSAGE, EndOfMessageTLV(), "CHANNEL_SELECTION_RESPONSE|ACCEPT");
  row(CLIENT_CAPABILITY_QUERY_MESSAGE, ClientInfoTLV(HOME_5, ANN), "SUCCESS|10 Byte");
  row(CLIENT_CAPABILITY_QUERY_MESSAGE, ClientInfoTLV(HOME_5, BOB), "FAILURE|UNSPECIFIED_FAILURE");
  row(CLIENT_CAPABILITY_QUERY_MESSAGE, ClientInfoTLV(HOME_5, CAT), "FAILURE|" + unknown);
  row(AP_METRICS_QUERY_MESSAGE, both,
      "AP_METRICS BSSID: " + HOME_5.to_string() + " Channel Utilization: 128 Number of associated STAs: 2");
  row(ASSOCIATED_STA_LINK_METRICS_QUERY_MESSAGE, STAMACAddressTLV(ANN),
      "Estimated Downlink: 866 Estimated Uplink: 0 Uplink RCPI: 120");
  row(ASSOCIATED_STA_LINK_METRICS_QUERY_MESSAGE, STAMACAddressTLV(CAT), "Associated BSSs: []|" + unknown);
  for (const Row& each : rows) {
    expect(ask(each.query, CAT), {each.answer}, each.answer);
  }
  MessageBuilder response(TOPOLOGY_RESPONSE_MESSAGE);
  agent.add_to_topology_response(response);
  std::ostringstream text;
  text << response.build();
  expect({text.str()},
         {"MULTI_AP_AGENT|" + HOME_5.to_string() + " SSID: \"home|MAC: " + ANN.to_string() +
          " time since last association: 65535"},
         "topology");

  for (std::uint16_t i = 0; i < 300; ++i) {
    air.state[0].bss[0].clients.push_back(wifi::simulated_client(
        MACAddress({2, 0, 0, 0, static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)})));
  }
  MessageBuilder crowded(TOPOLOGY_RESPONSE_MESSAGE);
  agent.add_to_topology_response(crowded);
  qel::serialization::SerializationContext context;
  EXPECT_NO_THROW(Fragmenter().split(crowded.build(), context));
}

TEST_F(AgentFixture, FollowsThePolicy) {
  MetricReportingRadioPolicy of_radio(FIVE);
  of_radio.set_rcpi_threshold(80);      // -70 dBm
  of_radio.set_hysteresis_override(2);  // dB
  of_radio.set_reporting_threshold(128);
  of_radio.set_statistics(true);
  MetricReportingPolicyTLV reporting(10);
  reporting.add_radio_policy(of_radio);
  SteeringPolicyTLV policy;
  policy.add_local_steering_disallowed_sta(CAT);
  policy.add_btm_steering_disallowed_sta(BOB);
  policy.add_radio_policy(SteeringRadioPolicy(FIVE, SteeringPolicyType::AGENT_INITIATED_STEERING_DISALLOWED, 0, 85));
  expect(ask(make_message(MessageType::MULTI_AP_POLICY_CONFIG_REQUEST_MESSAGE, 1, reporting, policy)), {"IEEE1905_ACK"},
         "policy");

  const auto link_of = [](const MACAddress& client) {
    return "ASSOCIATED_STA_LINK_METRICS_RESPONSE|" + client.to_string();
  };
  std::optional<std::int8_t>& signal = air.state[0].bss[0].clients[0].station.signal;
  struct Step {
    std::int8_t signal;  // of Ann
    std::uint8_t utilization;
    Texts sent;
  };
  for (const Step& step :
       std::vector<Step>{{-50, 0, {link_of(BOB)}},  // who was weak from the beginning
                         {-71, 51, {}},             // within the margins
                         {-73, 53, {link_of(ANN), "AP_METRICS_RESPONSE|BSSID: " + HOME_5.to_string()}},
                         {-69, 49, {}},
                         {-67, 45, {link_of(ANN), "AP_METRICS_RESPONSE|Channel Utilization: 115"}}}) {
    signal = step.signal;
    air.state[0].utilization = step.utilization;
    expect(wait(1s), step.sent, "signal " + std::to_string(step.signal));
  }
  expect(wait(5s),
         {"AP_METRICS_RESPONSE|" + HOME_5.to_string() + "|TRAFFIC_STATS STAMAC: " + BOB.to_string() + "|" +
          HOME_2.to_string()},
         "interval");
  expect(wait(10s), {"AP_METRICS_RESPONSE"}, "next interval");

  // An opportunity is for those below the threshold, and nobody else.
  ask(make_message(MessageType::CLIENT_STEERING_REQUEST_MESSAGE, 2, steering(false, {ANN, BOB}, {})));
  EXPECT_THAT(air.take_acts(), IsEmpty());
  signal = -69;  // RCPI 82
  ask(make_message(MessageType::CLIENT_STEERING_REQUEST_MESSAGE, 3, steering(false, {}, {})));
  EXPECT_THAT(air.take_acts(), SizeIs(1));
}

TEST_F(AgentFixture, TellsTheMeshWhichClientsComeAndGo) {
  for (std::uint8_t i = 0; i < 100; ++i) {
    air.join(HOME_2, wifi::simulated_client(MACAddress({2, 0, 0, 0, 1, i})));
  }
  air.leave(MACAddress({2, 0, 0, 0, 1, 99}));  // whose joining has not been told yet
  const std::size_t at_once = mesh.sent_to_all.size();
  EXPECT_LT(at_once, 100U);
  wait(5s);
  ASSERT_EQ(mesh.sent_to_all.size(), 100U);
  const auto* event = mesh.sent_to_all.back().find<ClientAssociationEventTLV>();
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(*event, ClientAssociationEventTLV(MACAddress({2, 0, 0, 0, 1, 99}), HOME_2, false));
  EXPECT_EQ(mesh.sent_to_all.back().find<ALMACAddressTLV>()->get_MAC(), SELF);
}

}  // namespace
}  // namespace meshd::test
