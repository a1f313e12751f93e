#include <random>

#include "qel/ieee1905_1/fragmenter.h"
#include "qel/ieee1905_1/lenient.h"
#include "qel/ieee1905_1/message_builder.h"
#include "qel/ieee1905_1/reassembly.h"
#include "tests/ieee1905_1/tlv_test.h"

/// What programs do with a message as a whole: build it, find its TLVs, read it leniently, send it in fragments.
namespace qel::ieee1905_1 {
namespace {

using serialization::MemoryOStream;
using serialization::SerializationContext;
using enum MessageType;
using std::chrono::milliseconds;
using std::chrono::seconds;
using test::Octets;

/// Whether such a message gives access to its TLVs. A temporary one does not.
template <class M>
concept Lends = requires(M&& message) {
  std::forward<M>(message).template find<ALMACAddressTLV>();
}
|| requires(M&& message) { std::forward<M>(message).template all<ALMACAddressTLV>(); }
|| requires(M&& message) { std::forward<M>(message).template find_vendor<QELMeshdVersionTLV>(); };

const char* const HEAD = "00 00 0003 1234 00 80 ";

Octets encoded(const Message& message) {
  SerializationContext context;
  MemoryOStream out;
  encode(message, out, context);
  return {out.octets().begin(), out.octets().end()};
}

TEST(WholeMessage, BuildsAndFinds) {
  MessageBuilder builder(VENDOR_SPECIFIC_MESSAGE, 0x1234);
  builder.relay()
      .add(QELMessageTypeTLV(QELMessageType::QEL_MESHD_VERSION_MESSAGE))
      .add(ALMACAddressTLV(A))
      .add(std::make_unique<InterfaceMACAddressTLV>(B))
      .add(InterfaceMACAddressTLV(C));
  Message message = builder.build();
  EXPECT_EQ(test::hex(encoded(message)),
            test::hex(octets("00 00 0004 1234 00 C0 0B 0008 OUI 09 0002 0001 01 0006 021A2B3C4D5E"
                             "02 0006 06F1E2D3C4B5 02 0006 0A0918273645 00 0000")));

  ASSERT_NE(message.find<ALMACAddressTLV>(), nullptr);
  EXPECT_EQ(message.find<ALMACAddressTLV>()->get_MAC(), A);
  EXPECT_EQ(message.find<DeviceInformationTLV>(), nullptr);
  message.find<InterfaceMACAddressTLV>()->set_MAC(D);
  std::vector<MACAddress> found;
  for (const InterfaceMACAddressTLV& tlv : std::as_const(message).all<InterfaceMACAddressTLV>()) {
    found.push_back(tlv.get_MAC());
  }
  EXPECT_EQ(found, (std::vector{D, C}));
  EXPECT_TRUE(message.all<TransmitterLinkMetricTLV>().empty());

  ASSERT_NE(message.find_vendor<QELMessageTypeTLV>(), nullptr);
  EXPECT_EQ(message.find_vendor<QELMessageTypeTLV>()->get_qel_message_type(),
            QELMessageType::QEL_MESHD_VERSION_MESSAGE);
  EXPECT_EQ(message.find_vendor<QELMeshdVersionTLV>(), nullptr);
  EXPECT_EQ(message.find_vendor<VendorSpecificUnknown>(), nullptr);

  message = make_message(VENDOR_SPECIFIC_MESSAGE, 0x1234);
  EXPECT_NE(message.find<EndOfMessageTLV>(), nullptr);
  static_assert(Lends<Message&> && Lends<const Message&> && !Lends<Message> && !Lends<const Message>);
  EXPECT_THROW(message.get_list().add_TLV(std::unique_ptr<TLV>()), std::invalid_argument);
  EXPECT_THROW(builder.add(std::unique_ptr<TLV>()), std::invalid_argument);
}

TEST(WholeMessage, ErrorsNameThePlace) {
  const struct {
    const char* cmdu;
    const char* what;
    const char* place;
    std::size_t offset;
  } rows[] = {
      {"00 00 00", "Deserialization of type std::uint16_t failed.", "in the head", 3},
      {"00 00 0003 1234 00 80 01 0006 021A2B3C4D5E", "Cannot peek TLV type!", "at offset 17", 17},
      {"00 00 0003 1234 00 80 01 0006 021A2B3C4D5E 02 0006 06F1", "Deserialization of type std::uint8_t failed.",
       "in MAC_ADDRESS at offset 17", 22},
      {"00 00 0003 1234 00 80 B3 0001 01 00 0000", "Unknown TLV type!MULTI_AP_PROFILE",
       "in MULTI_AP_PROFILE at offset 8", 8},
  };
  SerializationContext context;
  for (const auto& row : rows) {
    const Octets input = octets(row.cmdu);
    try {
      decode(input, context);
      ADD_FAILURE() << row.cmdu;
    } catch (const DecodeException& exception) {
      EXPECT_STREQ(exception.what(), row.what);
      EXPECT_EQ(exception.place(), row.place);
      EXPECT_EQ(exception.get_offset(), row.offset);
    }
  }
  const Octets whole = octets(string(HEAD) + "01 0006 021A2B3C4D5E 00 0000 01");
  std::size_t size = 0;
  const Message message = decode(whole, context, &size);
  EXPECT_EQ(message.find<ALMACAddressTLV>()->get_MAC(), A);
  EXPECT_EQ(size, whole.size() - 1);
}

TEST(WholeMessage, LenientDecodingKeepsWhatItUnderstands) {
  SerializationContext context;
  const Octets input = octets(string(HEAD) +
                              "B3 0001 07           # a type without a class\n"
                              "01 0008 021A2B3C4D5E 9ABC # two octets that no field takes\n"
                              "02 0004 06F1E2D3     # too short, though octets follow\n"
                              "0B 0004 0AB105 77    # a foreign vendor\n"
                              "02 0006 0A0918273645\n"
                              "00 0000 FFFF         # padding");
  const LenientMessage lenient = decode_leniently(input, context);
  string seen;
  for (const LenientMessage::Entry& entry : lenient.entries) {
    seen += enum_to_string(entry.raw.type) + "@" + std::to_string(entry.raw.offset) + " " + test::hex(entry.raw.body) +
            (entry.tlv != nullptr ? " ok "
             : entry.has_class()  ? " bad "
                                  : " unknown ") +
            std::to_string(entry.unread) + " " + entry.error + "\n";
  }
  EXPECT_EQ(seen,
            "MULTI_AP_PROFILE@8 07 unknown 0 \n"
            "AL_MAC_ADDRESS@12 021A2B3C4D5E9ABC ok 2 \n"
            "MAC_ADDRESS@23 06F1E2D3 bad 0 Deserialization of type std::uint8_t failed.\n"
            "VENDOR_SPECIFIC@30 0AB10577 ok 0 \n"
            "MAC_ADDRESS@37 0A0918273645 ok 0 \n"
            "END_OF_MESSAGE@46  ok 0 \n");
  EXPECT_EQ(lenient.message.get_head().get_message_id(), 0x1234);
  EXPECT_EQ(lenient.message.find<InterfaceMACAddressTLV>()->get_MAC(), C);
  EXPECT_EQ(lenient.message.find_vendor<VendorSpecificUnknown>()->get_expected_length(), 1);
  EXPECT_EQ(lenient.end, TLVWalkEnd::END_OF_MESSAGE);
  EXPECT_EQ(lenient.end_offset, 49U);
  EXPECT_FALSE(lenient.is_whole());

  const struct {
    const char* tlvs;
    TLVWalkEnd end;
    std::size_t offset;
    std::size_t entries;
    bool whole;
  } ends[] = {
      {"01 0006 021A2B3C4D5E 00 0000", TLVWalkEnd::END_OF_MESSAGE, 20, 2, true},
      {"01 0006 021A2B3C4D5E", TLVWalkEnd::MISSING_END, 17, 1, false},
      {"01 0006 021A2B3C4D5E 02 00", TLVWalkEnd::CUT_HEADER, 17, 1, false},
      {"01 0006 021A2B3C4D5E 02 0006 06F1E2D3C4", TLVWalkEnd::CUT_BODY, 17, 1, false},
      {"00 0001 55 01 0006 021A2B3C4D5E", TLVWalkEnd::END_OF_MESSAGE, 12, 1, false},
  };
  for (const auto& row : ends) {
    const Octets octets = test::octets(string(HEAD) + row.tlvs);
    const LenientMessage result = decode_leniently(octets, context);
    EXPECT_EQ(std::tuple(result.end, result.end_offset, result.entries.size(), result.is_whole()),
              std::tuple(row.end, row.offset, row.entries, row.whole))
        << row.tlvs;
  }
  EXPECT_THROW(decode_leniently(test::octets("00 00 0003 1234 00"), context), serialization::SerializationException);
}

constexpr Reassembly::TimePoint START{};

TEST(WholeMessage, FragmentsInAnyOrderGiveTheMessage) {
  std::mt19937 random(4711);
  SerializationContext context;
  Reassembly reassembly;
  for (int round = 0; round < 300; ++round) {
    std::map<MACAddress, Octets> sent, got;
    std::vector<std::pair<MACAddress, Octets>> frames;
    for (const MACAddress& sender : {A, B}) {
      MessageBuilder builder(TOPOLOGY_RESPONSE_MESSAGE, static_cast<std::uint16_t>(random()));
      for (auto count = random() % 20; count > 0; --count) {
        builder.add(HigherLayerDataTLV(HigherLayerProtocol(count), Octets(random() % 51, 0xA5)));
      }
      const Message message = builder.build();
      sent[sender] = encoded(message);
      const std::size_t largest = 8 + 54 + random() % 100;
      Fragmenter fragmenter(largest);
      for (const auto fragment : fragmenter.split(message, context)) {
        ASSERT_LE(fragment.size(), largest);
        frames.emplace_back(sender, Octets(fragment.begin(), fragment.end()));
        frames.back().second.resize(std::max<std::size_t>(fragment.size(), 46));  // as padded by Ethernet
      }
    }
    std::shuffle(frames.begin(), frames.end(), random);
    for (const auto& [sender, frame] : frames) {
      if (const auto whole = reassembly.add(sender, frame, START + round * seconds(10))) {
        // Without the padding of a message that was not split.
        const auto octets = whole->first(std::min(whole->size(), sent[sender].size()));
        got[sender].assign(octets.begin(), octets.end());
      }
    }
    ASSERT_EQ(got, sent) << round;
  }
  reassembly.expire(START + seconds(10000));
  EXPECT_EQ(reassembly.count_octets() + reassembly.counts().spoiled, 0U);
}

TEST(WholeMessage, FragmenterNamesWhatDoesNotFit) {
  SerializationContext context;
  const auto refusal = [&](std::size_t largest, const Message& message) -> string {
    try {
      Fragmenter(largest).split(message, context);
    } catch (const std::exception& exception) {
      return exception.what();
    }
    return "";
  };
  const Message small = make_message(TOPOLOGY_DISCOVERY_MESSAGE, 7, ALMACAddressTLV(A), InterfaceMACAddressTLV(B));
  EXPECT_EQ(refusal(8 + 9 + 9 + 3, small), "");
  EXPECT_EQ(refusal(8 + 9, small), "");
  EXPECT_EQ(refusal(8 + 8, small), "TLV AL_MAC_ADDRESS of 9 octets does not fit a fragment with room for 8");
  EXPECT_EQ(refusal(10, small), "a fragment of 10 octets has no room for a TLV");
  MessageBuilder many(TOPOLOGY_QUERY_MESSAGE, 7);
  for (int tlv = 0; tlv < 256; ++tlv) {
    many.add(ALMACAddressTLV(A));
  }
  EXPECT_EQ(refusal(8 + 9, many.build()), "The message takes 257 fragments, more than 256");
  Message fragment = make_message(TOPOLOGY_DISCOVERY_MESSAGE, 7, ALMACAddressTLV(A), InterfaceMACAddressTLV(B));
  fragment.get_head().set_fragment_id(1);
  EXPECT_EQ(refusal(8 + 9 + 9 + 3, fragment), "");
  EXPECT_EQ(refusal(8 + 9, fragment), "A fragment cannot be split again");
}

/// Makes a fragment of message 0x1234, or of another.
Octets fragment(unsigned int id, bool last, const string& tlvs, unsigned int message = 0x1234) {
  Octets octets = test::octets("00 00 0003 0000 00 00" + tlvs);
  octets[4] = static_cast<std::uint8_t>(message >> 8U);
  octets[5] = static_cast<std::uint8_t>(message);
  octets[6] = static_cast<std::uint8_t>(id);
  octets[7] = last ? 0x80 : 0;
  return octets;
}

TEST(WholeMessage, ReassemblyAcceptsOnlyMatchingFragments) {
  const string al = "01 0006 021A2B3C4D5E", mac = "02 0006 06F1E2D3C4B5", end = "00 0000";
  const string whole = test::hex(octets(HEAD + al + mac + end));
  const Octets first = fragment(0, false, al), last = fragment(1, true, mac + end);
  const struct {
    const char* what;
    std::vector<Octets> fragments;
    string result;
    std::uint64_t spoiled;
  } rows[] = {
      {"split between TLVs", {first, last}, whole, 0},
      {"every fragment has an end", {fragment(0, false, al + end), last}, whole, 0},
      {"split within a TLV", {fragment(0, false, "01 0006 021A"), fragment(1, true, "2B3C4D5E" + mac + end)}, whole, 0},
      {"padded with less than a header", {fragment(0, false, al + "0000"), last}, whole, 0},
      {"a gap", {first, fragment(2, true, mac + end)}, "", 0},
      {"no last one", {first, fragment(1, false, mac + end)}, "", 0},
      {"no end of the message", {first, fragment(1, true, mac)}, "", 1},
      {"cut within the last TLV", {first, fragment(1, true, "02 0006 06")}, "", 1},
      {"cut within a header", {fragment(0, false, al + "0200"), last}, "", 1},
      {"every fragment twice", {first, first, last, last}, whole, 0},
      {"two contents", {first, fragment(0, false, mac), last, fragment(0, false, mac)}, "", 1},
      {"two last ones", {last, fragment(2, true, mac + end), first}, "", 1},
      {"last and not last", {last, fragment(1, false, mac + end), first}, "", 1},
      {"one behind the last", {fragment(2, false, al), last, first}, "", 1},
      {"two messages", {first, fragment(1, true, mac + end, 0x1235)}, "", 0},
  };
  for (const auto& row : rows) {
    Reassembly reassembly;
    string result;
    for (const Octets& octets : row.fragments) {
      if (const auto message = reassembly.add(A, octets, START)) {
        result += test::hex(*message);
      }
    }
    EXPECT_EQ(result, row.result) << row.what;
    EXPECT_EQ(reassembly.counts().spoiled, row.spoiled) << row.what;
  }
  Reassembly reassembly;
  EXPECT_FALSE(reassembly.add(A, first, START) || reassembly.add(B, last, START));
  EXPECT_THROW(reassembly.add(A, octets("00 00 0003 1234 00"), START), serialization::SerializationException);
}

TEST(WholeMessage, ReassemblyIsBounded) {
  const string al = "01 0006 021A2B3C4D5E", end = "00 0000";
  const MACAddress other({2, 9, 9, 9, 9, 9});
  Reassembly reassembly({.messages = 3, .messages_of_a_sender = 2, .octets = 100, .age = milliseconds(500)});
  const auto completes = [&](const MACAddress& sender, unsigned int message, Reassembly::TimePoint now) {
    return reassembly.add(sender, fragment(1, true, end, message), now).has_value();
  };
  for (unsigned int message = 1; message <= 3; ++message) {
    reassembly.add(A, fragment(0, false, al, message), START);
  }
  EXPECT_EQ(reassembly.count_messages(), 2U);  // the sender's oldest was displaced
  reassembly.add(B, fragment(0, false, al, 4), START);
  reassembly.add(other, fragment(0, false, al, 5), START);
  EXPECT_EQ(reassembly.count_messages(), 3U);
  EXPECT_EQ(reassembly.counts().displaced, 2U);
  EXPECT_TRUE(completes(A, 3, START) && completes(B, 4, START + milliseconds(500)));
  EXPECT_FALSE(completes(other, 5, START + milliseconds(501)));
  EXPECT_EQ(reassembly.counts().expired, 1U);

  EXPECT_THROW(Reassembly({.messages = 0}), std::invalid_argument);
  EXPECT_THROW(Reassembly({.messages_of_a_sender = 0}), std::invalid_argument);
  const string large = "01 003D " + string(2 * 61, '7');
  const auto later = START + seconds(10);
  EXPECT_FALSE(reassembly.add(A, fragment(0, false, large, 6), later));
  EXPECT_FALSE(reassembly.add(B, fragment(0, false, large, 7), later));
  EXPECT_EQ(reassembly.count_octets(), 64U);
  EXPECT_TRUE(completes(B, 7, later));
  EXPECT_FALSE(reassembly.add(A, fragment(0, false, large, 9), later));
  EXPECT_FALSE(reassembly.add(other, fragment(0, false, large, 10), later));  // displaces the previous one
  EXPECT_FALSE(reassembly.add(B, fragment(0, false, al, 7), later) || completes(B, 7, later)) << "was complete before";
  EXPECT_FALSE(reassembly.add(A, fragment(0, false, al, 8), later));
  EXPECT_FALSE(completes(A, 8, START)) << "before its first fragment";
}

}  // namespace
}  // namespace qel::ieee1905_1
