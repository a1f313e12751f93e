#pragma once

#include "qel/ieee1905_1/message_builder.h"
#include "tests/support/fake_mesh.h"
#include "tests/support/testing.h"
#include "tools/meshd/agent/agent.h"
#include "tools/meshd/wifi/simulated_air.h"

namespace meshd::test {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): most of these tests is about it
using qel::MACAddress;
using namespace std::chrono_literals;

inline constexpr MACAddress SELF{{2, 0x19, 5, 0xA0, 0, 1}};
inline constexpr MACAddress CONTROLLER{{2, 0x19, 5, 0xA0, 0, 0x99}};
inline constexpr MACAddress FIVE{{2, 0x19, 5, 0x10, 0, 5}};    // a radio at 5 GHz
inline constexpr MACAddress TWO{{2, 0x19, 5, 0x10, 0, 2}};     // and one at 2.4 GHz
inline constexpr MACAddress HOME_5{{2, 0x19, 5, 0xB0, 0, 5}};  // their BSSs
inline constexpr MACAddress HOME_2{{2, 0x19, 5, 0xB0, 0, 2}};
inline constexpr MACAddress FAR{{2, 0x19, 5, 0xB0, 0, 0xFF}};  // a BSS of another agent
inline constexpr MACAddress ANN{{2, 0x19, 5, 0xC0, 0, 1}};     // clients of HOME_5
inline constexpr MACAddress BOB{{2, 0x19, 5, 0xC0, 0, 2}};
inline constexpr MACAddress CAT{{2, 0x19, 5, 0xC0, 0, 3}};     // a client of nobody
inline constexpr MACAddress UPLINK{{2, 0x19, 5, 0xD0, 0, 1}};  // the backhaul station of FIVE

/// A device with two radios: channel 36 at 80 MHz with Ann and Bob, who is far away and cannot be asked to move, and
/// channel 1.
class AgentFixture : public ::testing::Test {
 protected:
  AgentFixture() {
    air.state = {wifi::simulated_radio(FIVE, {qel::FrequencyBand::BAND_5_GHZ}),
                 wifi::simulated_radio(TWO, {qel::FrequencyBand::BAND_2_4_GHZ}, qel::ChannelWidth::WIDTH_20_MHZ)};
    air.state[0].channel = wifi::simulated_channel(qel::kHz(5180000), qel::ChannelWidth::WIDTH_80_MHZ);
    air.state[0].bss = {{HOME_5, "wlan0", "home"}};
    air.state[0].bss[0].clients = {wifi::simulated_client(ANN), wifi::simulated_client(BOB, -85)};
    air.state[0].bss[0].clients[1].can_move = false;
    air.state[1].channel = wifi::simulated_channel(qel::kHz(2412000));
    air.state[1].bss = {{HOME_2, "wlan1", "home"}};
    agent.noticed.connect([this](const multi_ap::Notice& notice) { notices.push_back(notice.line); });
    agent.tend(now);  // reports the channels
    sent();
  }

  /// Sends a message to the agent, lets the radios act, and returns the debug text of what the agent sends.
  std::vector<std::string> ask(const Message& message, const MACAddress& from = CONTROLLER) {
    const CarriedMessage carried(message);
    agent.take(carried.from(from, now));
    while (air.deliver()) {
    }
    return sent();
  }
  /// Acknowledges it too.
  std::vector<std::string> sent() {
    std::vector<std::string> texts;
    for (const CarriedMessage& message : mesh.take()) {
      if (acknowledges) {
        agent.take(CarriedMessage(make_message(MessageType::IEEE1905_ACK_MESSAGE, message.id())).from(message.to, now));
      }
      std::ostringstream text;
      text << message.message();
      texts.push_back(text.str());
    }
    return texts;
  }
  /// Lets the time pass, in steps of a second, and returns what the agent sends meanwhile.
  std::vector<std::string> wait(std::chrono::seconds time) {
    for (; time > 0s; time -= 1s) {
      now += 1s;
      agent.tend(now);
      air.deliver();
    }
    return sent();
  }

  bool acknowledges = true;
  multi_ap::TimePoint now{1h};
  std::optional<MACAddress> controller = CONTROLLER;
  std::vector<std::string> notices;
  wifi::SimulatedAir air;
  FakeMesh mesh{SELF};
  agent::Agent agent{mesh, air, {[this] { return controller; }}};
};

}  // namespace meshd::test
