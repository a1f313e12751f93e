#include "qel/ieee802_11/assoc_request_frame.h"
#include "qel/ieee802_11/measurement_report.h"
#include "qel/ieee802_11/rsn_element.h"
#include "qel/ieee802_11/security_mapping.h"
#include "tests/support/fields.h"
#include "tests/support/golden.h"

namespace qel::ieee802_11 {
namespace {

using test::decode;
using test::encode;
using test::Octets;
using test::octets;
using Suite = IEEE802_11_CipherSuite;
using Rsn = IEEE802_11_RSNElement;

Suite vendor_suite(unsigned char type) {
  return test::fields(Suite(type), FIELD(oui), Suite::OUI{0x50, 0x6F, 0x9A}, FIELD(type), type);
}

Rsn::PMKID pmkid(const std::string& digits) {
  Rsn::PMKID result;
  std::ranges::copy(octets(digits), result.begin());
  return result;
}

// The version, at offsets 2 and 3, is not kept.
TEST(RSNElement, GoldenWithEachNumberOfFields) {
  Rsn rsn;
  std::string body = "0100 ";
  std::string text = "RSN";
  std::ptrdiff_t depth = 0;
  const auto check = [&](const std::string& length, const std::string& more_octets, const std::string& more_text) {
    body += more_octets;
    text += more_text;
    const std::array has{rsn.has_group_data(),       rsn.has_pairwise_cipher_list(), rsn.has_akm_suite_list(),
                         rsn.has_rsn_capabilities(), rsn.has_pmkid_list(),           rsn.has_group_management_cipher()};
    EXPECT_TRUE(std::ranges::is_sorted(has, std::greater()));
    EXPECT_EQ(std::ranges::count(has, true), depth++);
    test::check_golden_of(rsn, "30 " + length + body, text, std::vector<std::size_t>{2, 3});
  };
  check("02", "", "");
  rsn.set_group_data(Suite(2));
  check("06", "000FAC02 ", " Group Data Cipher: 00-0F-AC:2");
  const Rsn::CipherSuites pairwise{Suite(4), vendor_suite(7)};
  rsn.set_pairwise_cipher_list(pairwise);
  check("10", "0200 000FAC04 506F9A07 ", " Pairwise Ciphers: [ 00-0F-AC:4 50-6F-9A:7 ]");
  rsn.set_akm_suite_list({Suite(8)});
  check("16", "0100 000FAC08 ", " AKM Suites: [ 00-0F-AC:8 ]");
  rsn.set_rsn_capabilities(0x12C8);
  check("18", "C812 ", " RSN Capabilities: 0x12C8");
  const std::vector pmkids{pmkid("0123456789ABCDEF1032547698BADCFE"), pmkid("00112233445566778899AABBCCDDEEFF")};
  rsn.set_pmkid_list(pmkids);
  check("3A", "0200 0123456789ABCDEF1032547698BADCFE 00112233445566778899AABBCCDDEEFF ",
        " PMKIDs: [ 0123456789ABCDEF1032547698BADCFE 00112233445566778899AABBCCDDEEFF ]");
  rsn.set_group_management_cipher(Suite(6));
  check("3E", "000FAC06", " Group Management Cipher: 00-0F-AC:6");
  EXPECT_TRUE(rsn.get_group_data() == Suite(2) && rsn.get_pairwise_cipher_list() == pairwise &&
              rsn.get_akm_suite_list() == Rsn::CipherSuites{Suite(8)} && rsn.get_rsn_capabilities() == 0x12C8U &&
              rsn.get_pmkid_list() == pmkids && rsn.get_group_management_cipher() == Suite(6));
}

TEST(RSNElement, WritesDefaultsForAbsentFieldsBeforeAPresentOne) {
  Rsn rsn;
  rsn.set_group_management_cipher(Suite(6));
  EXPECT_EQ(encode(rsn).octets, test::hex(octets("30 12 0100 000FAC00 0000 0000 0000 0000 000FAC06")));
  EXPECT_THROW(Rsn().get_group_data(), std::bad_optional_access);
}

TEST(RSNElement, AcceptsCountsOfZeroAndAnyVersion) {
  const auto [outcome, decoded] = decode<Rsn>(octets("30 0E 0203 000FAC04 0000 0000 3412 0000"));
  EXPECT_EQ(
      (std::ostringstream() << *decoded).str(),
      "RSN Group Data Cipher: 00-0F-AC:4 Pairwise Ciphers: [ ] AKM Suites: [ ] RSN Capabilities: 0x1234 PMKIDs: [ ]");
}

TEST(RSNElement, RefusesWhatTheElementDoesNotHold) {
  // Octets after the element, which no field may reach.
  const std::string behind = " 000FAC02 000FAC04 000FAC08 000FAC12 000FAC06 000FAC0B";
  const std::pair<const char*, const char*> rows[] = {
      {"31 02 0100", "Invalid length"},
      {"30 01 01", "Invalid length"},
      {"30 05 0100 000FAC", "Invalid length"},
      {"30 07 0100 000FAC04 01", "Invalid length"},
      {"30 08 0100 000FAC04 0100", "Invalid counter"},
      {"30 0F 0100 000FAC04 0200 000FAC04 000FAC", "Invalid counter"},
      {"30 0C 0100 000FAC04 0001 000FAC04", "Invalid counter"},
      {"30 0D 0100 000FAC04 0100 000FAC04 01", "Invalid length"},
      {"30 0E 0100 000FAC04 0100 000FAC04 FFFF", "Invalid counter"},
      {"30 13 0100 000FAC04 0100 000FAC04 0100 000FAC02 C8", "Invalid length"},
      {"30 1D 0100 000FAC04 0000 0000 3412 0100 0123456789ABCDEF10325476 98BADC", "Invalid counter"},
      {"30 11 0100 000FAC04 0000 0000 3412 0000 000FAC", "Invalid length"},
      {"30 13 0100 000FAC04 0000 0000 3412 0000 000FAC06 EE", "Sanity Check: Unconsumed length"},
  };
  for (const auto& [wire, refused] : rows) {
    const auto outcome = decode<Rsn>(octets(wire + behind)).outcome;
    EXPECT_EQ(outcome.refused, refused) << wire;
    EXPECT_EQ(outcome.state, std::ios_base::goodbit) << wire;
  }
}

TEST(RSNElement, EncodesUpTo254OctetsSinceEveryLengthIsEven) {
  Rsn rsn;
  rsn.set_pairwise_cipher_list(Rsn::CipherSuites(57));
  rsn.set_akm_suite_list(Rsn::CipherSuites(4));
  EXPECT_EQ(rsn.get_length(), 254U);
  EXPECT_EQ(encode(rsn).octets.substr(0, 8), "30FE0100");
  rsn.set_rsn_capabilities({});
  EXPECT_EQ(rsn.get_length(), 256U);
  EXPECT_EQ(encode(rsn, "AB"), (test::Written{"4142", "Invalid size"}));
}

using Report = IEEE802_11_MeasurementReport;

/// A measurement pilot of a VHT PHY on class 115, channel 36, and a subelement of five octets.
BeaconReport beacon_report() {
  return test::fields(BeaconReport(), FIELD(operating_class), 115, FIELD(channel_number), 36,
                      FIELD(measurement_start_time), 0x162738495A6B7C8D, FIELD(measurement_duration), 50, FIELD(rcpi),
                      110, FIELD(rsni), 47, FIELD(bssid), test::mac("021A2B3C4D5E"), FIELD(antenna_id), 1,
                      FIELD(parent_tsf), 0xA1B2C3D4, FIELD(optional_subelements), octets("0105AA1B2C3D4E"),
                      FIELD(reported_frame_information), 0x89);
}

TEST(MeasurementReport, Golden) {
  const Report report =
      test::fields(Report(3, 4, beacon_report()), FIELD(measurement_token), 3, FIELD(measurement_report_mode), 4U);
  test::check_golden_of(report, R"(
27 24               # ID, length
03 04 05            # token, mode, type
73 24               # operating class, channel
8D7C6B5A49382716    # start time
3200 89 6E 2F       # duration, frame information, RCPI, RSNI
021A2B3C4D5E 01     # BSSID, antenna
D4C3B2A1            # parent TSF
0105AA1B2C3D4E)",
                        "Measurement Token: 3 Mode: 4 Type: BEACON Operating Class: 115 Channel Number: 36 "
                        "Measurement Start Time: 1596306480626891917 Measurement Duration: 50 PHY Type: VHT "
                        "Frame Type: MEASUREMENT_PILOT RCPI: 110 RSNI: 47 BSSID: 02:1A:2B:3C:4D:5E Antenna ID: 1 "
                        "Parent TSF: 2712847316 Subelements: 7 Byte");
  test::check_golden_of(Report(9, 1, MeasurementType::CCA, octets("06 8D7C6B5A49382716 E803 4D")),
                        "27 0F 09 01 01 06 8D7C6B5A49382716 E803 4D",
                        "Measurement Token: 9 Mode: 1 Type: CCA Body: 12 Byte");
  test::check_golden_of(Report(200, 2, static_cast<MeasurementType>(77), {}), "27 03 C8 02 4D",
                        "Measurement Token: 200 Mode: 2 Type: 77 Body: 0 Byte");
}

TEST(MeasurementReport, TypeBeaconTooShortForAReportIsKept) {
  const Octets whole = octets("27 1D 07 04 05 7324 8D7C6B5A49382716 3200 89 6E 2F 021A2B3C4D5E 01 D4C3B2A1");
  const Report report = *decode<Report>(whole).object;
  ASSERT_NE(report.get_beacon_report(), nullptr);
  EXPECT_EQ(report.get_beacon_report()->get_phy_type(), PHYType::VHT);
  EXPECT_EQ(report.get_beacon_report()->get_frame_type(), BeaconReportFrameType::MEASUREMENT_PILOT);
  EXPECT_EQ(report.get_measurement_type(), MeasurementType::BEACON);
  EXPECT_EQ(report.get_opaque_body(), nullptr);

  Octets cut = test::first(whole.size() - 1, whole);
  --cut[1];
  const auto [outcome, decoded] = decode<Report>(cut);
  ASSERT_EQ(outcome.refused, "");
  EXPECT_EQ(decoded->get_beacon_report(), nullptr);
  EXPECT_EQ(encode(*decoded).octets, test::hex(cut));
  EXPECT_EQ(*decoded->get_opaque_body(), Octets(cut.begin() + 5, cut.end()));
}

TEST(MeasurementReport, Refusals) {
  EXPECT_EQ(decode<Report>(octets("26 03 C8 02 4D")).outcome.refused, "Invalid length");
  EXPECT_EQ(decode<Report>(octets("27 02 C8 02 4D")).outcome.refused, "Invalid length");
  EXPECT_EQ(encode(Report(1, 0, MeasurementType::LCI, Octets(252))).refused, "");
  EXPECT_EQ(encode(Report(1, 0, MeasurementType::LCI, Octets(253))), (test::Written{"", "Invalid size"}));
}

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

TEST(AssocRequestFrame, IsBuiltFromElements) {
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
TEST(AssocRequestFrame, RecognizesReassociations) {
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

TEST(AssocRequestFrame, CanBeSwitchedToEitherForm) {
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

/// Reads an element by the octets behind its version: the group data cipher, then lists of pairwise ciphers and of AKM
/// suites. Ciphers: 2 TKIP, 4 CCMP; AKM suites: 1 IEEE 802.1X, 2 PSK, 8 SAE, 18 OWE.
Rsn rsn_element(const std::string& behind_version) {
  Octets wire = octets("30 00 0100" + behind_version);
  wire[1] = static_cast<std::uint8_t>(wire.size() - 2);
  return *decode<Rsn>(wire).object;
}

TEST(SecurityMapping, ElementOfEachMode) {
  using enum WLANSecurity;
  const std::tuple<WLANSecurity, const char*, WLANSecurity> rows[] = {
      {UNDEFINED, "000FAC00", UNDEFINED},
      {NONE, "", NONE},
      {WEP_OPEN, "000FAC00", UNDEFINED},
      {WEP_SHARED, "000FAC00", UNDEFINED},
      {WPAPSK, "000FAC02 0100 000FAC02 0100 000FAC02", WPAPSK},
      {WPA2PSK, "000FAC04 0100 000FAC04 0100 000FAC02", WPA2PSK},
      {WPA_WPA2_MIXED, "000FAC02 0200 000FAC02 000FAC04 0100 000FAC02", WPA_WPA2_MIXED},
      {WPAENT, "000FAC02 0100 000FAC02 0100 000FAC01", WPAENT},
      {WPA2ENT, "000FAC04 0100 000FAC04 0100 000FAC01", WPA2ENT},
      {WPA3PSK, "000FAC04 0100 000FAC04 0100 000FAC08", WPA3PSK},
      {WPA2_WPA3_MIXED, "000FAC04 0100 000FAC04 0200 000FAC02 000FAC08", WPA2_WPA3_MIXED},
      {OWE, "000FAC04 0100 000FAC04 0100 000FAC12", OWE},
      {INVALID, "000FAC00", UNDEFINED},
      {WLANSecurity(13), "", NONE},
  };
  for (const auto& [security, wire, back] : rows) {
    const std::unique_ptr<Rsn> created = create_rsn_element_from_security(security);
    EXPECT_TRUE(*created == rsn_element(wire)) << security << ": " << *created;
    EXPECT_EQ(security_from_rsn_element(*created), back) << security;
  }
}

TEST(SecurityMapping, ComparesSuitesInAnyOrderAndNothingElse) {
  using enum WLANSecurity;
  const std::pair<const char*, WLANSecurity> rows[] = {
      {"000FAC02 0200 000FAC04 000FAC02 0100 000FAC02", WPA_WPA2_MIXED},
      {"0050F202 0100 000FAC02 0100 000FAC02", UNDEFINED},
      {"000FAC02 0100 0050F202 0100 000FAC02", UNDEFINED},
      {"000FAC04 0100 000FAC04 0200 000FAC02 0050F208", UNDEFINED},
      {"000FAC02 0300 000FAC02 000FAC04 000FAC08 0100 000FAC02", UNDEFINED},
      {"000FAC04 0100 000FAC04 0300 000FAC02 000FAC08 000FAC12", UNDEFINED},
      {"000FAC02 0200 000FAC02 000FAC02 0100 000FAC02", UNDEFINED},
      {"000FAC02 0100 000FAC04 0100 000FAC02", UNDEFINED},
      {"000FAC04 0200 000FAC04 000FAC02 0100 000FAC02", UNDEFINED},
      {"000FAC04 0100 000FAC04 0000", UNDEFINED},
      {"000FAC04 0100 000FAC04", UNDEFINED},
      {"000FAC04", UNDEFINED},
  };
  for (const auto& [wire, security] : rows) {
    Rsn rsn = rsn_element(wire);
    EXPECT_EQ(security_from_rsn_element(rsn), security) << rsn;
    rsn.set_rsn_capabilities(0x12C8);
    rsn.set_group_management_cipher(Suite(6));
    EXPECT_EQ(security_from_rsn_element(rsn), security) << rsn;
  }
  Rsn rsn;
  rsn.set_akm_suite_list({Suite(2)});
  EXPECT_EQ(security_from_rsn_element(rsn), NONE) << "without a group data cipher nothing else matters";
  rsn.set_group_data(Suite(4));
  EXPECT_EQ(security_from_rsn_element(rsn), UNDEFINED);
  rsn.set_pairwise_cipher_list({Suite(4)});
  EXPECT_EQ(security_from_rsn_element(rsn), WPA2PSK);
}

}  // namespace
}  // namespace qel::ieee802_11
