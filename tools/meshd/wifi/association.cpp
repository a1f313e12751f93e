#include "tools/meshd/wifi/association.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "tools/command_line.h"

namespace meshd::wifi {

namespace {

using qel::WLANSecurity;

/// The position of BSS Transition in the Extended Capabilities element (IEEE 802.11-2020, 9.4.2.26).
constexpr std::size_t BSS_TRANSITION = 19;

/// The value in the line "key=value", or "".
std::string_view value_of(std::string_view reply, std::string_view key) {
  while (!reply.empty()) {
    const std::string_view line = reply.substr(0, reply.find('\n'));
    if (line.size() > key.size() && line.starts_with(key) && line[key.size()] == '=') {
      return line.substr(key.size() + 1);
    }
    reply.remove_prefix(std::min(line.size() + 1, reply.size()));
  }
  return {};
}

/// Up to the first that is not hexadecimal.
std::vector<std::uint8_t> octets_of(std::string_view digits) {
  std::vector<std::uint8_t> octets;
  for (; digits.size() >= 2; digits.remove_prefix(2)) {
    const auto octet = tools::parse_number<std::uint8_t>(digits.substr(0, 2), 16);
    if (!octet) {
      break;
    }
    octets.push_back(*octet);
  }
  return octets;
}

template <std::size_t N>
WLANSecurity find_security(const std::pair<std::string_view, WLANSecurity> (&rows)[N], std::string_view name) {
  const auto* const row = std::ranges::find(rows, name, &std::pair<std::string_view, WLANSecurity>::first);
  return row == std::end(rows) ? WLANSecurity::UNDEFINED : row->second;
}

/// By the selector of the AKM suite (IEEE 802.11-2020, Table 9-151).
WLANSecurity security_of_suite(std::string_view selector) {
  constexpr std::pair<std::string_view, WLANSecurity> SUITES[] = {
      {"", WLANSecurity::NONE},
      {"00-50-f2-1", WLANSecurity::WPAENT},
      {"00-50-f2-2", WLANSecurity::WPAPSK},
      {"00-0f-ac-1", WLANSecurity::WPA2ENT},
      {"00-0f-ac-2", WLANSecurity::WPA2PSK},
      {"00-0f-ac-3", WLANSecurity::WPA2ENT},
      {"00-0f-ac-4", WLANSecurity::WPA2PSK},
      {"00-0f-ac-5", WLANSecurity::WPA2ENT},
      {"00-0f-ac-6", WLANSecurity::WPA2PSK},
      {"00-0f-ac-8", WLANSecurity::WPA3PSK},
      {"00-0f-ac-9", WLANSecurity::WPA3PSK},
      {"00-0f-ac-18", WLANSecurity::OWE},
  };
  return find_security(SUITES, selector);
}

WLANSecurity security_of_name(std::string_view key_management) {
  constexpr std::pair<std::string_view, WLANSecurity> NAMES[] = {
      {"NONE", WLANSecurity::NONE},
      {"WPA/IEEE 802.1X/EAP", WLANSecurity::WPAENT},
      {"WPA-PSK", WLANSecurity::WPAPSK},
      {"WPA2/IEEE 802.1X/EAP", WLANSecurity::WPA2ENT},
      {"WPA2-PSK", WLANSecurity::WPA2PSK},
      {"FT-EAP", WLANSecurity::WPA2ENT},
      {"FT-PSK", WLANSecurity::WPA2PSK},
      {"WPA2-EAP-SHA256", WLANSecurity::WPA2ENT},
      {"WPA2-PSK-SHA256", WLANSecurity::WPA2PSK},
      {"SAE", WLANSecurity::WPA3PSK},
      {"FT-SAE", WLANSecurity::WPA3PSK},
      {"OWE", WLANSecurity::OWE},
  };
  return find_security(NAMES, key_management);
}

}  // namespace

std::optional<Association> association_of_client(std::string_view reply) {
  if (value_of(reply, "flags").find("[AUTHORIZED]") == std::string_view::npos) {
    return std::nullopt;
  }
  Association association;
  association.security = security_of_suite(value_of(reply, "AKMSuiteSelector"));
  const std::vector<std::uint8_t> capabilities = octets_of(value_of(reply, "ext_capab"));
  association.has_bss_transition =
      capabilities.size() > BSS_TRANSITION / 8 && (capabilities[BSS_TRANSITION / 8] & 1U << BSS_TRANSITION % 8) != 0;
  association.opclasses = octets_of(value_of(reply, "supp_op_classes"));
  return association;
}

std::optional<Associations::value_type> association_of_status(std::string_view reply) {
  qel::MACAddress access_point;
  if (value_of(reply, "wpa_state") != "COMPLETED" ||
      !access_point.parse_string(std::string(value_of(reply, "bssid")))) {
    return std::nullopt;
  }
  return Associations::value_type(access_point, {security_of_name(value_of(reply, "key_mgmt")), {}, {}});
}

}  // namespace meshd::wifi
