#include "tools/meshd/wifi/wiphy.h"

#include <linux/nl80211.h>

#include <algorithm>

namespace meshd::wifi {

namespace {

using qel::FrequencyBand;

constexpr std::size_t MOST_ADDRESSES = 64;

/// Copies the octets of an element. Octets that are missing keep their value.
template <std::size_t N>
void take_octets(Octets attribute, std::array<std::uint8_t, N>& target) {
  std::memcpy(target.data(), attribute.data(), std::min(attribute.size(), N));
}

std::bitset<32> interface_types(Octets attribute) {
  std::bitset<32> types;
  for_each_nested(attribute, [&](int type, Octets) {
    if (static_cast<std::size_t>(type) < types.size()) {
      types.set(static_cast<std::size_t>(type));
    }
  });
  return types;
}

std::chrono::milliseconds milliseconds_in(Octets attribute) {
  std::uint32_t count = 0;
  take(attribute, count);
  return std::chrono::milliseconds(count);
}

std::optional<DfsState> dfs_state(Octets attribute) {
  std::uint32_t state = 0;
  if (!take(attribute, state)) {
    return std::nullopt;
  }
  switch (state) {
    case NL80211_DFS_USABLE:
      return DfsState::USABLE;
    case NL80211_DFS_UNAVAILABLE:
      return DfsState::UNAVAILABLE;
    case NL80211_DFS_AVAILABLE:
      return DfsState::AVAILABLE;
    default:
      return std::nullopt;
  }
}

WiphyChannel channel_of(Octets attributes) {
  WiphyChannel channel;
  std::uint32_t megahertz = 0;
  std::uint32_t offset = 0;
  for_each_nested(attributes, [&](int type, Octets value) {
    std::int32_t hundredths = 0;
    switch (type) {
      case NL80211_FREQUENCY_ATTR_FREQ:
        take(value, megahertz);
        break;
      case NL80211_FREQUENCY_ATTR_OFFSET:
        take(value, offset);
        break;
      case NL80211_FREQUENCY_ATTR_DISABLED:
        channel.is_disabled = true;
        break;
      case NL80211_FREQUENCY_ATTR_NO_IR:
        channel.no_initiation = true;
        break;
      case NL80211_FREQUENCY_ATTR_INDOOR_ONLY:
        channel.is_indoor = true;
        break;
      case NL80211_FREQUENCY_ATTR_NO_HT40_MINUS:
        channel.no_ht40_minus = true;
        break;
      case NL80211_FREQUENCY_ATTR_NO_HT40_PLUS:
        channel.no_ht40_plus = true;
        break;
      case NL80211_FREQUENCY_ATTR_NO_80MHZ:
        channel.no_80_mhz = true;
        break;
      case NL80211_FREQUENCY_ATTR_NO_160MHZ:
        channel.no_160_mhz = true;
        break;
      case NL80211_FREQUENCY_ATTR_RADAR:
        channel.has_radar = true;
        break;
      case NL80211_FREQUENCY_ATTR_DFS_STATE:
        channel.dfs_state = dfs_state(value);
        break;
      case NL80211_FREQUENCY_ATTR_DFS_TIME:
        channel.dfs_time = milliseconds_in(value);
        break;
      case NL80211_FREQUENCY_ATTR_DFS_CAC_TIME:
        channel.cac_time = milliseconds_in(value);
        break;
      case NL80211_FREQUENCY_ATTR_MAX_TX_POWER:
        if (take(value, hundredths)) {
          channel.max_power = dbm_of(hundredths);
        }
        break;
      default:
        break;
    }
  });
  channel.frequency = frequency_of(megahertz, offset);
  return channel;
}

void add_channels(Band& band, Octets attribute) {
  for_each_nested(attribute, [&](int, Octets value) {
    const WiphyChannel channel = channel_of(value);
    const auto known = std::find_if(band.channels.begin(), band.channels.end(),
                                    [&](const WiphyChannel& other) { return other.frequency == channel.frequency; });
    if (known != band.channels.end()) {
      *known = channel;
    } else if (channel.frequency != qel::kHz(0) && band.channels.size() < MOST_CHANNELS) {
      band.channels.push_back(channel);
    }
  });
}

void add_rates(Band& band, Octets attribute) {
  for_each_nested(attribute, [&](int, Octets rate) {
    for_each_nested(rate, [&](int type, Octets value) {
      std::uint32_t hundreds_of_kilobits = 0;
      if (type != NL80211_BITRATE_ATTR_RATE || !take(value, hundreds_of_kilobits)) {
        return;
      }
      const bool is_dsss = hundreds_of_kilobits == 10 || hundreds_of_kilobits == 20 || hundreds_of_kilobits == 55 ||
                           hundreds_of_kilobits == 110;
      (is_dsss ? band.has_dsss_rates : band.has_ofdm_rates) = true;
    });
  });
}

std::vector<HECapabilities> he_capabilities(Octets attribute) {
  std::vector<HECapabilities> all;
  for_each_nested(attribute, [&](int, Octets attributes) {
    HECapabilities he;
    he.mcs.fill(0xFF);
    bool is_described = false;
    for_each_nested(attributes, [&](int type, Octets value) {
      switch (type) {
        case NL80211_BAND_IFTYPE_ATTR_IFTYPES:
          he.interface_types = interface_types(value);
          break;
        case NL80211_BAND_IFTYPE_ATTR_HE_CAP_MAC:
          take_octets(value, he.mac);
          break;
        case NL80211_BAND_IFTYPE_ATTR_HE_CAP_PHY:
          take_octets(value, he.phy);
          is_described = true;
          break;
        case NL80211_BAND_IFTYPE_ATTR_HE_CAP_MCS_SET:
          take_octets(value, he.mcs);
          break;
        default:
          break;
      }
    });
    if (is_described && all.size() < he.interface_types.size()) {
      all.push_back(he);
    }
  });
  return all;
}

FrequencyBand band_of(int band) {
  switch (band) {
    case NL80211_BAND_2GHZ:
      return FrequencyBand::BAND_2_4_GHZ;
    case NL80211_BAND_5GHZ:
      return FrequencyBand::BAND_5_GHZ;
    case NL80211_BAND_6GHZ:
      return FrequencyBand::BAND_6_GHZ;
    default:
      return FrequencyBand::INVALID_BAND_MAX;
  }
}

/// Returns the value of the optional, which it creates if necessary.
template <class T>
T& made(std::optional<T>& value) {
  return value ? *value : value.emplace();
}

void add_band(Wiphy& wiphy, int number, Octets attributes) {
  const FrequencyBand which = band_of(number);
  if (!is_valid(which)) {
    return;
  }
  auto band =
      std::find_if(wiphy.bands.begin(), wiphy.bands.end(), [&](const Band& known) { return known.band == which; });
  if (band == wiphy.bands.end()) {
    wiphy.bands.push_back({.band = which});
    band = wiphy.bands.end() - 1;
  }
  for_each_nested(attributes, [&](int type, Octets value) {
    switch (type) {
      case NL80211_BAND_ATTR_FREQS:
        add_channels(*band, value);
        break;
      case NL80211_BAND_ATTR_RATES:
        add_rates(*band, value);
        break;
      case NL80211_BAND_ATTR_HT_CAPA:
        take(value, made(band->ht).information);
        break;
      case NL80211_BAND_ATTR_HT_MCS_SET:
        take_octets(value, made(band->ht).mcs);
        break;
      case NL80211_BAND_ATTR_VHT_CAPA:
        take(value, made(band->vht).information);
        break;
      case NL80211_BAND_ATTR_VHT_MCS_SET:
        take_octets(value, made(band->vht).mcs);
        break;
      case NL80211_BAND_ATTR_IFTYPE_DATA:
        band->he = he_capabilities(value);
        break;
      default:
        break;
    }
  });
}

std::vector<qel::MACAddress> addresses_in(Octets attribute) {
  std::vector<qel::MACAddress> addresses;
  for_each_nested(attribute, [&](int, Octets value) {
    qel::MACAddress address;
    if (addresses.size() < MOST_ADDRESSES && take(value, address)) {
      addresses.push_back(address);
    }
  });
  return addresses;
}

/// The most access points in one of the combinations of interfaces.
std::uint32_t most_access_points(Octets attribute) {
  std::uint32_t most = 1;
  for_each_nested(attribute, [&](int, Octets combination) {
    std::uint32_t all = 0;
    std::uint32_t access_points = 0;
    for_each_nested(combination, [&](int type, Octets value) {
      if (type == NL80211_IFACE_COMB_MAXNUM) {
        take(value, all);
      } else if (type == NL80211_IFACE_COMB_LIMITS) {
        for_each_nested(value, [&](int, Octets limit) {
          std::uint32_t number = 0;
          std::bitset<32> types;
          for_each_nested(limit, [&](int kind, Octets content) {
            if (kind == NL80211_IFACE_LIMIT_MAX) {
              take(content, number);
            } else if (kind == NL80211_IFACE_LIMIT_TYPES) {
              types = interface_types(content);
            }
          });
          access_points = types[NL80211_IFTYPE_AP] ? std::max(access_points, number) : access_points;
        });
      }
    });
    most = std::max(most, std::min(all, access_points));
  });
  return most;
}

void add_attribute(Wiphy& wiphy, int type, Octets value) {
  switch (type) {
    case NL80211_ATTR_WIPHY_NAME:
      wiphy.name = netlink::text_of(value);
      break;
    case NL80211_ATTR_MAC_ADDRS:
      wiphy.addresses = addresses_in(value);
      break;
    case NL80211_ATTR_SUPPORTED_IFTYPES:
      wiphy.interface_types = interface_types(value);
      break;
    case NL80211_ATTR_WIPHY_ANTENNA_AVAIL_TX:
      take(value, made(wiphy.antennas).send);
      break;
    case NL80211_ATTR_WIPHY_ANTENNA_AVAIL_RX:
      take(value, made(wiphy.antennas).receive);
      break;
    case NL80211_ATTR_WIPHY_ANTENNA_TX:
      take(value, made(wiphy.used_antennas).send);
      break;
    case NL80211_ATTR_WIPHY_ANTENNA_RX:
      take(value, made(wiphy.used_antennas).receive);
      break;
    case NL80211_ATTR_INTERFACE_COMBINATIONS:
      wiphy.most_access_points = most_access_points(value);
      break;
    case NL80211_ATTR_WIPHY_BANDS:
      for_each_nested(value, [&](int band, Octets attributes) { add_band(wiphy, band, attributes); });
      break;
    default:
      break;
  }
}

}  // namespace

void add_wiphy(Wiphys& wiphys, const Message& message) {
  std::optional<std::uint32_t> number;
  netlink::for_each_attribute(message.attributes, [&](int type, Octets value) {
    if (type == NL80211_ATTR_WIPHY) {
      take(value, number);
    }
  });
  if (!number || (wiphys.size() >= MOST_WIPHYS && !wiphys.contains(*number))) {
    return;
  }
  Wiphy& wiphy = wiphys[*number];
  wiphy.number = *number;
  netlink::for_each_attribute(message.attributes, [&](int type, Octets value) { add_attribute(wiphy, type, value); });
}

}  // namespace meshd::wifi
