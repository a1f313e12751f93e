#include "tools/meshd/wifi/event.h"

#include <linux/nl80211.h>

namespace meshd::wifi {

namespace {

/// What many events have.
struct Common {
  std::optional<std::uint32_t> wiphy;
  std::optional<std::uint32_t> interface;
  std::optional<qel::MACAddress> mac;
  std::optional<std::uint32_t> radar;
  std::uint32_t beacons = 0;
  std::string name;
  std::string country;
};

Common common_of(const Message& message) {
  Common common;
  netlink::for_each_attribute(message.attributes, [&](int type, Octets value) {
    switch (type) {
      case NL80211_ATTR_WIPHY:
        take(value, common.wiphy);
        break;
      case NL80211_ATTR_WIPHY_NAME:
        common.name = netlink::text_of(value);
        break;
      case NL80211_ATTR_IFINDEX:
        take(value, common.interface);
        break;
      case NL80211_ATTR_MAC:
        take(value, common.mac);
        break;
      case NL80211_ATTR_RADAR_EVENT:
        take(value, common.radar);
        break;
      case NL80211_ATTR_CH_SWITCH_COUNT:
        take(value, common.beacons);
        break;
      case NL80211_ATTR_REG_ALPHA2:
        common.country = country_of(value);
        break;
      default:
        break;
    }
  });
  return common;
}

std::optional<RadarEvent::What> radar_of(std::uint32_t event) {
  switch (event) {
    case NL80211_RADAR_DETECTED:
      return RadarEvent::What::DETECTED;
    case NL80211_RADAR_CAC_FINISHED:
      return RadarEvent::What::LISTENED;
    case NL80211_RADAR_CAC_ABORTED:
      return RadarEvent::What::LISTENING_ENDED;
    case NL80211_RADAR_NOP_FINISHED:
      return RadarEvent::What::USABLE_AGAIN;
    case NL80211_RADAR_PRE_CAC_EXPIRED:
      return RadarEvent::What::AVAILABLE_NO_MORE;
    case NL80211_RADAR_CAC_STARTED:
      return RadarEvent::What::LISTENING;
    default:
      return std::nullopt;
  }
}

std::optional<Event> event_of_wiphy(const Message& message, const Common& common, Timestamp now) {
  if (message.command == NL80211_CMD_NEW_WIPHY || message.command == NL80211_CMD_DEL_WIPHY) {
    return WiphyEvent{message.command == NL80211_CMD_NEW_WIPHY, *common.wiphy, common.name};
  }
  const auto what = common.radar ? radar_of(*common.radar) : std::nullopt;
  if (!what) {
    return std::nullopt;
  }
  return RadarEvent{*what, *common.wiphy, common.interface, channel_info(message.attributes, now)};
}

std::optional<Event> event_of_interface(const Message& message, const Common& common, Timestamp now) {
  const std::uint32_t interface = *common.interface;
  switch (message.command) {
    case NL80211_CMD_NEW_STATION:
    case NL80211_CMD_DEL_STATION:
      return common.mac ? std::optional<Event>(
                              StationEvent{message.command == NL80211_CMD_NEW_STATION, interface, station_of(message)})
                        : std::nullopt;
    case NL80211_CMD_START_AP:
    case NL80211_CMD_STOP_AP:
      return AccessPointEvent{message.command == NL80211_CMD_START_AP, interface};
    case NL80211_CMD_CONNECT:
      return LinkEvent{LinkEvent::What::CONNECTED, interface, common.mac};
    case NL80211_CMD_ROAM:
      return LinkEvent{LinkEvent::What::ROAMED, interface, common.mac};
    case NL80211_CMD_DISCONNECT:
      return LinkEvent{LinkEvent::What::DISCONNECTED, interface, common.mac};
    case NL80211_CMD_CH_SWITCH_STARTED_NOTIFY:
    case NL80211_CMD_CH_SWITCH_NOTIFY:
      return ChannelSwitchEvent{message.command == NL80211_CMD_CH_SWITCH_NOTIFY, interface,
                                channel_info(message.attributes, now), common.beacons};
    default:
      return std::nullopt;
  }
}

}  // namespace

std::optional<Event> event_of(const Message& message, Timestamp now) {
  const Common common = common_of(message);
  switch (message.command) {
    case NL80211_CMD_REG_CHANGE:
    case NL80211_CMD_WIPHY_REG_CHANGE:
      return RegulatoryEvent{common.wiphy, common.country};
    case NL80211_CMD_NEW_INTERFACE:
    case NL80211_CMD_SET_INTERFACE:
    case NL80211_CMD_DEL_INTERFACE:
      return InterfaceEvent{message.command != NL80211_CMD_DEL_INTERFACE, interface_of(message, now)};
    case NL80211_CMD_NEW_WIPHY:
    case NL80211_CMD_DEL_WIPHY:
    case NL80211_CMD_RADAR_DETECT:
      return common.wiphy ? event_of_wiphy(message, common, now) : std::nullopt;
    default:
      return common.interface ? event_of_interface(message, common, now) : std::nullopt;
  }
}

}  // namespace meshd::wifi
