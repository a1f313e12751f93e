#include "tools/meshd/controller/steering.h"

#include <gmock/gmock.h>

namespace {

using namespace meshd::controller;
using namespace std::chrono_literals;
using qel::MACAddress;

const TimePoint NOW{24h};

enum Kind : std::uint8_t { AGENT, RADIO, BSS, CLIENT };
MACAddress mac(char name, Kind kind) { return MACAddress({2, 0, 0, 0, kind, static_cast<std::uint8_t>(name)}); }

/// Access points A, B and C, and six clients of A, which all hear B well.
struct Scene {
  MeshModel mesh;
  SteeringPolicy policy{.is_on = true};

  Scene() {
    for (const char name : {'A', 'B', 'C'}) {
      mesh.agents[mac(name, AGENT)].state = AgentState::JOINED;
      bss(name).ssid = "home";
      bss(name).utilization = {20, NOW - 1s};
    }
    for (const char name : {'1', '2', '3', '4', '5', '6'}) {
      client(name).joined_at = NOW - 1h;
      client(name).link = {{.uplink_rcpi = 140}, NOW - 1s};
      client(name).heard_bss = {{mac('A', BSS), {140, NOW - 1s}}, {mac('B', BSS), {130, NOW - 1s}}};
    }
  }
  void make_sticky() { client('1').link->value.uplink_rcpi = 70, heard('A').value = 84; }
  void make_busy() { bss('A').utilization->value = 230; }
  RadioModel& radio(char name) { return mesh.agents.at(mac(name, AGENT)).radios[mac(name, RADIO)]; }
  BssModel& bss(char name) { return radio(name).bss[mac(name, BSS)]; }
  ClientModel& client(char name) { return bss('A').clients[mac(name, CLIENT)]; }
  Known<std::uint8_t>& heard(char bss) { return client('1').heard_bss[mac(bss, BSS)]; }

