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

// SSID, an unknown element twice, an RSN element, an RSN element that is broken, an empty element.
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
  frame.add_element(*create_rsn_element_from_security(WLANSecurity::WPA2PSK));
  EXPECT_EQ(test::encode(frame).octets, test::hex(octets("1104 0201 30 12 0100 000FAC04 0100 000FAC04 0100 000FAC02")));
  const IEEE802_11_MeasurementReport too_long(1, 0, MeasurementType::LCI, Octets(253));
  EXPECT_NE(test::refusal([&] { frame.add_element(too_long); }), "");
  EXPECT_EQ(frame.get_length(), 24U);
}

// What the owner of the frame learns about an end that is none of an element.
TEST(AssocRequestFrame, TakesWholeElementsAcrossTheEnd) {
  const Octets input = octets("3114 0A00 00 03 616263 FA 02 1234 EEEE");
  for (const auto& [size, length] : {std::pair(0U, 4U), {4, 4}, {5, 9}, {9, 9}, {10, 13}, {13, 13}}) {
    const auto [outcome, frame] = decode(input, blank(size));
    EXPECT_EQ(outcome, (test::ReadOutcome{"", std::ios_base::goodbit, length})) << size;
    EXPECT_EQ(frame->get_length(), length) << size;
  }
  EXPECT_NE(decode(input, blank(65534)).outcome.refused, "");
}

}  // namespace
}  // namespace qel::ieee802_11
