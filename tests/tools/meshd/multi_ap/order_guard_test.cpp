#include "tools/meshd/multi_ap/order_guard.h"

#include "qel/ieee1905_1/message_builder.h"
#include "tests/support/fake_mesh.h"
#include "tests/support/testing.h"

namespace meshd::multi_ap {
namespace {

using namespace qel::ieee1905_1;
using std::chrono::seconds;
using test::CarriedMessage;
using enum OrderGuard::Verdict;

const TimePoint START{};
const qel::MACAddress US("02:00:00:00:00:01");
const qel::MACAddress CONTROLLER("02:00:00:00:00:02");
const qel::MACAddress OTHER("02:00:00:00:00:03");

CarriedMessage order(std::uint16_t id) {
  return CarriedMessage(make_message(MessageType::CLIENT_STEERING_REQUEST_MESSAGE, id));
}

struct OrderGuardTest : testing::Test {
  std::optional<qel::MACAddress> controller = CONTROLLER;
  std::vector<std::string> lines;
  OrderGuard guard{US, [this] { return controller; }, [this](const Notice& notice) { lines.push_back(notice.line); }};
};

TEST_F(OrderGuardTest, ObeysOnlyTheControllerOnlyOnBackhaulPorts) {
  const CarriedMessage steer = order(1);
  const CarriedMessage relayed(MessageBuilder(MessageType::CLIENT_STEERING_REQUEST_MESSAGE).relay().build());
  Received unmarked = steer.from(CONTROLLER, START, "wlan0");
  unmarked.is_backhaul = false;
  struct Case {
    std::optional<qel::MACAddress> controller;
    Received received;
    Order order;
    OrderGuard::Verdict verdict;
    std::string line;
  };
  const std::string from = "'steer' from 02:00:00:00:00:0";
  const Case cases[] = {
      {CONTROLLER, steer.from(CONTROLLER, START), Order::STEER, OBEY, "obeying the order " + from + "2 on eth0: it"},
      {US, steer.from(US, START, ""), Order::STEER, OBEY, "obeying the order 'steer' from this device: it"},
      {{},
       steer.from(CONTROLLER, START),
       Order::STEER,
       REFUSE,
       "refused the order " + from + "2 on eth0 (it): no controller is known"},
      {CONTROLLER, steer.from(OTHER, START), Order::STEER, REFUSE,
       "refused the order " + from + "3 on eth0 (it): the controller is 02:00:00:00:00:02"},
      {CONTROLLER, unmarked, Order::STEER, REFUSE,
       "refused the order " + from + "2 on wlan0 (it): wlan0 is not marked with --backhaul"},
      {CONTROLLER, relayed.from(CONTROLLER, START), Order::STEER, REFUSE,
       "refused the order " + from + "2 on eth0 (it): it was sent to all"},
      {{}, unmarked, Order::QUERY, OBEY, ""},
  };
  for (const Case& one : cases) {
    std::string line;
    OrderGuard fresh(
        US, [&] { return one.controller; }, [&](const Notice& notice) { line = notice.line; });
    EXPECT_EQ(fresh.judge(one.received, one.order, "it"), one.verdict) << one.line;
    EXPECT_EQ(line, one.line);
  }
}

TEST_F(OrderGuardTest, LimitsEachKindAndLogsRefusalsOnceASecond) {
  int obeyed = 0;
  for (std::uint16_t id = 0; id < 100; ++id) {
    obeyed += guard.judge(order(id).from(CONTROLLER, START), Order::CHANNEL) == OBEY ? 1 : 0;
  }
  EXPECT_EQ(obeyed, 6);
  EXPECT_THAT(lines, SizeIs(7));
  EXPECT_EQ(guard.judge(order(3).from(CONTROLLER, START), Order::CHANNEL), REPEATED);
  EXPECT_EQ(guard.judge(order(200).from(CONTROLLER, START), Order::STEER), OBEY);
  EXPECT_EQ(guard.judge(order(3).from(CONTROLLER, START + seconds(10)), Order::CHANNEL), OBEY) << "forgotten by now";
  EXPECT_EQ(guard.judge(order(4).from(CONTROLLER, START + seconds(10)), Order::CHANNEL), REFUSE);
  EXPECT_THAT(lines.back(), EndsWith(": too many of this kind (and 93 more before it)"));
}

TEST_F(OrderGuardTest, StrangersThatAskTooMuchDoNotKeepTheControllerFromAsking) {
  int answered = 0;
  for (std::uint16_t id = 0; id < 1000; ++id) {
    const CarriedMessage query = order(id);
    Received forged = query.from(CONTROLLER, START, "wlan0");
    forged.is_backhaul = false;
    for (const Received& received : {query.from(OTHER, START), forged}) {
      answered += guard.judge(received, Order::QUERY) == OBEY ? 1 : 0;
    }
  }
  EXPECT_EQ(answered, 128);
  EXPECT_EQ(guard.judge(order(1).from(CONTROLLER, START), Order::QUERY), OBEY);
}

}  // namespace
}  // namespace meshd::multi_ap
