#include "qel/ieee802_11/security_mapping.h"

#include "tests/support/testing.h"

namespace qel::ieee802_11 {
namespace {

using enum WLANSecurity;
using Suite = IEEE802_11_CipherSuite;
using Suites = IEEE802_11_RSNElement::CipherSuites;
using Types = std::optional<std::vector<int>>;

constexpr int TKIP = 2, CCMP = 4, DOT1X = 1, PSK = 2, SAE = 8, OWE_AKM = 18;
constexpr int VENDOR = 0x100;  ///< added to a type to select another OUI
const Types ABSENT;

Suite suite(int type) {
  Suite result(static_cast<unsigned char>(type));
  if (type >= VENDOR) {
    result.set_oui({0x00, 0x50, 0xF2});
  }
  return result;
}

Suites suites(const std::vector<int>& types) {
  Suites result;
  std::ranges::transform(types, std::back_inserter(result), suite);
  return result;
}

IEEE802_11_RSNElement element(std::optional<int> group, const Types& pairwise = ABSENT, const Types& akm = ABSENT) {
  IEEE802_11_RSNElement rsn;
  if (group) {
    rsn.set_group_data(suite(*group));
  }
  if (pairwise) {
    rsn.set_pairwise_cipher_list(suites(*pairwise));
  }
  if (akm) {
    rsn.set_akm_suite_list(suites(*akm));
  }
  return rsn;
}

TEST(SecurityMapping, ElementOfEachMode) {
  const std::tuple<WLANSecurity, IEEE802_11_RSNElement, WLANSecurity> rows[] = {
      {UNDEFINED, element(0), UNDEFINED},
      {NONE, element({}), NONE},
      {WEP_OPEN, element(0), UNDEFINED},
      {WEP_SHARED, element(0), UNDEFINED},
      {WPAPSK, element(TKIP, {{TKIP}}, {{PSK}}), WPAPSK},
      {WPA2PSK, element(CCMP, {{CCMP}}, {{PSK}}), WPA2PSK},
      {WPA_WPA2_MIXED, element(TKIP, {{TKIP, CCMP}}, {{PSK}}), WPA_WPA2_MIXED},
      {WPAENT, element(TKIP, {{TKIP}}, {{DOT1X}}), WPAENT},
      {WPA2ENT, element(CCMP, {{CCMP}}, {{DOT1X}}), WPA2ENT},
      {WPA3PSK, element(CCMP, {{CCMP}}, {{SAE}}), WPA3PSK},
      {WPA2_WPA3_MIXED, element(CCMP, {{CCMP}}, {{PSK, SAE}}), WPA2_WPA3_MIXED},
      {OWE, element(CCMP, {{CCMP}}, {{OWE_AKM}}), OWE},
      {INVALID, element(0), UNDEFINED},
      {static_cast<WLANSecurity>(13), element({}), NONE},
      {static_cast<WLANSecurity>(255), element({}), NONE},
  };
  for (const auto& [security, rsn, back] : rows) {
    const std::unique_ptr<IEEE802_11_RSNElement> created = create_rsn_element_from_security(security);
    EXPECT_TRUE(*created == rsn) << security << ": " << *created;
    EXPECT_EQ(security_from_rsn_element(*created), back) << security;
  }
}

TEST(SecurityMapping, ComparesSuitesInAnyOrderAndNothingElse) {
  const std::pair<IEEE802_11_RSNElement, WLANSecurity> rows[] = {
      {element({}, {{CCMP}}, {{PSK}}), NONE},  // without a group data cipher, nothing else matters
      {element(TKIP, {{CCMP, TKIP}}, {{PSK}}), WPA_WPA2_MIXED},
      {element(TKIP + VENDOR, {{TKIP}}, {{PSK}}), UNDEFINED},
      {element(TKIP, {{TKIP + VENDOR}}, {{PSK}}), UNDEFINED},
      {element(CCMP, {{CCMP}}, {{PSK, SAE + VENDOR}}), UNDEFINED},
      {element(TKIP, {{TKIP, CCMP, 8}}, {{PSK}}), UNDEFINED},
      {element(CCMP, {{CCMP}}, {{PSK, SAE, OWE_AKM}}), UNDEFINED},
      {element(TKIP, {{TKIP, TKIP}}, {{PSK}}), UNDEFINED},
      {element(TKIP, {{CCMP}}, {{PSK}}), UNDEFINED},
      {element(CCMP, {{CCMP, TKIP}}, {{PSK}}), UNDEFINED},
      {element(CCMP, {{CCMP}}, std::vector<int>{}), UNDEFINED},
      {element(CCMP, {{CCMP}}, ABSENT), UNDEFINED},
      {element(CCMP, ABSENT, {{PSK}}), UNDEFINED},
  };
  for (auto [rsn, security] : rows) {
    rsn.set_rsn_capabilities(0x12C8);
    rsn.set_group_management_cipher(suite(6));
    EXPECT_EQ(security_from_rsn_element(rsn), security) << rsn;
  }
}

}  // namespace
}  // namespace qel::ieee802_11
