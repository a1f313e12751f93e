#include "tools/meshd/wifi/association.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <span>
#include <string>
#include <utility>

#include "tools/command_line.h"
#include "tools/meshd/wifi/control_text.h"

namespace meshd::wifi {

namespace {

using control_text::octets_of;
using control_text::value_of;
using qel::WLANSecurity;

/// The position of BSS Transition in the Extended Capabilities element (IEEE 802.11-2020, 9.4.2.26).
constexpr std::size_t BSS_TRANSITION = 19;

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

/// Builds elements from the lines of a reply about a client (IEEE 802.11-2020, 9.4.2.1). Missing lines leave zeros.
class Elements {
 public:
  explicit Elements(std::string_view reply) : reply_(reply) {}

  /// Adds the element, which holds at most 255 octets.
  void add(std::uint8_t identifier, std::span<const std::uint8_t> content) {
    octets_.push_back(identifier);
    octets_.push_back(static_cast<std::uint8_t>(content.size()));
    octets_.insert(octets_.end(), content.begin(), content.end());
  }

  /// The octets of the line; as many as an element holds.
  std::vector<std::uint8_t> octets(std::string_view key) const {
    std::string digits(value_of(reply_, key));
    std::erase(digits, ' ');
    std::vector<std::uint8_t> octets = octets_of(digits);
    octets.resize(std::min<std::size_t>(octets.size(), 255));
    return octets;
  }

  bool has(std::string_view key) const { return !value_of(reply_, key).empty(); }

  /// Writes the number in the line, such as 0x107e, with its least significant octet first, as all numbers are.
  void put(std::span<std::uint8_t> target, std::string_view key, int base = 16) const {
    std::string_view digits = value_of(reply_, key);
    digits.remove_prefix(digits.starts_with("0x") ? 2 : 0);
    auto number = static_cast<std::uint64_t>(tools::parse_number<std::int64_t>(digits, base).value_or(0));
    for (std::uint8_t& octet : target) {
      octet = static_cast<std::uint8_t>(number & 0xFF);
      number >>= 8;
    }
  }

  const std::vector<std::uint8_t>& get() const { return octets_; }

 private:
  std::string_view reply_;
  std::vector<std::uint8_t> octets_;
};

/// In the order of the frame (9.3.3.5).
std::vector<std::uint8_t> elements_of(std::string_view reply) {
  constexpr std::size_t MOST_RATES = 8;  // of the first of two elements
  Elements elements(reply);
  const std::vector<std::uint8_t> rates = elements.octets("supported_rates");
  const auto first = std::span(rates).first(std::min(rates.size(), MOST_RATES));
  elements.add(1, first);
  if (rates.size() > MOST_RATES) {
    elements.add(50, std::span(rates).subspan(MOST_RATES));
  }
  if (elements.has("max_txpower")) {
    std::array<std::uint8_t, 2> power{};
    elements.put(std::span(power).first(1), "min_txpower", 10);
    elements.put(std::span(power).last(1), "max_txpower", 10);
    elements.add(33, power);
  }
  if (elements.has("supp_op_classes")) {
    elements.add(59, elements.octets("supp_op_classes"));
  }
  if (elements.has("ht_caps_info")) {
    std::array<std::uint8_t, 26> ht{};  // 9.4.2.55
    elements.put(std::span(ht).first(2), "ht_caps_info");
    const std::vector<std::uint8_t> mcs = elements.octets("ht_mcs_bitmask");
    std::copy_n(mcs.begin(), std::min<std::size_t>(mcs.size(), 10), ht.begin() + 3);
    elements.add(45, ht);
  }
  if (elements.has("ext_capab")) {
    elements.add(127, elements.octets("ext_capab"));
  }
  if (elements.has("vht_caps_info")) {
    std::array<std::uint8_t, 12> vht{};  // 9.4.2.157
    elements.put(std::span(vht).first(4), "vht_caps_info");
    elements.put(std::span(vht).subspan(4, 2), "rx_vht_mcs_map");
    elements.put(std::span(vht).subspan(8, 2), "tx_vht_mcs_map");
    elements.add(191, vht);
  }
  return elements.get();
}

std::optional<AssociationRequest> request_of(std::string_view reply) {
  if (value_of(reply, "capability").empty() || value_of(reply, "listen_interval").empty()) {
    return std::nullopt;
  }
  AssociationRequest request;
  const Elements lines(reply);
  lines.put(std::span(request.fixed).first(2), "capability");
  lines.put(std::span(request.fixed).last(2), "listen_interval", 10);
  request.elements = elements_of(reply);
  return request;
}

}  // namespace

std::vector<std::uint8_t> AssociationRequest::body(std::string_view ssid, std::span<const std::uint8_t> others) const {
  std::vector<std::uint8_t> body(fixed.begin(), fixed.end());
  if (others.empty()) {
    body.push_back(0);
    body.push_back(static_cast<std::uint8_t>(ssid.size()));
    body.insert(body.end(), ssid.begin(), ssid.end());
    others = elements;
  }
  body.insert(body.end(), others.begin(), others.end());
  return body;
}

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
  association.request = request_of(reply);
  return association;
}

std::optional<Associations::value_type> association_of_status(std::string_view reply) {
  qel::MACAddress access_point;
  if (value_of(reply, "wpa_state") != "COMPLETED" ||
      !access_point.parse_string(std::string(value_of(reply, "bssid")))) {
    return std::nullopt;
  }
  return Associations::value_type(access_point, {security_of_name(value_of(reply, "key_mgmt")), {}, {}, {}});
}

}  // namespace meshd::wifi
