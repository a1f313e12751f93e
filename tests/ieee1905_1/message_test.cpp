#include "qel/ieee1905_1/message.h"

#include "tests/ieee1905_1/tlv_test.h"

namespace qel::ieee1905_1 {
namespace {

using std::make_unique;
using AL = MACAddressTLVCommon<TLVType::AL_MAC_ADDRESS>;
using MAC = MACAddressTLVCommon<TLVType::MAC_ADDRESS>;
using enum MessageVersion;
using enum MessageType;

static_assert(!std::is_copy_constructible_v<Message> && std::is_move_constructible_v<Message>);

const MessageHead DISCOVERY(IEEE1905_1, TOPOLOGY_DISCOVERY_MESSAGE, 0x0102, 0, true, false);

MessageHead odd_head() {
  return fields(MessageHead(), FIELD(message_version), MessageVersion(7), FIELD(message_type), MessageType(0x1234),
                FIELD(message_id), 1, FIELD(fragment_id), 255, FIELD(relay_indicator), true);
}

TEST(MessageHead, Golden) {
  const std::vector<std::size_t> reserved = {1};
  test::check_golden_of(
      fields(MessageHead(IEEE1905_1, BEACON_METRICS_RESPONSE_MESSAGE, 0x3456, 2, true, true),
             FIELD(last_fragment_indicator), true),
      "00 00 8012 3456 02 C0",
      "Type: BEACON_METRICS_RESPONSE_MESSAGE version: IEEE1905_1 MID: 13398 FID: 2 LastFragment: true Relay: true",
      reserved);
  test::check_golden_of(odd_head(), "07 00 1234 0001 FF 40",
                        "Type: 4660 version: 7 MID: 1 FID: 255 LastFragment: false Relay: true", reserved);
}

TEST(MessageHead, MarksAFragmentUnlessFirstAndLast) {
  for (const auto& [last, fragment, fragmented] :
       {std::tuple(true, 0, false), {true, 2, true}, {false, 0, true}, {false, 2, true}}) {
    EXPECT_EQ(filled(DISCOVERY, FIELD(last_fragment_indicator), last, FIELD(fragment_id), fragment).is_fragmented(),
              fragmented);
  }
}

TEST(Message, Golden) {
  Message message(DISCOVERY);
  MessageList& list = message.get_list();
  list.add_TLV(make_unique<AL>(A));
  list.add_TLV(make_unique<VendorSpecificTLV>(VENDOR_OUI, make_unique<QELTLVType>(make_unique<EndOfMessageTLV>())));
  list.add_TLV(make_unique<MAC>(B));
  list.add_TLV(make_unique<EndOfMessageTLV>());
  const test::Golden<Message> golden(
      std::move(message),
      "00 00 0000 0102 00 80 # head\n"
      "01 0006 021A2B3C4D5E\n"
      "0B 0007 OUI 00 00 0000 # an end of message inside does not end the message\n"
      "02 0006 06F1E2D3C4B5\n"
      "00 0000",
      "Type: TOPOLOGY_DISCOVERY_MESSAGE version: IEEE1905_1 MID: 258 FID: 0 LastFragment: true Relay: false"
      "\n\ttype: AL_MAC_ADDRESS mac: 02:1A:2B:3C:4D:5E"
      "\n\ttype: VENDOR_SPECIFIC Vendor OUI:  [ " +
          test::oui_text() +
          "]\n\ttype: QEL_TLV_TYPE\n\ttype: END_OF_MESSAGE"
          "\n\ttype: MAC_ADDRESS mac: 06:F1:E2:D3:C4:B5"
          "\n\ttype: END_OF_MESSAGE",
      {1, 9, 10, 18, 28, 29}, {19});  // at 19, a length of 3 under our OUI is refused
  test::check_golden<Message>({golden}, [](const auto&) { return make_unique<Message>(); }, {true, true});
}

TEST(Message, DecodingIsAllOrNothing) {
  constexpr auto GOOD = std::ios_base::goodbit;
  constexpr auto END = std::ios_base::eofbit;
  const struct {
    const char* tlvs;
    test::ReadOutcome outcome;
    std::size_t decoded;
  } rows[] = {
      {"00 0000 01", {"", GOOD, 11}, 1},
      {"", {"Cannot peek TLV type!", END, 8}, 0},
      {"01 0006 021A2B3C4D5E", {"Cannot peek TLV type!", END, 17}, 1},
      {"C8 0000", {"Unknown TLV type!ASSOCIATED_STA_EXTENDED_LINK_METRICS", GOOD, 8}, 0},
      {"01 0006 021A2B3C4D5E 2A", {"Unknown TLV type!42", GOOD, 17}, 1},
      {"00 0001", {"Deserialization of EndOfMessageTLV failed, length is not null!", GOOD, 11}, 1},
  };
  for (const auto& row : rows) {
    const auto decoded = test::decode<Message>(test::octets(std::string("00 00 0001 0002 00 80") + row.tlvs));
    EXPECT_EQ(decoded.outcome, row.outcome);
    EXPECT_EQ(decoded.object->get_list().get_TLV_list().size(), row.decoded) << row.tlvs;
  }
}

TEST(MessageList, MovesTLVsInOrder) {
  const auto list_of = [](std::initializer_list<MACAddress> addresses) {
    MessageList list;
    for (const MACAddress& address : addresses) {
      std::unique_ptr<TLV> tlv = make_unique<AL>(address);
      list.add_TLV(tlv);
      EXPECT_EQ(tlv, nullptr);
    }
    return list;
  };
  MessageList list = list_of({A});
  MessageList middle = list_of({B, C});
  MessageList last = list_of({A});
  const TLV* const moved = middle.get_TLV_list().front().get();
  list.append_message_list(middle);
  list.append_message_list(last.get_TLV_list());
  list.append_message_list(list);
  EXPECT_TRUE(middle.get_TLV_list().empty() && last.get_TLV_list().empty());
  EXPECT_EQ(std::next(list.get_TLV_list().begin())->get(), moved);
  EXPECT_TRUE(list == list_of({A, B, C, A}));
  test::expect_unequal(list, list_of({A, C, B, A}));
  test::expect_unequal(list, list_of({A, B, C}));
  MessageList::TLVs nulls(1);
  EXPECT_THROW(list.append_message_list(nulls), std::invalid_argument);

  Message message(DISCOVERY);
  message.set_list(std::move(list));
  EXPECT_TRUE(message.get_list() == list_of({A, B, C, A}));
}

TEST(Message, QELMessageTypeNeedsEveryCondition) {
  constexpr auto NONE = QELMessageType::INVALID;
  const std::tuple<MessageType, std::string, QELMessageType> rows[] = {
      {VENDOR_SPECIFIC_MESSAGE, "0B 0008 OUI 09 0002 004D", QELMessageType(77)},
      {TOPOLOGY_QUERY_MESSAGE, "0B 0008 OUI 09 0002 0002", NONE},
      {VENDOR_SPECIFIC_MESSAGE, "01 0006 021A2B3C4D5E", NONE},
      {VENDOR_SPECIFIC_MESSAGE, "0B 000A OUI 0C 0004 0002 0002", NONE},
  };
  for (const auto& [type, tlv, expected] : rows) {
    const auto decoded = test::decode<Message>(octets("00 00 0004 0002 00 80" + tlv + "00 0000"));
    decoded.object->get_head().set_message_type(type);
    EXPECT_EQ(get_qel_message_type(*decoded.object), expected) << tlv;
  }
  Message foreign(MessageHead(IEEE1905_1, VENDOR_SPECIFIC_MESSAGE, 0, 0, true, false));
  EXPECT_EQ(get_qel_message_type(foreign), NONE) << "it has no TLV";
  foreign.get_list().add_TLV(make_unique<VendorSpecificTLV>(VendorSpecificTLV::OUI{0x0A, 0xB1, 0x05},
                                                            make_unique<QELMessageTypeTLV>(QELMessageType(2))));
  EXPECT_EQ(get_qel_message_type(foreign), NONE);
}

TEST(MessageId, CountsFromZeroAndWraps) {
  for (unsigned int call = 0; call < 65538; ++call) {
    ASSERT_EQ(make_IEEE1905_1_msg_id(), call % 65536);
  }
}

}  // namespace
}  // namespace qel::ieee1905_1
