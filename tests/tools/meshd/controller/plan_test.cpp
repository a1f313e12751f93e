#include "tools/meshd/controller/plan.h"

#include <random>

#include "qel/channel/frequency.h"
#include "tests/support/testing.h"

namespace meshd::controller::test {
namespace {

using namespace qel::ieee1905_1;
using qel::ChannelWidth;

/// "36/80": the primary channel and the width in MHz.
PrimaryChannel channel(const std::string& text) {
  const int number = std::stoi(text);
  const qel::FrequencyBand band = number < 15 ? qel::FrequencyBand::BAND_2_4_GHZ : qel::FrequencyBand::BAND_5_GHZ;
  const qel::MHz width(std::stoi(text.substr(text.find('/') + 1)));
  return {channel_to_frequency(band_to_starting_frequency(band), static_cast<unsigned char>(number)),
          qel::frequency_to_channel_width(width)};
}

std::string text_of(const PrimaryChannel& channel) {
  return std::to_string(qel::frequency_to_channel(channel.frequency)) + '/' +
         std::to_string(channel_width_to_frequency(channel.width).value());
}

/// Radio "B2" is the second one of agent B. The options are channels, with score and reason if they are not the best.
PlanRadio radio(const char* id, const std::string& current, unsigned int clients, const std::string& options) {
  PlanRadio radio;
  radio.agent_name = id[0];
  radio.agent = qel::MACAddress({2, 0, 0, 0, 0, static_cast<std::uint8_t>(id[0])});
  radio.radio = qel::MACAddress({2, 0, 0, 0, static_cast<std::uint8_t>(id[1]), static_cast<std::uint8_t>(id[0])});
  radio.clients = clients;
  if (!current.empty()) {
    radio.current = channel(current);
  }
  std::istringstream words(options);
  for (std::string word; words >> word;) {
    int score = ChannelScore::HIGHEST;
    int reason = 0;
    std::sscanf(word.c_str(), "%*[^=]=%d,%d", &score, &reason);
    radio.scores[channel(word)] = {static_cast<std::uint8_t>(score), static_cast<ChannelPreferenceReasonCode>(reason)};
  }
  return radio;
}

PlanRadio fixed(PlanRadio radio) {
  radio.is_fixed = true;
  radio.fixed_why = "of the test";
  return radio;
}

PlanRadio following(PlanRadio radio, std::size_t leader) {
  radio.follows = leader;
  return radio;
}

PlanRadio busy(PlanRadio radio, double demand) {
  radio.demand = demand;
  return radio;
}

struct Situation {
  const char* name;
  PlanInput input;
  PlanPolicy policy;
  std::string changes;  ///< in their order
  std::string says;     ///< somewhere in the text
};

TEST(Plan, ChangesWhatIsWorthIt) {
  constexpr std::uint8_t LOUD = 120;
  const std::string TWO = "36/80 149/80";
  const std::string HALVES = "36/80 36/40 44/40";
  const std::string FREE = "36/80 52/80=12,9";
  const std::string DOUBT = "36/80 52/80=8,10";
  // clang-format off
  const Situation situations[] = {
      {"the one with fewer clients leaves a shared channel",
       {{radio("A1", "36/80", 9, TWO), radio("B1", "36/80", 2, TWO)}, {{0, 1, LOUD}}}, {}, "B1 149/80",
       "it and its neighbors, most of all 02:00:00:00:31:41 (A), take 9.1 from each other, and 0.0 on the new channel; "
       "moving it and its 2 clients costs 4.0"},
      {"who hears nobody stays",
       {{radio("A1", "36/80", 9, TWO), radio("B1", "36/80", 2, TWO)}, {{0, 1, 30}}}, {}, "",
       "All radios stay: no change is worth its cost."},
      {"a gain below the threshold is none",
       {{radio("A1", "36/80", 9, TWO), radio("B1", "36/80", 2, TWO)}, {{0, 1, LOUD}}}, {.least_gain = 60}, "",
       "All radios stay: the best change gains 50.0 %, less than the 60 % of the policy."},
      {"clients do not suffer for less than they cost",
       {{radio("A1", "36/80", 9, TWO), radio("B1", "36/80", 2, TWO)}, {{0, 1, LOUD}}}, {.client_weight = 4}, "",
       "149 at 80 MHz would save 9.1, but moving it and its 2 clients costs 10.0"},
      {"radar is no matter of gain, however short ago the last change",
       {{radio("A1", "52/80", 50, "36/80 52/80=0,7"), radio("B1", "36/80", 2, TWO)}, {{0, 1, LOUD}}},
       {.least_gain = 100}, "A1 36/80", "it must leave its channel: radar was found"},
      {"no channel is worse than any", {{radio("A1", "", 0, TWO)}, {}}, {}, "A1 36/80", "it is on no channel"},
      {"where nothing may be used, it stays silent",
       {{radio("A1", "52/80", 3, "52/80=0,7 100/80=8,10")}, {}}, {}, "",
       "radar was found, but there is no other that it may use"},
      {"what is fixed stays, the other goes",
       {{radio("A1", "36/80", 20, TWO), fixed(radio("B1", "36/80", 0, TWO))}, {{0, 1, LOUD}}}, {.client_weight = 0},
       "A1 149/80", "of the test"},
      {"channels with radar detection only as the policy allows",
       {{radio("A1", "36/80", 9, FREE), radio("B1", "36/80", 2, FREE)}, {{0, 1, LOUD}}}, {.use_dfs = false}, "",
       "not 52 at 80 MHz: the policy excludes channels that need radar detection"},
      {"a free one is good enough",
       {{radio("A1", "36/80", 9, FREE), radio("B1", "36/80", 2, FREE)}, {{0, 1, LOUD}}}, {}, "B1 52/80",
       "(B), 0 % busy, 2 clients: 36 at 80 MHz -> 52 at 80 MHz"},
      {"an unchecked one is not",
       {{radio("A1", "36/80", 9, DOUBT), radio("B1", "36/80", 2, DOUBT)}, {{0, 1, LOUD}}}, {}, "",
       "the policy excludes channels not yet checked for radar"},
      {"unless the policy allows it and the load is worth it",
       {{busy(radio("A1", "36/80", 9, DOUBT), 100), radio("B1", "36/80", 2, DOUBT)}, {{0, 1, LOUD}}},
       {.use_unchecked_dfs = true}, "B1 52/80", "not 36 at 80 MHz"},
      {"wider if the air is free", {{busy(radio("A1", "36/20", 4, "36/20 36/40 40/80 36/80"), 40)}, {}}, {},
       "A1 36/80", "its traffic takes 40.0, and 11.4 at the new width"},
      {"narrower if that keeps neighbors apart",
       {{busy(radio("A1", "36/80", 0, HALVES), 80), busy(radio("B1", "36/80", 0, HALVES), 80)}, {{0, 1, LOUD}}},
       {.least_gain = 5}, "A1 36/40 B1 44/40", "take 45.7"},
      {"2.4 GHz channels that cover each other in part",
       {{radio("A1", "1/20", 9, "1/20 2/20 6/20 8/20"), radio("B1", "3/20", 2, "1/20 3/20 6/20 8/20")}, {{0, 1, LOUD}}},
       {}, "B1 6/20", "not 8 at 20 MHz (+2.0): most networks use 1, 6 and 11"},
      {"a bad score is left", {{busy(radio("A1", "36/20", 1, "36/20=5,5 40/20 44/20"), 30)}, {}}, {}, "A1 40/20",
       "its channel has a drawback: its score is 5 (reduced throughput)"},
      {"a backhaul station moves along",
       {{radio("A1", "36/80", 1, TWO), following(radio("B1", "36/80", 1, "36/80 149/80=0,8"), 0),
         fixed(radio("C1", "36/80", 9, TWO))}, {{0, 2, LOUD}, {0, 1, LOUD}}}, {}, "A1 149/80",
       "it follows 02:00:00:00:31:41 (A), to which it is linked"},
      {"and what it cannot use is no choice",
       {{radio("A1", "36/80", 1, TWO + " 157/80"), following(radio("B1", "36/80", 1, "36/80 157/80"), 0),
         fixed(radio("C1", "36/80", 9, TWO))}, {{0, 2, LOUD}, {0, 1, LOUD}}}, {}, "A1 157/80",
       "moving it and its 2 clients costs 6.0"},
      {"radios of one device hear each other",
       {{radio("A1", "36/80", 9, TWO), radio("A2", "36/80", 2, TWO)}, {}}, {}, "A2 149/80", "1 of 2 radios changes"},
      {"devices of which nothing is known are taken for neighbors",
       {{radio("A1", "36/80", 9, TWO), radio("B1", "36/80", 1, TWO)}, {}}, {}, "B1 149/80", "1 of 2 radios changes"},
      {"not so those that hear others",
       {{radio("A1", "36/80", 9, TWO), radio("B1", "36/80", 1, TWO), radio("C1", "149/80", 0, TWO)},
        {{0, 2, LOUD}, {1, 2, LOUD}}}, {}, "", "All radios stay"},
      {"two change places, since neither alone gains",
       {{busy(radio("A1", "36/80", 0, "36/80=5,5 149/80"), 100), busy(radio("B1", "149/80", 0, "36/80 149/80=5,5"), 100)},
        {{0, 1, LOUD}}}, {}, "A1 149/80 B1 36/80", "2 of 2 radios change"},
      {"parts of the mesh are judged on their own",
       {{radio("A1", "36/80", 9, TWO), radio("B1", "36/80", 2, TWO), busy(radio("C1", "149/80", 50, TWO), 900)},
        {{0, 1, LOUD}, {2, 1, 0}}}, {}, "B1 149/80", "1 of 3 radios changes"},
  };
  // clang-format on
  for (const Situation& situation : situations) {
    SCOPED_TRACE(situation.name);
    const Plan plan = make_plan(situation.input, situation.policy);
    std::string changes;
    for (const PlanChange& change : plan.changes) {
      const PlanRadio& its = situation.input.radios[change.radio];
      changes += (changes.empty() ? "" : " ") + its.agent_name + static_cast<char>(its.radio.octets()[4]) + ' ' +
                 text_of(change.to);
    }
    EXPECT_EQ(changes, situation.changes);
    EXPECT_THAT(plan_text(situation.input, plan), testing::HasSubstr(situation.says));
  }
}

TEST(Plan, KeepsItsPromisesForRandomMeshes) {
  for (unsigned int seed = 0; seed < 60; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto pick = [&](unsigned int number) { return static_cast<unsigned int>(random() % number); };
    PlanInput input;
    for (char agent = 'A'; agent < 'I'; ++agent) {
      for (const char* band : {"1/20 3/20 6/20 11/20", "36/20 40/20 36/40 44/40 40/80 149/80 52/80 100/80"}) {
        const char id[] = {agent, band[0], 0};
        PlanRadio its = busy(radio(id, "", pick(20), band), pick(200));
        for (auto& [channel, score] : its.scores) {
          score.score = static_cast<std::uint8_t>(std::min(pick(30), 15U));
          score.reason = static_cast<ChannelPreferenceReasonCode>(pick(12));
        }
        its.current = std::next(its.scores.begin(), static_cast<std::ptrdiff_t>(pick(4)))->first;
        its.is_fixed = pick(8) == 0;
        input.radios.push_back(its);
      }
    }
    for (unsigned int number = pick(30); number > 0; --number) {
      input.hearings.push_back({pick(16), pick(16), static_cast<std::uint8_t>(pick(140))});
    }
    const PlanPolicy policy{.least_gain = pick(40), .client_weight = pick(3), .use_unchecked_dfs = pick(2) == 0};
    const Plan plan = make_plan(input, policy);
    EXPECT_EQ(plan_json(input, make_plan(input, policy)), plan_json(input, plan));
    EXPECT_LE(plan.cost_after, plan.cost_before);
    for (const PlanChange& change : plan.changes) {
      PlanRadio& its = input.radios[change.radio];
      EXPECT_FALSE(its.is_fixed);
      EXPECT_TRUE(its.scores.at(change.to).is_operable());
      its.current = change.to;
    }
    for (std::size_t index = 0; index < input.radios.size(); ++index) {
      const PlanRadio& its = input.radios[index];
      EXPECT_TRUE(its.is_fixed || its.scores.at(*its.current).is_operable() ||
                  plan.stays[index].find("no other that it may use") != std::string::npos);
    }
    EXPECT_THAT(make_plan(input, policy).changes, testing::IsEmpty());
  }
}

qel::MACAddress mac(std::uint8_t number) { return qel::MACAddress({2, 0x19, 5, 0, 0, number}); }

/// A radio on channel 36 at 80 MHz that can use channels 36 to 64. Its only BSS has the same address.
RadioModel radio_model(std::uint8_t number, TimePoint now) {
  RadioModel model;
  APRadioBasicCapabilitiesTLV capabilities(mac(number), 4);
  for (const std::uint8_t opclass : std::initializer_list<std::uint8_t>{115, 116, 117, 118, 128, 129, 130}) {
    capabilities.add_operation_class_information({opclass, 20});
  }
  model.capabilities = {capabilities, now};
  OperatingChannelReportTLV report;
  report.set_radio_identifier(mac(number));
  report.add_operating_class_channel({115, 36});
  report.add_operating_class_channel({128, 42});
  model.channel = {report, now};
  model.bss[mac(number)].utilization = {128, now};
  return model;
}

TEST(Plan, IsMadeFromWhatTheModelKnows) {
  using namespace std::chrono_literals;
  const TimePoint now = TimePoint() + 48h;
  MeshModel model;
  for (std::uint8_t number = 1; number <= 5; ++number) {
    AgentModel& agent = model.agents[mac(number)];
    agent.state = number == 5 ? AgentState::LOST : AgentState::JOINED;
    agent.name = "agent" + std::to_string(number);
    agent.radios[mac(number)] = radio_model(number, number == 3 ? now - 10min : now);
  }
  ChannelPreference radar;
  radar.set_operating_class(128);
  radar.add_channel(42);
  radar.set_reason_code(ChannelPreferenceReasonCode::OPERATION_DISALLOWED_RADAR_DFS_CHANNEL);
  ChannelPreferenceTLV preferences(mac(1));
  preferences.add_channel_preference(radar);
  model.agents[mac(1)].radios[mac(1)].preferences = {preferences, now};
  // Agent 2 is linked to agent 1 by its station 22; a client of agent 1 hears the agents 3 to 5.
  model.agents[mac(2)].backhaul_stations = {mac(22)};
  auto& clients = model.agents[mac(1)].radios[mac(1)].bss[mac(1)].clients;
  clients[mac(22)].link = {{.uplink_rcpi = 130}, now};
  clients[mac(23)].heard_bss = {
      {mac(1), {150, now}}, {mac(3), {70, now}}, {mac(4), {71, now - 2h}}, {mac(5), {72, now}}};
  model.agents[mac(1)].radios[mac(1)].switched_at = now - 100s;  // and now there is radar
  model.agents[mac(4)].radios[mac(4)].switched_at = now - 100s;
  const PlanPolicy policy{.excluded_radios = {mac(3)}};

  const PlanInput input = plan_input(model, policy, now);
  ASSERT_EQ(input.radios.size(), 4U);
  std::map<std::string, int> seen;
  for (const auto& [channel, score] : input.radios[0].scores) {
    seen[text_of(channel) + (score.is_operable() ? "" : " not")] += 1;
  }
  EXPECT_EQ(seen.size(), 8U + 4U + 28U) << "160 MHz is wider than the policy allows";
  EXPECT_TRUE(seen.contains("36/80 not") && seen.contains("52/80") && seen.contains("52/20"));
  struct Expected {
    unsigned int utilization, clients, backhaul_clients;
    double demand;
    const char* fixed_why;
    std::optional<std::size_t> follows;
  };
  const Expected expected[] = {{50, 2, 1, 50 * 3.5 * 3 / (3 + 1 + 0.85), "", {}},
                               {50, 0, 0, 50 * 3.5 * 1 / (1 + 3), "", 0},
                               {0, 0, 0, 0, "the policy excludes it", {}},
                               {50, 0, 0, 50 * 3.5, "it changed 100 s ago and stays for at least 1800 s", {}}};
  for (std::size_t index = 0; index < std::size(expected); ++index) {
    const PlanRadio& its = input.radios[index];
    SCOPED_TRACE(its.agent_name);
    EXPECT_EQ(its.current, channel("36/80"));
    EXPECT_EQ(its.utilization, expected[index].utilization);
    EXPECT_EQ(its.clients, expected[index].clients);
    EXPECT_EQ(its.backhaul_clients, expected[index].backhaul_clients);
    EXPECT_NEAR(its.demand, expected[index].demand, 1e-9);
    EXPECT_EQ(its.fixed_why, expected[index].fixed_why);
    EXPECT_EQ(its.follows, expected[index].follows);
  }
  ASSERT_EQ(input.hearings.size(), 2U) << "the agent 4 was heard too long ago, the agent 5 is lost";
  EXPECT_EQ(std::pair(input.hearings[0].other, input.hearings[0].rcpi), std::pair(std::size_t{1}, std::uint8_t{130}));
  EXPECT_EQ(std::pair(input.hearings[1].other, input.hearings[1].rcpi), std::pair(std::size_t{2}, std::uint8_t{70}));
}

}  // namespace
}  // namespace meshd::controller::test
