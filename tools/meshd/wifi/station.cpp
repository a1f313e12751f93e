#include "tools/meshd/wifi/station.h"

#include <linux/nl80211.h>

#include <algorithm>

namespace meshd::wifi {

namespace {

using qel::ChannelWidth;
using qel::WLANPhymode;

/// The most octets that the elements of an association request can have: those of the largest frame.
constexpr std::size_t MOST_ELEMENT_OCTETS = 2304;
constexpr std::uint8_t HT_MCS_PER_STREAM = 8;
/// From here on the streams of an MCS may differ in modulation (IEEE 802.11-2020, 19.5); no driver is known to use one.
constexpr std::uint8_t HT_MCS_UNEQUAL = 32;

Rate rate_of(Octets attributes) {
  Rate rate;
  std::optional<std::uint16_t> short_rate;
  std::optional<std::uint32_t> long_rate;
  for_each_nested(attributes, [&](int type, Octets value) {
    std::uint8_t ht_mcs = 0;
    switch (type) {
      case NL80211_RATE_INFO_BITRATE:
        take(value, short_rate);
        break;
      case NL80211_RATE_INFO_BITRATE32:
        take(value, long_rate);
        break;
      case NL80211_RATE_INFO_MCS:
        if (take(value, ht_mcs)) {
          rate.mode = WLANPhymode::N;
          rate.mcs = ht_mcs;
          if (ht_mcs < HT_MCS_UNEQUAL) {
            rate.mcs = ht_mcs % HT_MCS_PER_STREAM;
            rate.streams = static_cast<std::uint8_t>(ht_mcs / HT_MCS_PER_STREAM + 1);
          }
        }
        break;
      case NL80211_RATE_INFO_VHT_MCS:
        take(value, rate.mcs);
        rate.mode = WLANPhymode::AC;
        break;
      case NL80211_RATE_INFO_HE_MCS:
        take(value, rate.mcs);
        rate.mode = WLANPhymode::AX;
        break;
      case NL80211_RATE_INFO_VHT_NSS:
      case NL80211_RATE_INFO_HE_NSS:
        take(value, rate.streams);
        break;
      case NL80211_RATE_INFO_40_MHZ_WIDTH:
        rate.width = ChannelWidth::WIDTH_40_MHZ;
        break;
      case NL80211_RATE_INFO_80_MHZ_WIDTH:
        rate.width = ChannelWidth::WIDTH_80_MHZ;
        break;
      case NL80211_RATE_INFO_80P80_MHZ_WIDTH:
        rate.width = ChannelWidth::WIDTH_80_80_MHZ;
        break;
      case NL80211_RATE_INFO_160_MHZ_WIDTH:
        rate.width = ChannelWidth::WIDTH_160_MHZ;
        break;
      case NL80211_RATE_INFO_5_MHZ_WIDTH:
      case NL80211_RATE_INFO_10_MHZ_WIDTH:
      case NL80211_RATE_INFO_320_MHZ_WIDTH:
        rate.width = ChannelWidth::INVALID;
        break;
      case NL80211_RATE_INFO_SHORT_GI:
        rate.has_short_guard = true;
        break;
      default:
        break;
    }
  });
  rate.kilobits = std::uint64_t{100} * long_rate.value_or(short_rate.value_or(0));
  return rate;
}

void set_flags(Station& station, Octets attribute) {
  if (attribute.size() < sizeof(nl80211_sta_flag_update)) {
    return;
  }
  const auto flags = netlink::value_of<nl80211_sta_flag_update>(attribute);
  const auto is_set = [&](unsigned int flag) { return (flags.mask & flags.set & 1U << flag) != 0; };
  station.has_flags = true;
  station.is_authorized = is_set(NL80211_STA_FLAG_AUTHORIZED);
  station.is_associated = is_set(NL80211_STA_FLAG_ASSOCIATED);
  station.has_protected_management = is_set(NL80211_STA_FLAG_MFP);
}

template <class Duration, class Number>
void take_duration(Octets attribute, std::optional<Duration>& target) {
  Number count = 0;
  if (take(attribute, count)) {
    target = Duration(count);
  }
}

/// Old kernels count octets in 32 bits, newer ones also in 64.
void take_octets(Octets attribute, std::optional<std::uint64_t>& target) {
  std::uint32_t count = 0;
  if (!target && take(attribute, count)) {
    target = count;
  }
}

void set_information(Station& station, int type, Octets value) {
  switch (type) {
    case NL80211_STA_INFO_SIGNAL:
      take(value, station.signal);
      break;
    case NL80211_STA_INFO_SIGNAL_AVG:
      take(value, station.average_signal);
      break;
    case NL80211_STA_INFO_TX_BITRATE:
      station.send_rate = rate_of(value);
      break;
    case NL80211_STA_INFO_RX_BITRATE:
      station.receive_rate = rate_of(value);
      break;
    case NL80211_STA_INFO_TX_BYTES64:
      take(value, station.sent_octets);
      break;
    case NL80211_STA_INFO_RX_BYTES64:
      take(value, station.received_octets);
      break;
    case NL80211_STA_INFO_TX_BYTES:
      take_octets(value, station.sent_octets);
      break;
    case NL80211_STA_INFO_RX_BYTES:
      take_octets(value, station.received_octets);
      break;
    case NL80211_STA_INFO_TX_PACKETS:
      take(value, station.sent_packets);
      break;
    case NL80211_STA_INFO_RX_PACKETS:
      take(value, station.received_packets);
      break;
    case NL80211_STA_INFO_TX_RETRIES:
      take(value, station.retries);
      break;
    case NL80211_STA_INFO_TX_FAILED:
      take(value, station.send_failures);
      break;
    case NL80211_STA_INFO_RX_DROP_MISC:
      take(value, station.receive_drops);
      break;
    case NL80211_STA_INFO_BEACON_LOSS:
      take(value, station.lost_beacons);
      break;
    case NL80211_STA_INFO_CONNECTED_TIME:
      take_duration<std::chrono::seconds, std::uint32_t>(value, station.connected);
      break;
    case NL80211_STA_INFO_INACTIVE_TIME:
      take_duration<std::chrono::milliseconds, std::uint32_t>(value, station.inactive);
      break;
    case NL80211_STA_INFO_EXPECTED_THROUGHPUT:
      take(value, station.expected_throughput);
      break;
    case NL80211_STA_INFO_STA_FLAGS:
      set_flags(station, value);
      break;
    default:
      break;
  }
}

}  // namespace

Station station_of(const Message& message) {
  Station station;
  netlink::for_each_attribute(message.attributes, [&](int type, Octets value) {
    switch (type) {
      case NL80211_ATTR_MAC:
        take(value, station.mac);
        break;
      case NL80211_ATTR_STA_INFO:
        for_each_nested(value, [&](int kind, Octets number) { set_information(station, kind, number); });
        break;
      case NL80211_ATTR_IE: {
        const auto* const octets = reinterpret_cast<const std::uint8_t*>(value.data());
        station.elements.assign(octets, octets + std::min(value.size(), MOST_ELEMENT_OCTETS));
        break;
      }
      default:
        break;
    }
  });
  return station;
}

}  // namespace meshd::wifi