  /// As "1>B" for an order and "1?" for a question.
  std::string round() const {
    const SteeringRound round = steer(mesh, policy, NOW);
    std::string text;
    for (const SteeringOrder& order : round.orders) {
      text += {static_cast<char>(order.client.octets()[5]), '>', static_cast<char>(order.to.octets()[5]), ' '};
    }
    for (const BeaconOrder& question : round.questions) {
      text += {static_cast<char>(question.client.octets()[5]), '?', ' '};
    }
    return text;
  }
};

TEST(Steering, AsksWhoGainsAndNobodyElse) {
  struct Row {
    const char* what;
    void (*change)(Scene&);
    const char* sticky;  // the round if client 1 is received badly
    const char* busy;    // the round if the channel is busy: each client has 15 %, two moves leave 60 %
  };
  const Row rows[] = {
      {"no more", [](Scene&) {}, "1>B ", "1>B 2>B "},
      {"C is best",
       [](Scene& s) {
         s.heard('C') = {131, NOW}, s.bss('C').utilization->value = 10;
       },
       "1>C ", "1>C 2>B "},
      {"client excluded", [](Scene& s) { s.policy.excluded_clients = {mac('1', CLIENT)}; }, "", "2>B 3>B "},
      {"station of an agent", [](Scene& s) { s.mesh.agents[mac('C', AGENT)].backhaul_stations = {mac('1', CLIENT)}; },
       "", "2>B 3>B "},
      {"just joined", [](Scene& s) { s.client('1').joined_at = NOW - 119s; }, "", "2>B 3>B "},
      {"back-off", [](Scene& s) { s.client('1').steering.not_before = NOW + 1s; }, "", "2>B 3>B "},
      {"old reception", [](Scene& s) { s.client('1').link->at = NOW - 31s; }, "", "1>B 2>B "},
      {"old hearing",
       [](Scene& s) {
         s.client('1').heard_bss = {{mac('B', BSS), {130, NOW - 31s}}};
       },
       "1? ", "2>B 3>B 1? "},
      {"too little gained", [](Scene& s) { s.heard('B').value = 103; }, "", "1>B 2>B "},
      {"other network", [](Scene& s) { s.bss('B').ssid = "guests"; }, "", ""},
      {"lost agent", [](Scene& s) { s.mesh.agents[mac('B', AGENT)].state = AgentState::LOST; }, "", ""},
      {"target refuses it",
       [](Scene& s) {
         s.mesh.denials = {{{mac('B', BSS), mac('1', CLIENT)}, {NOW + 1s, true}}};
       },
       "", "2>B 3>B "},
      {"channel changed", [](Scene& s) { s.radio('B').switched_at = NOW; }, "", ""},
      {"target busy", [](Scene& s) { s.bss('B').utilization->value = 235; }, "", ""},
      {"target not clearly less busy", [](Scene& s) { s.bss('B').utilization->value = 128; }, "1>B ", ""},
      {"target joined since", [](Scene& s) { s.bss('B').clients[mac('9', CLIENT)].joined_at = NOW; }, "1>B ", ""},
      {"left since",
       [](Scene& s) {
         s.mesh.departed[mac('9', CLIENT)] = {{0, NOW, mac('A', BSS), {}, {}, 0, {}}, NOW};
       },
       "1>B ", ""},
      {"limit", [](Scene& s) { s.policy.most_at_once = 1; }, "1>B ", "1>B "},
      {"limit for 40 agents",
       [](Scene& s) {
         s.policy.most_at_once = 1;
         for (int name = 0; name < 37; ++name) {
           s.mesh.agents[mac(static_cast<char>(name), AGENT)].state = AgentState::JOINED;
         }
       },
       "1>B ", "1>B 2>B "},
      {"cannot move",
       [](Scene& s) {
         s.client('1').association_request = {{0, 0, 0, 0, 0, 1, 'x', 127, 3, 0, 0, 0}, NOW};
       },
       "", "2>B 3>B "},
      {"has moved on", [](Scene& s) { s.bss('B').clients[mac('1', CLIENT)].joined_at = NOW - 10min; }, "", "2>B "},
      {"moved recently", [](Scene& s) { s.client('1').steering = {0, NOW - 599s, mac('B', BSS), {}, {}, 0, {}}; },
       "1>B ", "2>B 3>B "},
      {"would be sticky there", [](Scene& s) { s.client('1').link->value.uplink_rcpi = 70; }, "1>B ", "2>B 3>B "},
      {"questioned four times",
       [](Scene& s) { s.client('1').heard_bss.clear(), s.client('1').steering = {0, {}, {}, {}, {}, 4, NOW - 239s}; },
       "", "2>B 3>B "},
  };
  for (const Row& row : rows) {
    for (const bool is_busy : {false, true}) {
      Scene scene;
      is_busy ? scene.make_busy() : scene.make_sticky();
      row.change(scene);
      EXPECT_EQ(scene.round(), is_busy ? row.busy : row.sticky) << row.what << (is_busy ? ", busy" : ", sticky");
    }
  }
  Scene scene;
  EXPECT_EQ(scene.round(), "");
  scene.make_sticky();
  EXPECT_EQ(steer(scene.mesh, scene.policy, NOW).orders.at(0).why,
            "it is received at -75 dBm; it hears the target at -45 dBm and its own access point at -68 dBm");
}

TEST(Steering, LeavesClientsAloneThatDoNotMove) {
  using Status = std::optional<std::uint8_t>;
  for (const Status status : {Status(6), Status(), Status(0)}) {
    const SteeringPolicy policy{.longest_back_off = 20min};
    SteeringRecord record;
    std::vector<long long> minutes;
    for (TimePoint now = NOW; now < NOW + 70min; now += 1min) {
      if (!record.not_before || *record.not_before <= now) {
        minutes.push_back((now - NOW) / 1min);
        record_asked(record, {{}, mac('A', BSS), mac('B', BSS), ""}, policy, now);
        record_answer(record, status, policy, now);
      }
    }
    // Who accepts is believed once, and rests two minutes.
    EXPECT_EQ(minutes,
              status == 0 ? (std::vector<long long>{0, 2, 7, 17, 37, 57}) : (std::vector<long long>{0, 5, 15, 35, 55}));
    record_asked(record, {{}, mac('B', BSS), mac('A', BSS), ""}, policy, NOW + 90min);
    EXPECT_EQ(record.refusals == 0, status == 0) << "it has moved since";
  }
}

}  // namespace
