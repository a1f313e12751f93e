#include "tools/meshd/wifi/interface.h"

#include <linux/nl80211.h>

#include <array>
#include <stdexcept>

#include "qel/channel/frequency.h"

namespace meshd::wifi {

namespace {

using qel::ChannelWidth;
using qel::kHz;

constexpr std::size_t MOST_SSID_OCTETS = 32;

Role role_of(std::uint32_t type) {
  switch (type) {
    case NL80211_IFTYPE_STATION:
      return Role::STATION;
    case NL80211_IFTYPE_AP:
      return Role::AP;
    case NL80211_IFTYPE_AP_VLAN:
      return Role::AP_VLAN;
    case NL80211_IFTYPE_MONITOR:
      return Role::MONITOR;
    case NL80211_IFTYPE_MESH_POINT:
      return Role::MESH_POINT;
    case NL80211_IFTYPE_ADHOC:
      return Role::AD_HOC;
    case NL80211_IFTYPE_P2P_CLIENT:
      return Role::P2P_CLIENT;
    case NL80211_IFTYPE_P2P_GO:
      return Role::P2P_GROUP_OWNER;
    case NL80211_IFTYPE_P2P_DEVICE:
      return Role::P2P_DEVICE;
    default:
      return Role::OTHER;
  }
}

ChannelWidth width_of(std::uint32_t width) {
  switch (width) {
    case NL80211_CHAN_WIDTH_20_NOHT:
    case NL80211_CHAN_WIDTH_20:
      return ChannelWidth::WIDTH_20_MHZ;
    case NL80211_CHAN_WIDTH_40:
      return ChannelWidth::WIDTH_40_MHZ;
    case NL80211_CHAN_WIDTH_80:
      return ChannelWidth::WIDTH_80_MHZ;
    case NL80211_CHAN_WIDTH_160:
      return ChannelWidth::WIDTH_160_MHZ;
    case NL80211_CHAN_WIDTH_80P80:
      return ChannelWidth::WIDTH_80_80_MHZ;
    default:
      return ChannelWidth::INVALID;
  }
}

}  // namespace

std::string role_text(Role role) {
  constexpr std::array TEXTS{"OTHER",      "STATION", "AP",         "AP_VLAN",         "MONITOR",
                             "MESH_POINT", "AD_HOC",  "P2P_CLIENT", "P2P_GROUP_OWNER", "P2P_DEVICE"};
  const auto index = static_cast<std::size_t>(role);
  return TEXTS[index < TEXTS.size() ? index : 0];
}

qel::ChannelInfo channel_info(Octets attributes, Timestamp now) {
  std::uint32_t primary = 0;
  std::uint32_t offset = 0;
  std::uint32_t center = 0;
  std::uint32_t second_center = 0;
  std::optional<std::uint32_t> width;
  std::optional<std::int32_t> power;
  netlink::for_each_attribute(attributes, [&](int type, Octets value) {
    switch (type) {
      case NL80211_ATTR_WIPHY_FREQ:
        take(value, primary);
        break;
      case NL80211_ATTR_WIPHY_FREQ_OFFSET:
        take(value, offset);
        break;
      case NL80211_ATTR_CENTER_FREQ1:
        take(value, center);
        break;
      case NL80211_ATTR_CENTER_FREQ2:
        take(value, second_center);
        break;
      case NL80211_ATTR_CHANNEL_WIDTH:
        take(value, width);
        break;
      case NL80211_ATTR_WIPHY_TX_POWER_LEVEL:
        take(value, power);
        break;
      default:
        break;
    }
  });
  const kHz frequency = frequency_of(primary, offset);
  qel::ChannelInfo info(frequency != kHz(0) ? qel::LastChanged<kHz>(frequency, now) : qel::LastChanged<kHz>(),
                        power ? qel::LastChanged<float>(dbm_of(*power), now) : qel::LastChanged<float>());
  if (frequency == kHz(0) || !width) {
    return info;
  }
  try {
    info.set_segment({{frequency_of(center), width_of(*width)}, now}, frequency_of(second_center));
  } catch (const std::invalid_argument&) {  // not a segment
  }
  return info;
}

bool occupies(const qel::ChannelInfo& channel, const kHz& frequency) {
  if (!channel.get_primary_segment().is_set()) {
    const auto& primary = channel.get_primary_frequency();
    return primary.is_set() && primary.get() == frequency;
  }
  const auto& [center, width] = channel.get_primary_segment().get();
  const kHz half(qel::unit_cast<kHz>(channel_width_to_frequency(width)).value() / 2);
  const auto contains = [&](const kHz& middle) { return middle - half < frequency && frequency < middle + half; };
  return contains(center) || contains(channel.get_secondary_center_frequency());
}

Interface interface_of(const Message& message, Timestamp now) {
  Interface interface;
  netlink::for_each_attribute(message.attributes, [&](int type, Octets value) {
    std::uint32_t number = 0;
    std::uint8_t flag = 0;
    switch (type) {
      case NL80211_ATTR_IFINDEX:
        take(value, interface.number);
        break;
      case NL80211_ATTR_WDEV:
        take(value, interface.device);
        break;
      case NL80211_ATTR_WIPHY:
        take(value, interface.wiphy);
        break;
      case NL80211_ATTR_IFNAME:
        interface.name = netlink::text_of(value);
        break;
      case NL80211_ATTR_MAC:
        take(value, interface.mac);
        break;
      case NL80211_ATTR_IFTYPE:
        interface.role = take(value, number) ? role_of(number) : Role::OTHER;
        break;
      case NL80211_ATTR_SSID:
        interface.ssid.assign(reinterpret_cast<const char*>(value.data()), std::min(value.size(), MOST_SSID_OCTETS));
        break;
      case NL80211_ATTR_4ADDR:
        interface.has_4_addresses = take(value, flag) && flag != 0;
        break;
      default:
        break;
    }
  });
  interface.channel = channel_info(message.attributes, now);
  return interface;
}

}  // namespace meshd::wifi
