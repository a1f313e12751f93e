#include "tools/meshd/controller/controller.h"

#include <stdexcept>

#include "qel/ieee1905_1/beacon_metrics_tlvs.h"
#include "qel/ieee1905_1/channel_preference_conversion.h"
#include "qel/ieee1905_1/client_association_control_tlv.h"
#include "qel/ieee1905_1/steering_tlvs.h"
#include "tests/support/testing.h"
#include "tests/tools/meshd/controller/scripted_mesh.h"
#include "tools/meshd/controller/channels.h"
#include "tools/meshd/controller/plan_words.h"

namespace meshd::controller {
namespace {

using namespace qel::ieee1905_1;
using enum MessageType;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::StartsWith;

constexpr auto agent = ScriptedMesh::agent;
constexpr auto radio = ScriptedMesh::radio;
constexpr auto bss = ScriptedMesh::bss;
constexpr auto client = ScriptedMesh::client;

/// The answer of an agent that has client 1 and is to block it.
void has_client(const test::CarriedMessage& asked, std::vector<Message>& out) {
  out.push_back(make_message(IEEE1905_ACK_MESSAGE, asked.id(),
                             ErrorCodeTLV(ErrorReasonCode::STA_ASSOCIATED_WITH_BSS_OPERATED_BY_AGENT, client(1))));
}

/// Two agents, each known in full; client 1 is at the first, client 2 at the second.
struct ControllerTest : testing::Test {
  ControllerTest() {
    mesh.clients_of = {{1, {{client(1), 300}}}, {2, {{client(2), 70}}}};
    mesh.appear(1);
    mesh.appear(2);
    mesh.report_channel(1);
    mesh.report_channel(2);
    mesh.asked.clear();
  }

  const MeshModel& model() const { return mesh.controller->model(); }
  std::string place_of(const qel::MACAddress& mac) const {
    const auto place = model().find_client(mac);
    return place.client == nullptr ? "" : place.bssid->to_string();
  }
  OnResult keep() {
    return [this](const Result& result) {
      results.push_back((result.is_success ? "+ " : "- ") + result.text + " / " + seconds_text(result.took));
    };
  }

