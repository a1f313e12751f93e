#include "tools/meshd/entity/inquirer.h"

#include <numeric>

#include "qel/ieee1905_1/message_builder.h"
#include "tests/support/octets.h"
#include "tests/support/testing.h"
#include "tests/tools/meshd/wire.h"
#include "tools/meshd/entity/messages.h"

namespace meshd::test {
namespace {

using namespace qel::ieee1905_1;
using namespace std::chrono_literals;
using enum MessageType;

/// Device 1 with an interface to each of its neighbours 2 and 3; behind them is what the test says.
class InquirerTest : public testing::Test {
 protected:
  InquirerTest() {
    discover();
    device.entity.tend(now);
  }

  void TearDown() override {
    for (const auto& [al_mac, other] : device.entity.devices().all()) {
      EXPECT_EQ(other.scheduled_for, other.inquiry.next_step()) << al_mac;
    }
  }

  void discover() {
    for (const std::uint8_t neighbor : std::initializer_list<std::uint8_t>{2, 3}) {
      const auto mac = interface_mac(static_cast<std::uint8_t>(neighbor * 16 + 1));
      receive(neighbor - 2U, topology_discovery(device_mac(neighbor), mac), neighbor);
    }
  }

  void receive(std::size_t interface, const Message& message, std::uint8_t sender) {
    Codec codec;
    const bool is_to_all = message.get_head().get_message_type() == TOPOLOGY_DISCOVERY_MESSAGE;
    for (const auto& frame :
         codec.encode(is_to_all ? CMDU_MULTICAST_ADDRESS : device_mac(1), device_mac(sender), message)) {
      device.entity.receive(interface, frame, now);
    }
  }

  /// The questions that were put to a device since the last call, where and with which identifier.
  std::vector<std::pair<std::size_t, std::uint16_t>> questions(std::uint8_t to,
                                                               MessageType type = TOPOLOGY_QUERY_MESSAGE) {
    std::vector<std::pair<std::size_t, std::uint16_t>> found;
    std::erase_if(device.ports.sent, [&](const SentFrame& frame) {
      const bool is_one = frame.destination() == device_mac(to) && frame.type() == type;
      if (is_one) {
        found.emplace_back(frame.interface, frame.id());
      }
      return is_one;
    });
    return found;
  }

  /// The device tells of its neighbours, in answer to the last question.
  void answer(std::uint8_t sender, const std::vector<std::uint8_t>& neighbors, std::size_t interface,
              const std::vector<qel::MACAddress>& hosts = {}) {
    NeighborTable table;
    for (const std::uint8_t neighbor : neighbors) {
      table.discover(device_mac(neighbor), 0, interface_mac(neighbor), now);
    }
    answer_with(sender, table, interface, hosts);
  }

  void answer_with(std::uint8_t sender, const NeighborTable& table, std::size_t interface,
                   const std::vector<qel::MACAddress>& hosts = {}) {
    const auto asked = questions(sender);
    ASSERT_FALSE(asked.empty()) << int(sender);
    const std::vector<LocalInterface> interfaces{
        {"eth0", interface_mac(static_cast<std::uint8_t>(sender * 16 + 1)), ""}};
    receive(
        interface,
        topology_response(asked.back().second, {device_mac(sender), {0, sender}, interfaces, {{}}, {hosts}, {}, table}),
        sender);
  }

  void pass(std::chrono::milliseconds time) {
    for (const TimePoint end = now + time; now < end;) {
      now += 1s;
      discover();  // they are alive
      device.entity.tend(now);
    }
  }

  DeviceState state_of(std::uint8_t number) { return device.entity.devices().all().at(device_mac(number)).state; }

