#include "tools/meshd/multi_ap/discovery.h"

#include "qel/ieee1905_1/message_builder.h"
#include "tests/support/fake_mesh.h"
#include "tests/support/testing.h"

namespace meshd::multi_ap {
namespace {

using namespace qel::ieee1905_1;
using enum MessageType;
using std::chrono::seconds;
using test::CarriedMessage;
using test::FakeMesh;

const TimePoint START{};
const qel::MACAddress AGENT("02:00:00:00:00:01");
const qel::MACAddress FIRST("02:00:00:00:00:02");
const qel::MACAddress SECOND("02:00:00:00:00:03");

CarriedMessage response(std::uint16_t id, ServiceType kind = ServiceType::MULTI_AP_CONTROLLER) {
  SupportedServiceTLV service;
  service.add_service(kind);
  return CarriedMessage(make_message(AP_AUTOCONFIGURATION_RESPONSE_MESSAGE, id, service));
}

struct DiscoveryTest : testing::Test {
  DiscoveryTest() {
    finder.noticed.connect([this](const Notice& notice) { events.push_back(notice.event + ' ' + notice.data); });
  }

  std::uint16_t last_id() const { return mesh.sent_to_all.back().id(); }
  bool answer(const qel::MACAddress& controller, TimePoint now = START, bool is_backhaul = true) {
    const CarriedMessage message = response(last_id());
    Received received = message.from(controller, now);
    received.is_backhaul = is_backhaul;
    return finder.take(received);
  }
  std::vector<std::string> take_events() { return std::exchange(events, {}); }

  test::FakeMesh mesh{AGENT};
  ControllerFinder finder{mesh};
  std::vector<std::string> events;
};

TEST_F(DiscoveryTest, SearchesLessOftenWithTimeAndMoreOftenForNewDevices) {
  std::vector<int> searched_at;
  for (int time = 0; time < 200; ++time) {
    if (time == 100) {
      finder.on_device(FIRST, true, START + seconds(time));
    }
    finder.tend(START + seconds(time));
    searched_at.insert(searched_at.end(), std::exchange(mesh.sent_to_all, {}).size(), time);
  }
  EXPECT_THAT(searched_at, ElementsAre(0, 2, 6, 14, 30, 62, 100, 104, 112, 128, 160));
}

TEST_F(DiscoveryTest, TheFirstControllerIsKeptUntilItIsLost) {
  finder.tend(START);
  EXPECT_FALSE(finder.take(response(last_id(), ServiceType::MULTI_AP_AGENT).from(SECOND, START)));
  EXPECT_FALSE(finder.take(response(static_cast<std::uint16_t>(last_id() + 1)).from(SECOND, START)));
  EXPECT_FALSE(finder.controller());
  for (const qel::MACAddress& controller : {FIRST, SECOND, SECOND}) {
    EXPECT_TRUE(answer(controller));
    EXPECT_EQ(finder.controller(), FIRST);
  }
  const std::string found = "CONTROLLER_FOUND ";
  const std::string lost = "CONTROLLER_LOST ";
  EXPECT_THAT(take_events(), ElementsAre(found + FIRST.to_string(), "SECOND_CONTROLLER " + SECOND.to_string()));

  finder.on_device(FIRST, false, START);
  EXPECT_THAT(take_events(), ElementsAre(lost + FIRST.to_string()));
  answer(SECOND);
  EXPECT_THAT(finder.others().all(), IsEmpty());
  SupportedServiceTLV service;
  service.add_service(ServiceType::MULTI_AP_CONTROLLER);
  const CarriedMessage response(make_message(TOPOLOGY_RESPONSE_MESSAGE, 1, service));
  EXPECT_FALSE(finder.take(response.from(SECOND, START + seconds(199))));
  Received elsewhere = response.from(SECOND, START + seconds(300));
  elsewhere.is_backhaul = false;
  EXPECT_FALSE(finder.take(elsewhere));
  answer(SECOND, START + seconds(300), false);
  const CarriedMessage empty(make_message(TOPOLOGY_RESPONSE_MESSAGE, 2));
  EXPECT_FALSE(finder.take(empty.from(SECOND, START + seconds(300))));
  finder.tend(START + seconds(398));
  EXPECT_THAT(take_events(), ElementsAre(found + SECOND.to_string()))
      << "kept by the first response, and by nothing later";
  finder.tend(START + seconds(399));
  EXPECT_THAT(take_events(), ElementsAre(lost + SECOND.to_string()));
}

TEST_F(DiscoveryTest, AControllerWhereNoneMayGiveOrdersGivesWay) {
  finder.tend(START);
  struct {
    qel::MACAddress from;
    bool is_backhaul;
    qel::MACAddress controller;
  } const steps[] = {{SECOND, false, SECOND}, {FIRST, false, SECOND}, {FIRST, true, FIRST}, {SECOND, true, FIRST}};
  for (const auto& [from, is_backhaul, controller] : steps) {
    answer(from, START, is_backhaul);
    EXPECT_EQ(finder.controller(), controller);
  }
  for (std::uint8_t last = 0; last < 100; ++last) {
    answer(qel::MACAddress({2, 0, 0, 0, 1, last}));
  }
  EXPECT_THAT(finder.others().all(), SizeIs(OtherControllers::MOST)) << "invented controllers fill no memory";
}

}  // namespace
}  // namespace meshd::multi_ap
