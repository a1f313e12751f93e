#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/media_specific_information.h"
#include "qel/ieee1905_1/media_type.h"

namespace meshd {

/// The interface of a radio, as the mesh sees it.
struct WlanInterface {
  qel::ieee1905_1::WLANMode1905_1 mode = qel::ieee1905_1::WLANMode1905_1::INVALID;
  qel::ieee1905_1::WLANSpecificInformation information;
  std::vector<qel::MACAddress> peers;  ///< the stations of an access point, or the access point of a station; sorted

  friend bool operator==(const WlanInterface&, const WlanInterface&) = default;
};

/// An interface that the entity works on.
struct LocalInterface {
  std::string name;  ///< empty for a free number: an interface keeps its number while others come and go
  qel::MACAddress mac;
  std::string bridge;                      ///< the bridge that it is a port of; empty if none
  std::optional<WlanInterface> wlan = {};  ///< nothing for Ethernet
  bool is_backhaul = false;                ///< a controller's orders are accepted on it

  bool is_there() const { return !name.empty(); }

  friend bool operator==(const LocalInterface&, const LocalInterface&) = default;
};

/// The number under which the mesh knows an interface. An access point has an interface of the same address for each
/// station that uses 4 addresses; the mesh sees them as one, the first.
inline std::size_t reported_as(const std::vector<LocalInterface>& interfaces, std::size_t interface) {
  std::size_t first = 0;
  while (first != interface && !(interfaces[first].wlan && interfaces[interface].wlan &&
                                 interfaces[first].mac == interfaces[interface].mac)) {
    ++first;
  }
  return first;
}

inline constexpr std::uint8_t RCPI_UNKNOWN = 255;

/// One end of a link. The counters wrap at 32 bits, as those in the messages do.
struct LinkState {
  std::uint32_t received_packets = 0;
  std::uint32_t receive_errors = 0;
  std::uint32_t sent_packets = 0;
  std::uint32_t send_errors = 0;
  std::uint16_t speed = 0;           ///< of sending, in Mb/s; 0 if the driver reports none
  std::uint16_t throughput = 0;      ///< what of it remains for the MAC's users, in Mb/s
  std::uint8_t rcpi = RCPI_UNKNOWN;  ///< how strong the other end is received (IEEE 802.11-2020, 9.4.2.37)
};

/// What an interface has counted since it came up; the counters wrap as in LinkState.
struct InterfaceState {
  std::uint32_t received_packets = 0;
  std::uint32_t receive_errors = 0;
  std::uint32_t sent_packets = 0;
  std::uint32_t send_errors = 0;
  std::uint16_t speed = 0;           ///< Mb/s; 0 if the driver reports none
  bool up = true;                    ///< whether there is a carrier
  std::uint16_t availability = 100;  ///< percent of the speed or, on a radio, of the time that was recently left unused
  std::uint64_t dropped = 0;         ///< frames that could not be sent, since the start
  std::map<qel::MACAddress, LinkState> links = {};  ///< those to the peers of a WlanInterface, by the peers

  /// The link to this address. All frames take the only link; without one, all that is counted counts.
  LinkState link_to(const qel::MACAddress& mac) const {
    const auto place = links.size() == 1 ? links.begin() : links.find(mac);
    return place != links.end()
               ? place->second
               : LinkState{received_packets, receive_errors, sent_packets, send_errors, speed, speed, RCPI_UNKNOWN};
  }
};

}  // namespace meshd