  TimePoint now{};
  Device device{1, 2};
};

TEST_F(InquirerTest, AsksOnAndOnAndForgetsWhatIsNotToldOfAnyMore) {
  answer(2, {1, 4}, 0);
  answer(4, {2, 5}, 0);  // is asked at once, and so on: over the interface to who told of it
  answer(5, {4}, 0);
  EXPECT_THAT(device.ports.events, testing::Contains("found " + device_mac(5).to_string()));
  const meshd::Device& far = device.entity.devices().all().at(device_mac(5));
  EXPECT_EQ(far.hops, 3U);
  EXPECT_EQ(far.told_by, device_mac(4));
  EXPECT_EQ(far.told.meshd_version, qel::BasicVersion(0, 5));
  device.ports.events.clear();

  for (int times = 0; times < 10; ++times) {
    receive(0, topology_notification(device_mac(2)), 2);
    EXPECT_THAT(questions(2), IsEmpty()) << "later, and then once";
  }
  pass(1s);
  EXPECT_EQ(std::ranges::count_if(device.ports.sent,
                                  [](const SentFrame& frame) {
                                    return frame.destination() == device_mac(2) &&
                                           frame.type() == TOPOLOGY_QUERY_MESSAGE;
                                  }),
            1);
  answer(2, {1}, 0);
  pass(1s);
  EXPECT_THAT(device.ports.events,
              ElementsAre("lost " + device_mac(4).to_string(), "lost " + device_mac(5).to_string()));
  EXPECT_THAT(device.entity.devices().all(), SizeIs(2));
}

TEST_F(InquirerTest, TriesOtherWaysAndShowsWhoDoesNotAnswer) {
  answer(2, {1, 4}, 0);
  pass(11s);
  const auto asked = questions(4);
  ASSERT_THAT(asked, SizeIs(4));
  for (std::size_t i = 0; i < asked.size(); ++i) {
    EXPECT_EQ(asked[i].first, i % 2) << "by turns";
  }
  EXPECT_EQ(state_of(4), DeviceState::HEARD_OF);
  pass(15s);
  EXPECT_EQ(state_of(4), DeviceState::UNREACHABLE);
  EXPECT_EQ(device.entity.devices().all().at(device_mac(4)).told_by, device_mac(2));
  questions(4);
  pass(2min);
  answer(4, {2}, 1);
  EXPECT_EQ(state_of(4), DeviceState::ANSWERED);
  receive(0, topology_query(), 4);  // which anybody can send
  receive(1, topology_notification(device_mac(4)), 4);
  pass(2s);
  EXPECT_EQ(questions(4, TOPOLOGY_QUERY_MESSAGE).at(0).first, 1U) << "where it answered";
}

TEST_F(InquirerTest, AsksForMetricsOfOneNeighborAfterTheOther) {
  NeighborTable table;
  for (const std::uint8_t neighbor : std::initializer_list<std::uint8_t>{1, 4}) {
    table.discover(device_mac(neighbor), 0, interface_mac(neighbor), now);
  }
  answer_with(2, table, 0);
  for (const std::size_t known : {1U, 2U}) {
    const auto asked = questions(2, LINK_METRIC_QUERY_MESSAGE);
    ASSERT_THAT(asked, SizeIs(1)) << "one at a time";
    receive(0,
            link_metric_response(asked[0].second, {{}, LinkMetricQuery::TX_RX_LINK_METRY}, device_mac(2),
                                 {{"eth0", interface_mac(0x21), ""}}, {{}}, table),
            2);
    EXPECT_THAT(device.entity.devices().all().at(device_mac(2)).told.transmitter_metrics, SizeIs(known))
        << "others than the one asked for do not count";
  }
  EXPECT_THAT(questions(2, LINK_METRIC_QUERY_MESSAGE), IsEmpty());
}

TEST_F(InquirerTest, DoesNotAskForeverForMetricsThatNeverCome) {
  std::vector<std::uint8_t> others(60);
  std::iota(others.begin(), others.end(), std::uint8_t{4});
  std::size_t asked = 0;
  for (const std::size_t most : {1000U, 200U}) {
    asked = 0;
    for (int second = 0; second < 900; ++second) {
      pass(1s);
      if (std::ranges::any_of(device.ports.sent, [](const SentFrame& frame) {
            return frame.destination() == device_mac(2) && frame.type() == TOPOLOGY_QUERY_MESSAGE;
          })) {
        answer(2, others, 0);
      }
      for (auto queries = questions(2, LINK_METRIC_QUERY_MESSAGE); !queries.empty();
           queries = questions(2, LINK_METRIC_QUERY_MESSAGE)) {
        ++asked;
        receive(0, make_message(LINK_METRIC_RESPONSE_MESSAGE, queries.back().second), 2);
      }
    }
    EXPECT_GE(asked, 60U);
    EXPECT_LE(asked, most);
  }
}

TEST_F(InquirerTest, TakesNoMoreNeighborsThanOneDeviceMayHave) {
  NeighborTable table(ToldByDevice::MOST_NEIGHBORS + 1);
  for (std::size_t i = 0; i <= ToldByDevice::MOST_NEIGHBORS; ++i) {
    table.discover(mac(static_cast<std::uint8_t>(0xB0 + i / 256), static_cast<std::uint8_t>(i)), 0, interface_mac(1),
                   now);
  }
  answer_with(2, table, 0);
  EXPECT_THAT(device.entity.devices().all().at(device_mac(2)).told.neighbor_al_macs(),
              SizeIs(ToldByDevice::MOST_NEIGHBORS));
}

TEST_F(InquirerTest, PacesQuestionsAndTakesFewWhoNeverAnswered) {
  std::vector<std::uint8_t> many;
  for (std::uint8_t number = 100; number < 250; ++number) {
    many.push_back(number);
  }
  answer(2, many, 0);
  EXPECT_THAT(device.entity.devices().all(), SizeIs(2 + DeviceMap::MOST_UNPROVEN));
  const auto asked = [&] {
    return std::ranges::count_if(device.ports.take(), [](const SentFrame& frame) {
      return frame.destination().octets()[5] >= 100 && frame.type() == TOPOLOGY_QUERY_MESSAGE;
    });
  };
  EXPECT_EQ(asked(), Inquirer::QUESTIONS_AT_ONCE);
  pass(10s);
  EXPECT_LE(asked(), 11 * Inquirer::QUESTIONS_A_SECOND);
  for (std::uint8_t number = 10; number < 90; ++number) {  // invented
    receive(1, topology_notification(device_mac(number)), number);
  }
  EXPECT_THAT(device.entity.devices().all(), SizeIs(2 + 2 * DeviceMap::MOST_UNPROVEN));
  EXPECT_EQ(device.entity.counts().ignored, 80 - DeviceMap::MOST_UNPROVEN);
  pass(DeviceMap::NOTICE_TIME + 1s);
  EXPECT_THAT(device.entity.devices().all(), SizeIs(2 + DeviceMap::MOST_UNPROVEN)) << "they never answered";
}

TEST_F(InquirerTest, NearDevicesKeepTheirPlaceInAFullMap) {
  DeviceMap map(device_mac(1), 3);
  const auto tell = [&](std::uint8_t teller, const std::vector<std::uint8_t>& neighbors) {
    ToldByDevice told;
    IEEE1905NeighborDeviceTLV tlv;
    for (const std::uint8_t neighbor : neighbors) {
      tlv.add_AL_MAC_neighbor({device_mac(neighbor), {}});
    }
    told.neighbors.push_back(tlv);
    map.take_told(*map.find(device_mac(teller)), std::move(told));
    map.find(device_mac(teller))->answered_at = now;
    return map.take_neighbors_of(device_mac(teller));
  };
  map.take_neighbor(device_mac(2), 0);
  EXPECT_THAT(tell(2, {1, 3}), ElementsAre(device_mac(3)));
  EXPECT_THAT(tell(3, {4, 5}), ElementsAre(device_mac(4)));
  EXPECT_NE(map.take_neighbor(device_mac(6), 0), nullptr);
  EXPECT_EQ(map.find(device_mac(4)), nullptr) << "the farthest gave way";
  EXPECT_THAT(tell(3, {4, 5}), IsEmpty());
  EXPECT_NE(map.take_neighbor(device_mac(7), 0), nullptr);
  EXPECT_EQ(map.take_neighbor(device_mac(8), 0), nullptr) << "beside neighbors only";
  ToldByDevice much;
  much.hosts.resize(400);
  map.take_told(*map.find(device_mac(7)), std::move(much));
  EXPECT_THAT(map.find(device_mac(7))->told.hosts, IsEmpty()) << "more than three devices may take";
  NeighborTable neighbors;
  neighbors.discover(device_mac(2), 0, interface_mac(0x21), now);
  map.walk(neighbors, now);
  EXPECT_TRUE(map.is_waiting()) << "there is room again";
  map.walk(neighbors, now);
  EXPECT_NE(map.find(device_mac(3)), nullptr);
  EXPECT_FALSE(map.is_waiting());
}

TEST_F(InquirerTest, KeepsWhatWasToldHoweverManyComeAndGo) {
  DeviceMap map(device_mac(1), 4);
  NeighborTable table;
  table.discover(device_mac(2), 0, interface_mac(0x21), now);
  for (int round = 0; round < 100; ++round) {
    map.take_neighbor(device_mac(3), 0);
    map.walk(table, now);
    ASSERT_EQ(map.find(device_mac(3)), nullptr);
    ToldByDevice told;
    told.name = "two";
    map.take_told(*map.find(device_mac(2)), told);
    ASSERT_EQ(map.find(device_mac(2))->told.name, "two") << round;
  }
}

TEST_F(InquirerTest, KeepsOfADeviceWhatFitsInterfacesFirst) {
  DeviceMap map(device_mac(1), 4);
  meshd::Device& much = *map.take_neighbor(device_mac(2), 0);
  IEEE1905NeighborDeviceTLV neighbors(interface_mac(0x21));
  for (std::uint8_t number = 0; number < 250; ++number) {
    neighbors.add_AL_MAC_neighbor({mac(0x60, number), IEEE802_1_Bridge::NO_IEEE802_1_BRIDGE});
  }
  ToldByDevice told;
  told.interfaces.resize(20);
  told.neighbors = {neighbors, neighbors};
  map.take_told(much, told);
  EXPECT_THAT(much.told.interfaces, SizeIs(20));
  EXPECT_GT(much.told.neighbor_al_macs().size(), 50U);
  EXPECT_LT(much.told.cost(), DeviceMap::DEVICE_SIZE + DeviceMap::DEVICE_SIZE / 4);
  told.interfaces.resize(1000);
  map.take_told(much, told);
  EXPECT_GT(much.told.interfaces.size(), 20U);
  EXPECT_THAT(much.told.neighbors, IsEmpty());
  EXPECT_TRUE(much.is_truncated);
  map.take_told(much, {});
  EXPECT_FALSE(much.is_truncated);
  EXPECT_EQ(map.count_truncated(), 2U);
}

TEST_F(InquirerTest, LeavesEachDeviceMemoryOfItsOwn) {
  DeviceMap map(device_mac(1), 16);
  const auto tell = [&](std::uint8_t teller, std::size_t neighbors, std::size_t others) {
    ToldByDevice told;
    told.neighbors.resize(neighbors);
    told.hosts.resize(others);
    told.transmitter_metrics.resize(others);
    map.take_told(*map.take_neighbor(device_mac(teller), 0), std::move(told));
    return map.find(device_mac(teller))->told;
  };
  for (std::uint8_t greedy = 2; greedy < 12; ++greedy) {
    std::size_t count = 1024;
    while (count > 4 && tell(greedy, count, 0).neighbors.empty()) {
      count /= 2;
    }
  }
  const ToldByDevice told = tell(12, 20, 400);
  EXPECT_THAT(told.neighbors, SizeIs(20));
  EXPECT_THAT(told.hosts, IsEmpty());
  EXPECT_THAT(told.transmitter_metrics, IsEmpty());
}

TEST_F(InquirerTest, TellsALinkFromABridgedOne) {
  const auto is_bridged = [&](std::uint8_t number) {
    return device.entity.neighbors().find(device_mac(number))->links.at(0).is_bridged;
  };
  const Octets notice = encode_lldp({device_mac(2), interface_mac(0x21), 180s});
  EXPECT_EQ(notice, qel::test::octets("0180C200000E 021905100021 88CC"
                                      "02 07 04 021905A00002 04 07 03 021905100021 06 02 00B4 00 00"));
  Octets others = notice;
  others[16] = 5;  // the chassis by another thing than its address
  device.entity.receive(0, others, now);
  device.entity.receive(1, notice, now);  // from another interface of a bridge's
  EXPECT_TRUE(is_bridged(2));
  device.ports.take();
  device.entity.receive(0, notice, now);
  EXPECT_FALSE(is_bridged(2));
  EXPECT_TRUE(is_bridged(3));
  const auto notifications = [&] {
    return std::ranges::count(device.ports.take(), TOPOLOGY_NOTIFICATION_MESSAGE, &SentFrame::type);
  };
  pass(1s);
  EXPECT_EQ(notifications(), 2) << "over both interfaces";
  pass(4min);
  EXPECT_TRUE(is_bridged(2)) << "nothing was heard that a bridge would not forward";
  EXPECT_EQ(notifications(), 2);
  const auto tell = [&](std::uint16_t time_to_live) {
    Octets timed = notice;
    timed[34] = static_cast<std::uint8_t>(time_to_live >> 8U);
    timed[35] = static_cast<std::uint8_t>(time_to_live);
    device.entity.receive(0, timed, now);
  };
  for (const auto& [time_to_live, time] : {std::pair(1, 2min), std::pair(600, 9min), std::pair(0xFFFF, 29min)}) {
    tell(static_cast<std::uint16_t>(time_to_live));
    pass(time);
    EXPECT_FALSE(is_bridged(2)) << time_to_live;
    pass(2min);
    EXPECT_TRUE(is_bridged(2)) << time_to_live;
  }
  tell(600);
  tell(0);
  EXPECT_TRUE(is_bridged(2)) << "withdrawn";
  for (std::size_t size = 0; size < notice.size(); ++size) {
    device.entity.receive(0, std::span(notice).first(size), now);
  }
}

TEST_F(InquirerTest, UnderstandsWhatItCanOfOthers) {
  const auto octets = [](const char* text) { return qel::test::octets(text); };
  // A notification without an AL MAC, with TLVs of others, as in the captures; then the same with one of a type that
  // nobody knows.
  const Octets notification = octets(
      "0180C2000013 021905A00003 893A 0000 0001 0015 00C0"
      "92 000D 02AABBCCDD01 021905000A10 80 0B 0004 000347 55 000000");
  const Octets newer = octets("0180C2000013 021905A00003 893A 0000 0001 0016 00C0 F7 0002 0102 01 0002 0000 000000");
  answer(3, {}, 1);
  for (const Octets& frame : {notification, newer}) {
    device.ports.take();
    device.entity.receive(1, frame, now);
    pass(1s);
    EXPECT_THAT(questions(3), SizeIs(1));
    now += 1min;
  }
  // A discovery and a query with a TLV of no class before the one that is needed.
  for (const char* frame : {"0180C2000013 021905A00004 893A 0000 0000 0017 0080 11 0001 55"
                            " 01 0006 021905A00004 02 0006 021905100041 000000",
                            "021905A00001 021905A00004 893A 0000 0002 0018 0080 11 0001 55 000000"}) {
    device.ports.take();
    device.entity.receive(1, octets(frame), now);
    EXPECT_THAT(device.ports.take(), Not(IsEmpty())) << "a question, and an answer";
  }
  // A response with a TLV of no class before the one that is needed, and a damaged one behind it.
  const std::uint64_t rejected = device.entity.counts().rejected;
  const auto response = [&](const char* tlvs) {
    receive(1, topology_notification(device_mac(3)), 3);
    pass(2s);
    const std::uint16_t id = questions(3).at(0).second;
    Octets frame = octets("021905A00001 021905A00003 893A 0000 0003 0000 0080");
    frame[18] = static_cast<std::uint8_t>(id >> 8U);
    frame[19] = static_cast<std::uint8_t>(id);
    const Octets rest = octets(tlvs);
    frame.insert(frame.end(), rest.begin(), rest.end());
    device.entity.receive(1, frame, now);
    return device.entity.devices().all().at(device_mac(3)).told.interfaces.size();
  };
  EXPECT_EQ(
      response("F7 0001 00 03 0019 021905A00003 02 021905100031 0001 00 021905100032 0001 00 07 0003 010203 000000"),
      2U);
  EXPECT_EQ(device.entity.counts().unknown_tlvs, 4U);
  EXPECT_EQ(device.entity.counts().malformed_tlvs, 2U);
  EXPECT_EQ(device.entity.counts().rejected, rejected);
}

TEST_F(InquirerTest, TellsOfTheHostsThatAreItsOwn) {
  const auto behind = [&](std::size_t interface, std::initializer_list<std::uint8_t> hosts) {
    device.ports.hosts[interface].clear();
    for (const std::uint8_t host : hosts) {
      device.ports.hosts[interface].push_back(mac(0x40, host));
    }
  };
  device.entity.add_interface({"eth2", interface_mac(0x13), "br0"});
  behind(0, {1, 2});
  behind(1, {3});
  behind(2, {4, 2});
  device.ports.hosts[2].insert(device.ports.hosts[2].end(), {device_mac(2), interface_mac(0x21)});
  answer(2, {}, 0, {mac(0x40, 2)});
  device.entity.receive(1, encode_lldp({device_mac(3), interface_mac(0x31), 1s}), now);
  const auto hosts = device.entity.find_hosts(now);
  EXPECT_THAT(hosts[0], ElementsAre(mac(0x40, 1))) << "through bridges, but for what another has";
  EXPECT_THAT(hosts[1], IsEmpty()) << "all is behind the neighbor";
  EXPECT_THAT(hosts[2], ElementsAre(mac(0x40, 4), mac(0x40, 2))) << "no neighbor there";
}

}  // namespace
}  // namespace meshd::test
