#include "qel/ieee802_11/assoc_request_frame.h"

#include "qel/ieee802_11/measurement_report.h"
#include "qel/ieee802_11/security_mapping.h"
#include "tests/support/golden.h"

namespace qel::ieee802_11 {
namespace {

using test::decode;
using test::Octets;
using test::octets;
using Frame = AssocRequestFrame;

auto blank(std::size_t size) {
  return [size] { return std::make_unique<Frame>(size); };
}

// SSID, an unknown element twice, an RSN element, a broken RSN element, an empty element.
const char* const FRAME = R"(
3114 0A00
00 03 616263
FA 02 1234
FA 02 1234
30 12 0100 000FAC04 0100 000FAC04 0100 000FAC02
30 03 010000
7F 00)";

const char* const TEXT =
    "Capability Information: 0x1431 Listen Interval: 10 Elements: ["
    "\n\t\tElement ID: 0 Length: 3"
    "\n\t\tElement ID: 250 Length: 2"
    "\n\t\tElement ID: 250 Length: 2"
    "\n\t\tRSN Group Data Cipher: 00-0F-AC:4 Pairwise Ciphers: [ 00-0F-AC:4 ] AKM Suites: [ 00-0F-AC:2 ]"
    "\n\t\tElement ID: 48 Length: 3"
    "\n\t\tElement ID: 127 Length: 0 ]";

TEST(AssocRequestFrame, Golden) {
  const auto [outcome, frame] = decode(octets(FRAME), blank(octets(FRAME).size()));
  ASSERT_EQ(outcome.refused, "");
  EXPECT_EQ(frame->get_length(), 44U);
  EXPECT_EQ(frame->get_capability_information(), 0x1431);
  EXPECT_EQ(frame->get_listen_interval(), 10);
  const std::vector<Frame::Element> elements = frame->get_elements();
  ASSERT_EQ(elements.size(), 6U);
  EXPECT_EQ(elements[1].id, 0xFA);
  EXPECT_EQ(test::hex(elements[1].body), "1234");
  test::check_golden<Frame>({{*frame, FRAME, TEXT}},
                            [](const Octets& input) { return std::make_unique<Frame>(input.size()); });
}

TEST(AssocRequestFrame, IsPutTogetherFromElements) {
  Frame frame;
  frame.set_capability_information(0x0411);
  frame.set_listen_interval(258);
  frame.add_element(0, octets("6162"));
  frame.add_element(*create_rsn_element_from_security(WLANSecurity::WPA2PSK));
  const std::string elements = "00026162 30120100000FAC040100000FAC040100000FAC02";
  EXPECT_EQ(test::encode(frame).octets, test::hex(octets("11040201" + elements)));
  for (const std::string address : {"021A2B3C4D5E", "06F1E2D3C4B5"}) {
    frame.set_current_ap_address(test::mac(address));
    EXPECT_EQ(test::encode(frame).octets, test::hex(octets("11040201" + address + elements)));
  }
  const IEEE802_11_MeasurementReport too_long(1, 0, MeasurementType::LCI, Octets(253));
  EXPECT_NE(test::refusal([&] { frame.add_element(too_long); }), "");
  EXPECT_EQ(test::refusal([&] { frame.add_element(1, Octets(256)); }), "Invalid size");
  EXPECT_EQ(frame.get_length(), 34U);
}

/// Complete and damaged requests of both kinds: how they are read, and that everything is kept.
TEST(AssocRequestFrame, TellsReassociationsApart) {
  const std::pair<std::string, const char*> rows[] = {
      // what follows the fixed fields; the address, the elements and the octets after them
      {"", "none, 0"},
      {"00 03 616263 01 02 8284", "none 0 1, 0"},
      {"30 02 0100", "none 48, 0"},
      {"00 03 616263 01 02 82", "none 0, 3"},
      {"FF", "none, 1"},
      {"021A2B3C4D5E FF", "none, 7"},
      {"021A2B3C4D5E 00 03 616263 01 02 8284", "02:1A:2B:3C:4D:5E 0 1, 0"},
      {"021A2B3C4D5E 00 03 616263 01 02 82", "02:1A:2B:3C:4D:5E 0, 3"},
      {"021A2B3C4D5E 30 02 0100", "02:1A:2B:3C:4D:5E 48, 0"},
      {"00062B3C4D5E 00 04 FA024142 01 01 82", "00:06:2B:3C:4D:5E 0 1, 0"},  // well-formed elements from the address on
      {"00212B3C4D5E 00 00", "00:21:2B:3C:4D:5E 0, 0"},
  };
  for (const auto& [body, reading] : rows) {
    const Octets input = octets("3114 0A00" + body);
    const auto [outcome, frame] = decode(octets("3114 0A00" + body + "EEEE"), blank(input.size()));
    EXPECT_EQ(outcome, (test::ReadOutcome{"", std::ios_base::goodbit, input.size()})) << body;
    EXPECT_EQ(test::encode(*frame), (test::Written{test::hex(input), ""})) << body;
    std::string found = frame->get_current_ap_address() ? frame->get_current_ap_address()->to_string() : "none";
    for (const Frame::Element& element : frame->get_elements()) {
      found += " " + std::to_string(element.id);
    }
    EXPECT_EQ(found + ", " + std::to_string(frame->get_rest().size()), reading) << body;
  }
}

TEST(AssocRequestFrame, IsReadAsItsOwnerSays) {
  const Octets input = octets("3114 0A00 021A2B3C4D5E FA 01 11 22");
  const auto frame = decode(input, blank(input.size())).object;
  frame->set_reassociation(true);
  EXPECT_EQ((std::ostringstream() << *frame).str(),
            "Capability Information: 0x1431 Listen Interval: 10 Current AP: 02:1A:2B:3C:4D:5E Elements: ["
            "\n\t\tElement ID: 250 Length: 1\n\t\trest: 1 Bytes ]");
  frame->set_reassociation(false);
  EXPECT_EQ(frame->get_rest().size(), 10U);
  EXPECT_EQ(test::encode(*frame).octets, test::hex(input));
  EXPECT_NE(decode<Frame>(input).outcome.refused, "");  // its size is not known
  EXPECT_EQ(decode(input, blank(3)).object->get_length(), 4U);
}

}  // namespace
}  // namespace qel::ieee802_11
