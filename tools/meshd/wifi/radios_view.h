#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "qel/channel/channel_info.h"
#include "qel/channel/wlan_types.h"
#include "qel/core/mac_address.h"
#include "tools/meshd/wifi/model.h"

/// The radios of a node as shown to users.
namespace meshd::wifi {

struct RadiosView {
  struct Interface {
    std::string name;
    Role role = Role::OTHER;
    bool has_4_addresses = false;
    std::string ssid;  ///< see ssid_of()
    qel::MACAddress mac;
    std::optional<qel::MACAddress> bssid;  ///< of a station: its access point
    std::optional<std::size_t> clients;    ///< only of an access point
  };

  struct Radio {
    std::string name;
    std::optional<qel::MACAddress> id;
    std::vector<qel::FrequencyBand> bands;    ///< all that it has
    qel::ChannelInfo channel;                 ///< of the first interface that is on one
    std::optional<std::uint8_t> utilization;  ///< of the primary channel, in percent
    std::optional<std::int8_t> noise;         ///< there, in dBm
    std::optional<qel::ChannelStateBit> dfs;  ///< the worst in the channel; nothing where radar does not matter
    std::vector<Interface> interfaces;
  };

  std::string name;  ///< of the daemon
  std::vector<Radio> radios;
};

/// As in wifi::Interface. An interface for some stations of an access point has the access point's.
std::string ssid_of(const Interface& interface, const Model& model);

RadiosView view_radios(const std::string& name, const Model& model, Timestamp now);

///@{
/// Tables for people, or one object in one line; the keys are described in meshctl(1).
void print_text(std::ostream& os, const RadiosView& view);
void print_json(std::ostream& os, const RadiosView& view);
///@}

/// The operating classes that a radio supports in all its bands.
struct ClassesView {
  struct Class {
    std::uint8_t opclass = 0;
    qel::FrequencyBand band = qel::FrequencyBand::INVALID_BAND_MAX;
    qel::ChannelWidth width = qel::ChannelWidth::INVALID;
    std::vector<std::uint8_t> channels;  ///< the primary channels that the radio can use in this class
  };

  std::string radio;
  std::vector<Class> classes;  ///< in ascending order
};

/// Deduced from the channels and widths of the radio, in the global table. `radio` is its name, or that of one of its
/// interfaces. Throws std::invalid_argument if there is none.
ClassesView view_classes(const std::string& radio, const Model& model, Timestamp now);

///@{
void print_text(std::ostream& os, const ClassesView& view);
void print_json(std::ostream& os, const ClassesView& view);
///@}

}  // namespace meshd::wifi
