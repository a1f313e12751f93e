#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <vector>

#include "qel/channel/channel_info.h"
#include "qel/channel/wlan_types.h"
#include "qel/core/mac_address.h"

namespace meshd::wifi {

/// The radios and clients of a simulated mesh. As text, one line for each, where places are in metres:
///
///     node NAME X Y                          a daemon, by its name on the bus
///     radio BSSID CHANNEL WIDTH SSID         of this node, at 2.4 or 5 GHz; the SSID is the rest of the line
///     client ADDRESS X Y BSSID MEGABITS      where it is at first, and what it receives in a second
///
/// Empty lines and those that begin with # are skipped. Nodes come before their radios, and radios before their
/// clients.
struct AirPlan {
  struct Place {
    int x = 0;
    int y = 0;
  };
  struct Node {
    std::string name;
    Place place;
  };
  struct Radio {
    qel::MACAddress bssid;  ///< also identifies the radio
    std::size_t node;       ///< an index
    qel::FrequencyBand band;
    qel::ChannelInfo channel;
    std::string ssid;
  };
  struct Client {
    qel::MACAddress mac;
    Place place;
    qel::MACAddress bssid;
    unsigned int megabits;
  };

  std::vector<Node> nodes{};
  std::vector<Radio> radios{};
  std::vector<Client> clients{};

  /// Null if there is none.
  const Radio* find_radio(const qel::MACAddress& bssid) const;
  const Client* find_client(const qel::MACAddress& mac) const;
  /// The strength in dBm at which the client hears the radio.
  double signal(const Client& client, const Radio& radio) const;
};

/// Throws std::runtime_error, with the number of the line.
AirPlan read_air_plan(std::istream& text);

}  // namespace meshd::wifi
