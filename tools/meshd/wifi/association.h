#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "qel/channel/wlan_types.h"
#include "qel/core/mac_address.h"

namespace meshd::wifi {

/// The association request of a client, as far as hostapd reports it. Not the frame: the elements are built from what
/// hostapd took from it, so those that it does not report are missing, such as RSN, RM Enabled Capabilities and HE
/// Capabilities, and so is the SSID.
struct AssociationRequest {
  std::array<std::uint8_t, 4> fixed{};  ///< capability information and listen interval
  std::vector<std::uint8_t> elements;

  /// The body of the frame. `others` are the elements that the driver has kept; if it has none, those above follow the
  /// SSID, which has at most 32 octets.
  std::vector<std::uint8_t> body(std::string_view ssid, std::span<const std::uint8_t> others) const;

  friend bool operator==(const AssociationRequest&, const AssociationRequest&) = default;
};

/// What hostapd knows of a client, or wpa_supplicant of its access point, and the kernel does not report.
struct Association {
  std::optional<qel::WLANSecurity> security;
  std::optional<bool> has_bss_transition;  ///< can be asked to move to another access point
  std::vector<std::uint8_t> opclasses;     ///< that the client says it supports; the first is the one in use
  std::optional<AssociationRequest> request;

  friend bool operator==(const Association&, const Association&) = default;
};

using Associations = std::map<qel::MACAddress, Association>;

/// From hostapd's reply to "STA 02:00:00:00:01:00". Nothing if it has no such client, or has not authorized it yet.
std::optional<Association> association_of_client(std::string_view reply);

/// From wpa_supplicant's reply to "STATUS", with the address of the access point. Nothing if it is not connected.
std::optional<Associations::value_type> association_of_status(std::string_view reply);

}  // namespace meshd::wifi