  ScriptedMesh mesh;
  std::vector<std::string> results;
};

TEST_F(ControllerTest, LearnsAgentsAndIsWholeAgainAfterItsOwnRestart) {
  const TimePoint joined_at = mesh.now - seconds(300);
  for (int start = 0; start < 2; ++start) {
    ASSERT_EQ(model().agents.size(), 2U);
    const AgentModel& one = model().agents.at(agent(1));
    EXPECT_EQ(one.state, AgentState::JOINED);
    const RadioModel& its = one.radios.at(radio(1));
    EXPECT_TRUE(its.capabilities && its.preferences);
    EXPECT_EQ(operating_channel(its.channel->value),
              (PrimaryChannel{qel::kHz(5180000), qel::ChannelWidth::WIDTH_80_MHZ}));
    EXPECT_EQ(its.bss.at(bss(1)).utilization->value, 51);
    EXPECT_EQ(its.bss.at(bss(1)).clients.at(client(1)).joined_at, joined_at);
    mesh.controller = std::make_unique<Controller>(mesh.mesh, Config{});
    for (std::uint8_t number = 1; number <= 2; ++number) {
      MessageBuilder found(TOPOLOGY_RESPONSE_MESSAGE);
      mesh.add_topology(found, number);
      mesh.say(number, found.build());
    }
    mesh.answers[CHANNEL_SELECTION_REQUEST_MESSAGE] = [](auto&&...) {};  // what matters is that it is asked
    mesh.asked.clear();
    mesh.wait(seconds(16));
    EXPECT_EQ(mesh.sent(CHANNEL_SELECTION_REQUEST_MESSAGE).size() % 2, 0U);
    EXPECT_FALSE(mesh.sent(CHANNEL_SELECTION_REQUEST_MESSAGE).empty()) << "nobody reported the channels";
    mesh.report_channel(1);
    mesh.report_channel(2);
  }
}

TEST_F(ControllerTest, FollowsClientsAndBelievesAgentsOnlyAboutThemselves) {
  mesh.join(1, 2);
  EXPECT_EQ(place_of(client(1)), bss(2).to_string());
  EXPECT_EQ(mesh.sent(CLIENT_CAPABILITY_QUERY_MESSAGE).size(), 1U);
  mesh.say(1, TOPOLOGY_NOTIFICATION_MESSAGE, ALMACAddressTLV(agent(1)));  // it still lists the client
  EXPECT_EQ(place_of(client(1)), bss(2).to_string());
  mesh.join(1, 2, false);
  EXPECT_EQ(place_of(client(1)), "");

  // Of a stranger, of another agent's BSS and radio.
  EXPECT_FALSE(mesh.say(9, TOPOLOGY_NOTIFICATION_MESSAGE, ClientAssociationEventTLV(client(2), bss(2), false)));
  mesh.say(1, TOPOLOGY_NOTIFICATION_MESSAGE, ClientAssociationEventTLV(client(2), bss(2), false));
  EXPECT_EQ(place_of(client(2)), bss(2).to_string());
  OperatingChannelReportTLV report(radio(2));
  report.add_operating_class_channel({115, 48});
  mesh.say(1, OPERATING_CHANNEL_REPORT_MESSAGE, std::move(report));
  EXPECT_EQ(name_of(*operating_channel(model().agents.at(agent(2)).radios.at(radio(2)).channel->value)),
            "36 at 80 MHz");
}

TEST_F(ControllerTest, AsksAgainAnAgentThatHadNotReadItsRadiosYet) {
  const auto complete = mesh.answers[AP_CAPABILITY_QUERY_MESSAGE];
  mesh.answers[AP_CAPABILITY_QUERY_MESSAGE] = [](const test::CarriedMessage& asked, std::vector<Message>& out) {
    out.push_back(MessageBuilder(AP_CAPABILITY_REPORT_MESSAGE, asked.id()).build());
  };
  mesh.appear(3);
  mesh.answers[AP_CAPABILITY_QUERY_MESSAGE] = complete;
  mesh.asked.clear();
  mesh.wait(seconds(4));
  EXPECT_TRUE(model().agents.at(agent(3)).radios.at(radio(3)).capabilities);
  EXPECT_EQ(mesh.sent(MULTI_AP_POLICY_CONFIG_REQUEST_MESSAGE).size(), 1U) << "it names the radio";
}

TEST_F(ControllerTest, AcknowledgesReportsOfItsAgents) {
  mesh.report_channel(1, 149, 155);
  EXPECT_EQ(mesh.sent(IEEE1905_ACK_MESSAGE).size(), 1U);
  mesh.say(9, HIGHER_LAYER_DATA_MESSAGE);
  mesh.say(1, AP_METRICS_RESPONSE_MESSAGE);
  EXPECT_EQ(mesh.sent(IEEE1905_ACK_MESSAGE).size(), 1U);
}

TEST_F(ControllerTest, LosesSilentAgentsAndFindsThemAgain) {
  mesh.dead = {2};
  mesh.wait(seconds(120));
  EXPECT_EQ(model().agents.at(agent(2)).state, AgentState::LOST);
  EXPECT_EQ(model().agents.at(agent(1)).state, AgentState::JOINED);
  mesh.dead = {};
  mesh.appear(2);
  EXPECT_EQ(model().agents.at(agent(2)).state, AgentState::JOINED);
  mesh.controller->on_device(agent(2), false, mesh.now);
  EXPECT_EQ(model().agents.at(agent(2)).state, AgentState::LOST);
  mesh.wait(seconds(1000));
  EXPECT_FALSE(model().agents.contains(agent(2)));
}

TEST_F(ControllerTest, AsksAnAgentThatIsBackOneQuestionAtATime) {
  mesh.dead = {2};
  mesh.wait(seconds(61));
  mesh.controller->on_device(agent(2), false, mesh.now);  // while a question waits
  mesh.asked.clear();
  mesh.appear(2);
  mesh.wait(seconds(1));
  EXPECT_THAT(mesh.asked, testing::SizeIs(2)) << "the response to its search, and the first question";
}

TEST_F(ControllerTest, BoundsWhatAgentsReport) {
  Limits limits;
  limits.agents = 2;
  limits.clients = 3;
  limits.bss = 2;
  mesh.controller = std::make_unique<Controller>(mesh.mesh, Config{{}, {}, limits});
  for (std::uint8_t number = 10; number < 20; ++number) {
    mesh.clients_of[1][client(number)] = number;
  }
  mesh.answers[TOPOLOGY_QUERY_MESSAGE] = [this](const test::CarriedMessage& asked, std::vector<Message>& out) {
    MessageBuilder builder(TOPOLOGY_RESPONSE_MESSAGE, asked.id());
    BSSOperationalRadioReport report(radio(asked.to.octets()[5]));
    for (std::uint8_t number = 100; number < 110; ++number) {
      report.add_BSS_operating({bss(number), "many"});
    }
    APOperationalBSSTLV operational;
    operational.add_report(report);
    builder.add(std::move(operational));
    mesh.add_topology(builder, asked.to.octets()[5]);
    out.push_back(builder.build());
  };
  for (std::uint8_t number = 1; number < 5; ++number) {
    mesh.appear(number);
  }
  EXPECT_EQ(model().agents.size(), 2U);
  std::size_t clients = 0;
  for (const auto& [al_mac, one] : model().agents) {
    for (const auto& [identifier, its] : one.radios) {
      EXPECT_LE(its.bss.size(), 2U);
      for (const auto& [bssid, known] : its.bss) {
        clients += known.clients.size();
      }
    }
  }
  EXPECT_LE(clients, 3U);
}

TEST_F(ControllerTest, SteersAClientAndTellsWhatCameOfIt) {
  enum class Then { REPORT, JOIN_TARGET, JOIN_OTHER, NOTHING, NOT_TAKEN };
  struct Case {
    std::vector<Then> events;
    std::uint8_t status;
    std::string result;
    unsigned int refusals = 0;
  };
  using enum Then;
  mesh.appear(3);
  mesh.report_channel(3);
  const std::string moved = "moved from " + bss(1).to_string() + " to " + bss(2).to_string();
  const Case cases[] = {
      {{REPORT, JOIN_TARGET}, 0, "+ ACCEPT after 1.0 s; " + moved + " / 2.0 s"},
      {{JOIN_TARGET, REPORT}, 0, "+ ACCEPT after 2.0 s; " + moved + " / 2.0 s"},
      {{JOIN_TARGET, NOTHING}, 0, "+ no response; " + moved + " / 3.0 s"},
      {{REPORT, JOIN_OTHER}, 0, "- ACCEPT, but it moved to " + bss(3).to_string() + " / 2.0 s"},
      {{REPORT, NOTHING}, 0, "- ACCEPT, but it was not at " + bss(2).to_string() + " within 10 s / 11.0 s"},
      {{REPORT}, 7, "- REJECT 7 (no suitable candidate) / 1.0 s", 1},
      {{NOTHING}, 0, "- no response from the client / 15.0 s", 1},
      {{NOT_TAKEN},
       0,
       "- refused by " + agent(1).to_string() + ": STA_ASSOCIATED_WITH_BSS_OPERATED_BY_AGENT / 0.0 s",
       1},
  };
  for (const Case& one : cases) {
    mesh.join(1, 1);
    mesh.asked.clear();
    results.clear();
    if (one.events[0] == NOT_TAKEN) {
      mesh.answers[CLIENT_STEERING_REQUEST_MESSAGE] = has_client;
    }
    mesh.controller->steer(client(1), bss(2), true, mesh.now, keep());
    EXPECT_THROW(mesh.controller->steer(client(1), bss(2), true, mesh.now, keep()), std::invalid_argument);
    const unsigned int refusals = model().find_client(client(1)).client->steering.refusals;
    mesh.run();
    const auto requests = mesh.sent(CLIENT_STEERING_REQUEST_MESSAGE);
    ASSERT_EQ(requests.size(), 1U);
    const auto* request = requests[0]->find<SteeringRequestTLV>();
    EXPECT_TRUE(request->get_steering_mandated() && !request->get_btm_disassociation_imminent());
    EXPECT_EQ(request->get_target_bssid_vector().at(0), SteeringRequestTargetBSSID(bss(2), 115, 36));
    for (const Then event : one.events) {
      mesh.wait(seconds(event == NOTHING ? 20 : 1));
      if (event == REPORT) {
        mesh.say(1, CLIENT_STEERING_BTM_REPORT_MESSAGE, SteeringBTMReportTLV(bss(1), client(1), one.status));
      } else if (event == JOIN_TARGET || event == JOIN_OTHER) {
        mesh.join(1, event == JOIN_TARGET ? 2 : 3);
      }
    }
    EXPECT_THAT(results, testing::ElementsAre(one.result));
    EXPECT_EQ(model().find_client(client(1)).client->steering.refusals - refusals, one.refusals) << one.result;
  }
}

TEST_F(ControllerTest, HoldsOffOtherAccessPointsOnceAClientHasAgreed) {
  const auto blocked = [&] {
    std::vector<std::string> all;
    for (const auto* request : mesh.sent(CLIENT_ASSOCIATION_CONTROL_REQUEST_MESSAGE)) {
      const auto* tlv = request->find<ClientAssociationControlRequestTLV>();
      all.push_back(tlv->get_bssid().to_string() + ' ' + std::to_string(tlv->get_validity_period()));
    }
    return all;
  };
  ScriptedMesh::Answer refusal = has_client;
  mesh.appear(3);
  qel::ieee802_11::BeaconReport heard;
  heard.set_rcpi(100);
  BeaconMetricsResponseTLV response(client(1));
  for (const auto& bssid : {bss(2), bss(3), bss(77)}) {
    heard.set_bssid(bssid);
    response.add_report(qel::ieee802_11::IEEE802_11_MeasurementReport(1, 0, heard));
  }
  mesh.controller->ask({"beacons", client(1)}, agent(1), mesh.now, keep());
  mesh.run();
  mesh.say(1, BEACON_METRICS_RESPONSE_MESSAGE, std::move(response));
  ASSERT_THAT(results, testing::ElementsAre(HasSubstr("BEACON_METRICS_RESOPNSE STA MAC: " + client(1).to_string())));
  EXPECT_EQ(model().find_client(client(1)).client->heard_bss.size(), 2U) << "a BSS that the mesh does not have";

  mesh.controller->steer(client(1), bss(2), true, mesh.now, keep());
  mesh.run();
  mesh.join(1, 1, false);  // its departure can be reported before its response
  mesh.say(1, CLIENT_STEERING_BTM_REPORT_MESSAGE, SteeringBTMReportTLV(bss(1), client(1), 0));
  EXPECT_THAT(blocked(), testing::ElementsAre(bss(3).to_string() + " 20"));
  std::swap(mesh.answers[CLIENT_ASSOCIATION_CONTROL_REQUEST_MESSAGE], refusal);
  mesh.join(1, 2);
  mesh.wait(seconds(3));
  std::swap(mesh.answers[CLIENT_ASSOCIATION_CONTROL_REQUEST_MESSAGE], refusal);
  for (int event = 0; event < 2; ++event) {
    mesh.join(1, 1, false);
  }
  EXPECT_THAT(blocked(),
              testing::ElementsAre(bss(3).to_string() + " 20", bss(1).to_string() + " 20", bss(1).to_string() + " 17"))
      << "once more after the departure is known";

  const auto steer_back = [&] { mesh.controller->steer(client(1), bss(1), true, mesh.now, keep()), mesh.run(); };
  mesh.asked.clear();
  steer_back();
  ASSERT_THAT(mesh.asked, testing::SizeIs(2));
  EXPECT_EQ(mesh.asked[0].find<ClientAssociationControlRequestTLV>()->get_association_control(),
            ClientAssociationControl::UNBLOCK);
  EXPECT_EQ(mesh.asked[1].type(), CLIENT_STEERING_REQUEST_MESSAGE);
  mesh.say(2, CLIENT_STEERING_BTM_REPORT_MESSAGE, SteeringBTMReportTLV(bss(2), client(1), 6));
  mesh.controller->block(client(1), {bss(1)}, 30, mesh.now, keep());
  mesh.run();
  mesh.wait(seconds(29));
  EXPECT_THROW(steer_back(), std::invalid_argument) << "the operator has not ended the block";
  mesh.wait(seconds(1));
  EXPECT_NO_THROW(steer_back());
}

TEST_F(ControllerTest, BlocksAClientWhereItIsNot) {
  mesh.controller->block(client(1), {}, 60, mesh.now, keep());
  mesh.run();
  mesh.answers[CLIENT_ASSOCIATION_CONTROL_REQUEST_MESSAGE] = has_client;
  mesh.controller->block(client(1), {bss(1)}, 0, mesh.now, keep());
  mesh.run();
  EXPECT_THAT(results, testing::ElementsAre("+ blocked from 1 BSS for 60 s / 0.0 s",
                                            StartsWith("- no longer blocked from 0 BSSs; " + bss(1).to_string())));
  const auto requests = mesh.sent(CLIENT_ASSOCIATION_CONTROL_REQUEST_MESSAGE);
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_EQ(requests[0]->to, agent(2));
  EXPECT_EQ(requests[1]->find<ClientAssociationControlRequestTLV>()->get_association_control(),
            ClientAssociationControl::UNBLOCK);
}

TEST_F(ControllerTest, MovesARadioAndTellsWhatCameOfIt) {
  const auto width = qel::ChannelWidth::WIDTH_80_MHZ;
  mesh.controller->set_channel(radio(1), 157, width, mesh.now, keep());
  mesh.run();
  // The agent follows the preferences: the wanted channel is the best, and nothing else can be chosen.
  const auto requests = mesh.sent(CHANNEL_SELECTION_REQUEST_MESSAGE);
  ASSERT_EQ(requests.size(), 1U);
  const ChannelPreferenceConversion conversion(model().agents.at(agent(1)).radios.at(radio(1)).capabilities->value);
  const ChannelScores scores = conversion.to_scores(*requests[0]->find<ChannelPreferenceTLV>());
  EXPECT_EQ(scores.at({128, 155}).score, 15);
  EXPECT_EQ(scores.at({126, 157}).score + scores.at({125, 157}).score, 14 + 13);
  EXPECT_EQ(std::ranges::count_if(scores, [](const auto& one) { return one.second.is_operable(); }), 3);
  mesh.wait(seconds(3));
  EXPECT_TRUE(results.empty()) << "accepted, but not there yet";
  mesh.report_channel(1, 157, 155);
  mesh.controller->set_channel(radio(1), 157, width, mesh.now, keep());
  mesh.run();
  mesh.controller->set_channel(radio(1), 36, width, mesh.now, keep());
  mesh.run();
  mesh.wait(seconds(20));
  mesh.answers[CHANNEL_SELECTION_REQUEST_MESSAGE] = [](const auto& asked, std::vector<Message>& out) {
    out.push_back(make_message(
        CHANNEL_SELECTION_RESPONSE_MESSAGE, asked.id(),
        ChannelSelectionResponseTLV(radio(1), ChannelSelectionResponseCode::DECLINE_BREAKS_BACKHAUL_LINK)));
  };
  mesh.controller->set_channel(radio(1), 36, width, mesh.now, keep());
  mesh.run();
  mesh.dead = {1};
  mesh.controller->set_channel(radio(1), 36, width, mesh.now, keep());
  mesh.wait(seconds(7));
  EXPECT_THAT(results,
              testing::ElementsAre("+ ACCEPT; moved from 36 at 80 MHz to 157 at 80 MHz / 3.0 s",
                                   "+ ACCEPT; the radio is on 157 at 80 MHz / 0.0 s",
                                   "- ACCEPT, but the radio is not on 36 at 80 MHz; it reports 157 at 80 MHz / 20.0 s",
                                   "- DECLINE_BREAKS_BACKHAUL_LINK / 0.0 s",
                                   "- no answer from " + agent(1).to_string() + " / 6.0 s"));
  EXPECT_THROW(mesh.controller->set_channel(radio(1), 11, width, mesh.now, keep()), std::invalid_argument);
}

TEST_F(ControllerTest, PlansWithoutARadioThatDoesNotMove) {
  mesh.dead = {1, 2};
  std::set<qel::MACAddress> asked;
  for (int round = 0; round < 2; ++round) {
    const Controller::Planned planned = mesh.controller->plan(mesh.now);
    ASSERT_EQ(planned.plan.changes.size(), 1U);
    asked.insert(planned.input.radios.at(planned.plan.changes[0].radio).radio);
    mesh.controller->apply_plan(mesh.now, keep());
    mesh.wait(seconds(7));
  }
  EXPECT_THAT(asked, testing::SizeIs(2)) << "the second plan would end like the first";
}

}  // namespace
}  // namespace meshd::controller
