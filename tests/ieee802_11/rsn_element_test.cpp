#include "qel/ieee802_11/rsn_element.h"

#include "tests/support/fields.h"
#include "tests/support/golden.h"

namespace qel::ieee802_11 {
namespace {

using test::decode;
using test::encode;
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

TEST(CipherSuite, HasAnOUIAndAType) {
  EXPECT_EQ(encode(vendor_suite(2)).octets, "506F9A02");
  EXPECT_EQ(*decode<Suite>(octets("506F9A02")).object, vendor_suite(2));
}

// The version, at offsets 2 and 3, is not kept.
TEST(RSNElement, GoldenOfEachDepth) {
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

TEST(RSNElement, WritesWhatIsAbsentBeforeAPresentField) {
  Rsn rsn;
  rsn.set_group_management_cipher(Suite(6));
  EXPECT_EQ(encode(rsn).octets, test::hex(octets("30 12 0100 000FAC00 0000 0000 0000 0000 000FAC06")));
  EXPECT_THROW(Rsn().get_group_data(), std::bad_optional_access);
}

TEST(RSNElement, TakesCountsOfZeroAndAnyVersion) {
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

}  // namespace
}  // namespace qel::ieee802_11
