#include "qel/ieee802_11/security_mapping.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qel::ieee802_11 {

namespace {

constexpr IEEE802_11_CipherSuite USE_GROUP_CIPHER(0);
constexpr IEEE802_11_CipherSuite TKIP(2);
constexpr IEEE802_11_CipherSuite CCMP(4);

constexpr IEEE802_11_CipherSuite IEEE802_1X(1);
constexpr IEEE802_11_CipherSuite PSK(2);
constexpr IEEE802_11_CipherSuite SAE(8);
constexpr IEEE802_11_CipherSuite OWE(18);

/// One or two suites.
class Suites {
 public:
  constexpr Suites(const IEEE802_11_CipherSuite& suite) : suites_{suite}, count_(1) {}
  constexpr Suites(const IEEE802_11_CipherSuite& first, const IEEE802_11_CipherSuite& second)
      : suites_{first, second}, count_(2) {}

  std::span<const IEEE802_11_CipherSuite> list() const { return {suites_, count_}; }

 private:
  IEEE802_11_CipherSuite suites_[2];
  std::size_t count_;
};

struct Mode {
  WLANSecurity security;
  IEEE802_11_CipherSuite group;
  Suites pairwise;
  Suites akm;
};

/// The modes that have suites of their own. The mixed mode of WPA and WPA2 has the group cipher that every station of
/// the BSS supports, so TKIP with group cipher CCMP matches no mode.
constexpr Mode MODES[] = {
    {WLANSecurity::WPAPSK, TKIP, TKIP, PSK},
    {WLANSecurity::WPA2PSK, CCMP, CCMP, PSK},
    {WLANSecurity::WPA_WPA2_MIXED, TKIP, {TKIP, CCMP}, PSK},
    {WLANSecurity::WPAENT, TKIP, TKIP, IEEE802_1X},
    {WLANSecurity::WPA2ENT, CCMP, CCMP, IEEE802_1X},
    {WLANSecurity::WPA3PSK, CCMP, CCMP, SAE},
    {WLANSecurity::WPA2_WPA3_MIXED, CCMP, CCMP, {PSK, SAE}},
    {WLANSecurity::OWE, CCMP, CCMP, OWE},
};

bool same_suites(const Suites& left, const IEEE802_11_RSNElement::CipherSuites& right) {
  return std::ranges::is_permutation(left.list(), right);
}

IEEE802_11_RSNElement::CipherSuites list_of(const Suites& suites) {
  return {suites.list().begin(), suites.list().end()};
}

}  // namespace

WLANSecurity security_from_rsn_element(const IEEE802_11_RSNElement& element) {
  if (!element.has_group_data()) {
    return WLANSecurity::NONE;
  }
  if (!element.has_pairwise_cipher_list() || !element.has_akm_suite_list()) {
    return WLANSecurity::UNDEFINED;
  }
  const auto* mode = std::ranges::find_if(MODES, [&](const Mode& candidate) {
    return candidate.group == element.get_group_data() &&
           same_suites(candidate.pairwise, element.get_pairwise_cipher_list()) &&
           same_suites(candidate.akm, element.get_akm_suite_list());
  });
  return mode != std::end(MODES) ? mode->security : WLANSecurity::UNDEFINED;
}

std::unique_ptr<IEEE802_11_RSNElement> create_rsn_element_from_security(WLANSecurity security) {
  auto element = std::make_unique<IEEE802_11_RSNElement>();
  const auto* mode = std::ranges::find(MODES, security, &Mode::security);
  if (mode != std::end(MODES)) {
    element->set_group_data(mode->group);
    element->set_pairwise_cipher_list(list_of(mode->pairwise));
    element->set_akm_suite_list(list_of(mode->akm));
  } else if (security != WLANSecurity::NONE && security <= WLANSecurity::INVALID) {
    // Secured, but in a way that no RSN element expresses; for a value above INVALID, not even that is set.
    element->set_group_data(USE_GROUP_CIPHER);
  }
  return element;
}

}  // namespace qel::ieee802_11
