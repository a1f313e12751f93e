#include "tests/support/testing.h"
#include "tools/meshdump/decoder.h"
#include "tools/meshdump/filter.h"
#include "tools/meshdump/hex_text.h"
#include "tools/meshdump/link_frame.h"
#include "tools/meshdump/tally.h"
#include "tools/safe_text.h"

namespace meshdump {
namespace {

using Octets = std::vector<std::uint8_t>;

Octets octets(const std::string& hex) { return parse_hex_line(hex, 1).value().octets; }

TEST(LinkFrame, LooksThroughTagsAndSurvivesEveryLength) {
  const std::string addresses = "0180C2000013 021905000C01 ";
  const struct {
    std::string octets;
    std::uint16_t ethertype;
    LinkType link_type = LinkType::ETHERNET;
  } rows[] = {
      {"0001 0001 0006 021905000C01 ABCD 893A C5A6", 0x893A, LinkType::LINUX_COOKED},
      {"0001 0001 0006 021905000C01 ABCD 8100 0064 893A C5A6", 0x893A, LinkType::LINUX_COOKED},
      {"893A 0000 00000007 0001 01 06 021905000C01 ABCD C5A6", 0x893A, LinkType::LINUX_COOKED_V2},
      {addresses + "893A C5A6", 0x893A},
      {addresses + "8100 0064 893A C5A6", 0x893A},
      {addresses + "88A8 0007 8100 E00A 893A C5A6", 0x893A},
      {addresses + "8100 0001 8100 0002 8100 0003 0806 C5A6", 0x0806},
      {addresses + "9100 893A", 0x9100},
  };
  for (const auto& row : rows) {
    const Octets frame = octets(row.octets);
    const auto parsed = parse_link_frame(row.link_type, frame);
    ASSERT_TRUE(parsed) << row.octets;
    EXPECT_EQ(parsed->ethertype, row.ethertype) << row.octets;
    EXPECT_EQ(parsed->destination.has_value(), row.link_type == LinkType::ETHERNET);
    EXPECT_EQ(parsed->destination.value_or(qel::MACAddress("01:80:C2:00:00:13")).to_string(), "01:80:C2:00:00:13");
    EXPECT_EQ(parsed->source.to_string(), "02:19:05:00:0C:01");
    EXPECT_EQ(parsed->interface, row.link_type == LinkType::LINUX_COOKED_V2 ? 7U : 0U);
    const std::size_t payload_offset = frame.size() - 2;
    EXPECT_EQ(parsed->payload.data(), frame.data() + payload_offset) << row.octets;
    for (std::size_t size = 0; size < payload_offset; ++size) {
      EXPECT_FALSE(parse_link_frame(row.link_type, {frame.data(), size})) << row.octets << " cut to " << size;
    }
  }
  const Octets hidden = octets("893A 0000 00000007 0001 01 06 021905000C01 ABCD 0005 893A 0000 0002");
  EXPECT_EQ(parse_link_frame(LinkType::LINUX_COOKED_V2, hidden)->payload.size(), 4U) << "a tag behind its ethertype";
}

TEST(Tally, BoundsTheNumberOfSenders) {
  const Octets query = octets("0000 0002 1001 0080 000000");
  Tally tally;
  for (unsigned int i = 0; i < 2048; ++i) {
    const qel::MACAddress sender({2, 0, 0, 0, static_cast<std::uint8_t>(i >> 8U), static_cast<std::uint8_t>(i)});
    tally.count({query, 1, FrameInfo{sender, std::nullopt, {}}}, Decoder(false).decode(query));
  }
  EXPECT_EQ(tally.senders().size(), 1025U);
  EXPECT_EQ(tally.senders().at("OTHERS"), 1024U);
}

TEST(SafeText, ReplacesWhatIsNoUtf8) {
  const std::string kitchen =
                        "K\xC3\xBC"
                        "che \xE2\x82\xAC \xF0\x9F\x8F\xA0",
                    borders = "\xED\x9F\xBF\xEE\x80\x80\xF4\x8F\xBF\xBF";
  const std::pair<std::string, std::string> rows[] = {
      {kitchen, kitchen},
      {borders, borders},
      {"a\xFF,\x80", "a?,?"},
      {"\xC0\xAF \xE0\x9F\xBF", "?? ???"},            // overlong
      {"\xED\xA0\x80 \xF4\x90\x80\x80", "??? ????"},  // surrogate; beyond U+10FFFF
      {"\xF0\x9F\x8F,\xE2\x82", "?,?"},               // cut characters count once
  };
  for (const auto& [octets, shown] : rows) {
    std::string utf8;
    for (const char character : shown) {
      utf8 += character == '?' ? "\xEF\xBF\xBD" : std::string(1, character);
    }
    EXPECT_EQ(tools::to_utf8(octets), utf8);
    EXPECT_EQ(tools::for_terminal(octets), utf8);
  }
}

TEST(SafeText, ShowsControlCharacters) {
  const std::string text = std::string("a\x1B[2J\n\t\r\x7F", 9) + '\0' + "\xC2\x85\xC2\xA0.";
  EXPECT_EQ(tools::for_terminal(text), "a\\x1b[2J\n\t\\x0d\\x7f\\x00\\x85\xC2\xA0.");
  EXPECT_EQ(tools::for_terminal_line(text), "a\\x1b[2J\\x0a\\x09\\x0d\\x7f\\x00\\x85\xC2\xA0.");
  EXPECT_EQ(tools::to_utf8(text), text);
  EXPECT_EQ(tools::json_for_terminal("\"\\n\x7F\xC2\x85\"\n"), "\"\\n\\u007f\\u0085\"\n");
}

TEST(HexText, ParsesLines) {
  EXPECT_FALSE(parse_hex_line("", 1));
  EXPECT_FALSE(parse_hex_line("  # 00", 1));
  EXPECT_EQ(octets(" 0a:1B-2c 3 D\r"), (Octets{0x0A, 0x1B, 0x2C, 0x3D}));
  EXPECT_EQ(parse_hex_line("0a g1", 7)->error, "not a hexadecimal digit in column 4");
  EXPECT_EQ(parse_hex_line(":-:", 7)->error, "no hexadecimal digits");
  EXPECT_EQ(to_hex(Octets{0x0A, 0xF5}), "0af5");
}

TEST(HexText, JoinsOneWrappedCmduOnly) {
  const auto join = [](const std::vector<std::string>& texts) {
    std::vector<HexLine> lines;
    for (const std::string& text : texts) {
      lines.push_back(parse_hex_line(text, lines.size() + 3).value());
    }
    const std::optional<HexLine> joined = join_wrapped_lines(lines);
    return joined ? std::to_string(joined->number) + " " + to_hex(joined->octets) : "";
  };
  EXPECT_EQ(join({"00000002100100", "80", "000000"}), "3 0000000210010080000000");
  EXPECT_EQ(join({"0000000210010080000000"}), "");                      // nothing to join
  EXPECT_EQ(join({"0000000210010080000000", "000000"}), "");            // the first line is a CMDU
  EXPECT_EQ(join({"0000000210010080", "000000", "000000"}), "");        // something is left over
  EXPECT_EQ(join({"0000000210010080", "0100"}), "");                    // no End-of-message TLV
  EXPECT_EQ(join({"0000000210010080", "00000", "0"}), "");              // a broken line
  EXPECT_EQ(join({"0000000210010080", "0000000210010080000000"}), "");  // a cut CMDU, then another
}

TEST(Filter, UnderstandsNamesAndNumbers) {
  const Octets response = octets("0000 0003 1001 0080  1B 0001 00  01 0006 021905000001  00 0000");
  const Cmdu cmdu{response, 1, FrameInfo{qel::MACAddress("02:19:05:00:0C:01"), std::nullopt, {}}};
  const Decoding rejected = Decoder(false).decode(response);
  ASSERT_FALSE(rejected.message);
  using Add = void (Filter::*)(const std::string&);
  const Add type = &Filter::add_message_type;
  const Add tlv = &Filter::add_tlv_type;
  const Add source = &Filter::add_source;
  const struct {
    Add add;
    std::vector<std::string> matching, other, refused;
  } rows[] = {
      {type,
       {"3", "0x3", "0X0003", "TOPOLOGY_RESPONSE_MESSAGE", "topology_response"},
       {"4", "0xffff", "DUMMY", "31000"},
       {"", "65536", "0x", "-1", "3 ", "TOPOLOGY", "RESPONSE_MESSAGE", "_MESSAGE"}},
      {tlv,
       {"1", "27", "0x1b", "al_mac_address", "END_OF_MESSAGE", "0"},
       {"2", "WSC", "dummy", "255"},
       {"256", "AL_MAC", "AL_MAC_ADDRESS_MESSAGE", "0x1g"}},
      {source, {"02:19:05:00:0c:01"}, {"02:19:05:00:0C:02"}, {"", "02-19-05-00-0c-01", "02:19:05:00:0c", "x"}},
  };
  for (const auto& row : rows) {
    for (const std::string& text : row.matching) {
      Filter filter;
      (filter.*row.add)(text);
      EXPECT_TRUE(filter.matches_head(cmdu) && filter.matches_tlvs(cmdu, rejected)) << text;
    }
    Filter filter;
    for (const std::string& text : row.other) {
      (filter.*row.add)(text);
    }
    EXPECT_FALSE(filter.matches_head(cmdu) && filter.matches_tlvs(cmdu, rejected)) << row.other[0];
    for (const std::string& text : row.refused) {
      EXPECT_THROW((filter.*row.add)(text), std::invalid_argument) << text;
    }
  }
}

/// A TLV whose length is wrong although it decodes: its body is not a TLV.
TEST(Filter, FindsTlvsOfADecodedMessageInTheMessage) {
  const Octets discovery = octets("0000 0000 1001 0080  01 0000 1B0002000001  00 0000");
  const Cmdu cmdu{discovery, 1, {}};
  const Decoding decoded = Decoder(false).decode(discovery);
  ASSERT_TRUE(decoded.message);
  const std::pair<const char*, bool> rows[] = {{"AL_MAC_ADDRESS", true}, {"END_OF_MESSAGE", true}, {"27", false}};
  for (const auto& [text, expected] : rows) {
    Filter filter;
    filter.add_tlv_type(text);
    EXPECT_EQ(filter.matches_tlvs(cmdu, decoded), expected) << text;
  }
}

}  // namespace
}  // namespace meshdump
