#pragma once

#include <linux/genetlink.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include "qel/channel/type_with_ratio.h"
#include "tools/meshd/ports/netlink_attributes.h"

/// Reads the messages of nl80211, the kernel's interface for Wi-Fi, and builds requests. All texts and numbers come
/// from drivers and from the air: an attribute that is too short, or does not make sense, counts as missing.
namespace meshd::wifi {

using netlink::Octets;

/// A message of nl80211.
struct Message {
  std::uint8_t command = 0;  ///< NL80211_CMD_...
  Octets attributes;         ///< NL80211_ATTR_...
};

/// Returns nothing if the octets are too few for a command.
inline std::optional<Message> message_of(Octets octets) {
  if (octets.size() < GENL_HDRLEN) {
    return std::nullopt;
  }
  return Message{netlink::value_of<genlmsghdr>(octets).cmd, octets.subspan(GENL_HDRLEN)};
}

/// Visits the attributes nested in another one.
template <class Visit>
void for_each_nested(Octets attribute, Visit visit) {
  netlink::for_each_attribute(attribute, visit);
}

/// Reads a number in this machine's byte order; the target keeps its value if octets are missing.
template <class T>
bool take(Octets attribute, T& target) {
  if (attribute.size() < sizeof(T)) {
    return false;
  }
  target = netlink::value_of<T>(attribute);
  return true;
}

template <class T>
bool take(Octets attribute, std::optional<T>& target) {
  T value{};
  const bool is_there = take(attribute, value);
  if (is_there) {
    target = value;
  }
  return is_there;
}

/// Returns 0 if it is not a valid frequency.
constexpr qel::kHz frequency_of(std::uint32_t megahertz, std::uint32_t kilohertz_more = 0) {
  constexpr std::uint32_t LARGEST = 1'000'000;
  const bool is_sensible = megahertz <= LARGEST && kilohertz_more < 1000;
  return qel::kHz(is_sensible ? static_cast<long>(megahertz) * 1000 + static_cast<long>(kilohertz_more) : 0);
}

/// The two letters or digits of a country, or "".
inline std::string country_of(Octets octets) {
  std::string country(netlink::text_of(octets));
  const bool is_sensible = country.size() == 2 && std::all_of(country.begin(), country.end(), [](char letter) {
                             return (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9');
                           });
  return is_sensible ? country : std::string();
}

/// From hundredths of a dBm.
constexpr float dbm_of(std::int32_t hundredths) { return static_cast<float>(hundredths) / 100; }

}  // namespace meshd::wifi
