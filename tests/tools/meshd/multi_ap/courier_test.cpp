#include "tools/meshd/multi_ap/courier.h"

#include "qel/ieee1905_1/message_builder.h"
#include "tests/support/fake_mesh.h"
#include "tests/support/testing.h"

namespace meshd::multi_ap {
namespace {

using namespace qel::ieee1905_1;
using enum MessageType;
using std::chrono::seconds;
using test::CarriedMessage;

const TimePoint START{};
const qel::MACAddress US("02:00:00:00:00:01");
const qel::MACAddress AGENT("02:00:00:00:00:02");
const qel::MACAddress OTHER("02:00:00:00:00:03");
const ErrorCodeTLV REASON(ErrorReasonCode::STA_ASSOCIATED_WITH_BSS_OPERATED_BY_AGENT, OTHER);

struct CourierTest : testing::Test {
  void ask(std::uint16_t id, MessageType answer, TimePoint at = START, const qel::MACAddress& to = AGENT) {
    courier.request(to, make_message(AP_CAPABILITY_QUERY_MESSAGE, id), answer, at,
                    [this, id](Outcome outcome, const Message* message, std::chrono::milliseconds took) {
                      outcomes.push_back(std::to_string(id) + ' ' + "DRG"[static_cast<int>(outcome)] +
                                         (message == nullptr ? " -" : " +") + ' ' + std::to_string(took.count()));
                    });
  }

  test::FakeMesh mesh{US};
  Courier courier{mesh};
  std::vector<std::string> outcomes;
};

TEST_F(CourierTest, TakesOnlyTheAnswerOfTheDeviceThatWasAsked) {
  struct Case {
    MessageType awaited;
    CarriedMessage answer;
    qel::MACAddress from;
    std::string outcome;  // empty: it is not for us
  };
  const auto message = [](MessageType type, std::uint16_t id = 7) { return CarriedMessage(make_message(type, id)); };
  const auto refusing = [](MessageType type) { return CarriedMessage(make_message(type, 7, REASON)); };
  const MessageType REPORT = AP_CAPABILITY_REPORT_MESSAGE;
  const MessageType ACK = IEEE1905_ACK_MESSAGE;
  Case cases[] = {
      {REPORT, message(REPORT), AGENT, "7 D + 1000"},
      {REPORT, message(REPORT, 8), AGENT, ""},
      {REPORT, message(REPORT), OTHER, ""},
      {REPORT, message(ACK), AGENT, ""},
      {REPORT, refusing(REPORT), AGENT, "7 R + 1000"},
      {REPORT, refusing(ACK), AGENT, "7 R + 1000"},
      {REPORT, refusing(CLIENT_CAPABILITY_REPORT_MESSAGE), AGENT, ""},
      {REPORT, message(ERROR_RESPONSE_MESSAGE), AGENT, "7 R + 1000"},
      {ACK, message(ACK), AGENT, "7 D + 1000"},
      {ACK, refusing(ACK), AGENT, "7 R + 1000"},
      {ACK, CarriedMessage(MessageBuilder(ACK, 7).relay().build()), AGENT, ""},
  };
  for (const Case& one : cases) {
    courier.forget(AGENT);
    courier.tend(START);
    outcomes.clear();
    ask(7, one.awaited);
    const Received received = one.answer.from(one.from, START + seconds(1));
    EXPECT_EQ(courier.take(received), !one.outcome.empty()) << received.message();
    EXPECT_THAT(outcomes, testing::ElementsAreArray(one.outcome.empty() ? std::vector<std::string>()
                                                                        : std::vector<std::string>{one.outcome}));
    EXPECT_FALSE(!one.outcome.empty() && courier.take(received)) << "a second answer is of no use";
  }
}

TEST_F(CourierTest, RepeatsAndGivesUp) {
  mesh.has_way = false;
  ask(7, IEEE1905_ACK_MESSAGE);
  std::vector<int> sent_at{0};
  for (int second = 1; second <= 10; ++second) {
    const std::size_t before = mesh.sent.size();
    courier.tend(START + seconds(second));
    sent_at.insert(sent_at.end(), mesh.sent.size() - before, second);
  }
  EXPECT_THAT(sent_at, ElementsAre(0, 2, 4));
  EXPECT_THAT(mesh.sent, Each(testing::Property(&CarriedMessage::id, 7)));
  EXPECT_THAT(outcomes, ElementsAre("7 G - 6000"));
}

TEST_F(CourierTest, GivesUpWhatIsDisplacedWithTheNextTend) {
  ask(1, IEEE1905_ACK_MESSAGE, START, OTHER);
  for (std::uint16_t id = 1; id <= Courier::MOST_WAITING; ++id) {
    ask(id, IEEE1905_ACK_MESSAGE);
  }
  EXPECT_EQ(courier.count_waiting(), Courier::MOST_WAITING);
  ask(9, IEEE1905_ACK_MESSAGE, START + seconds(1));  // its first one waits
  EXPECT_THAT(outcomes, IsEmpty());
  courier.tend(START + seconds(1));
  EXPECT_THAT(outcomes, ElementsAre("1 G - 1000", "9 G - 1000"));
  courier.forget(AGENT);
  EXPECT_EQ(courier.count_waiting(), 0U);
  courier.tend(START + seconds(1));
  EXPECT_THAT(outcomes, SizeIs(Courier::MOST_WAITING + 2));
}

}  // namespace
}  // namespace meshd::multi_ap
