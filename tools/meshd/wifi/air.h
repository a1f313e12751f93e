#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "qel/channel/channel_info.h"
#include "qel/channel/wlan_radio.h"
#include "qel/core/mac_address.h"
#include "qel/daemon/signal.h"
#include "tools/meshd/wifi/station.h"
#include "tools/meshd/wifi/wiphy.h"

/// What a Multi-AP agent needs of the radios of its device: what they are, and what it can have them do.
namespace meshd::wifi {

/// A client of one of our access points.
struct AirClient {
  Station station;
  std::vector<std::uint8_t> association_request;  ///< the body of the frame; empty if unknown
  std::optional<bool> can_move;                   ///< it understands BSS transition requests; nothing if unknown
};

/// A BSS that one of our access points operates.
struct AirBss {
  qel::MACAddress bssid;
  std::string interface;
  std::string ssid;
  std::vector<AirClient> clients{};  ///< only those that are authorized
};

/// The station with which the device itself is connected to another access point.
struct AirBackhaul {
  qel::MACAddress station;
  std::string interface;
  std::optional<qel::MACAddress> bssid{};  ///< nothing while it is not connected
};

struct AirRadio {
  qel::MACAddress identifier;
  std::string name;
  std::vector<Band> bands;                    ///< with the HT, VHT and HE capabilities
  std::vector<qel::WLANRadio> radios;         ///< the same bands, with their channels and what is known of them
  qel::ChannelInfo channel;                   ///< where it operates; unset while it is on no channel
  std::optional<std::uint8_t> utilization{};  ///< of that channel, in percent
  std::optional<std::int8_t> noise{};         ///< in dBm
  std::uint8_t most_bss = 1;                  ///< that it can operate at once
  std::vector<AirBss> bss{};
  std::optional<AirBackhaul> backhaul{};
};

/// A request to a client to move (IEEE 802.11-2020, 9.6.13.9).
struct MoveRequest {
  struct Target {
    qel::MACAddress bssid;
    std::uint8_t opclass = 0;
    std::uint8_t channel = 0;
  };
  qel::MACAddress bssid;  ///< where the client is
  qel::MACAddress client;
  std::vector<Target> targets{};         ///< empty: the client chooses
  bool disassociation_imminent = false;  ///< it will be disconnected after the time
  bool is_abridged = false;              ///< other access points than the targets are not wanted
  std::uint16_t timer = 0;               ///< until the disconnection, in units of 1024 us
};

/// The client's response (IEEE 802.11-2020, 9.6.13.10).
struct MoveAnswer {
  std::uint8_t status = 0;  ///< 0 if it accepts
  std::optional<qel::MACAddress> target{};
};

/// All acts return at once. What came of an act is passed to a function exactly once: never before the act has
/// returned, and at the latest after some seconds. An act on a radio, BSS or client that is not there fails in the same
/// way.
class Air {
 public:
  /// Gets why the act failed; empty if it succeeded.
  using OnDone = std::function<void(const std::string& trouble)>;
  /// Gets nothing if there was no response in time.
  using OnAnswer = std::function<void(const std::optional<MoveAnswer>& answer)>;
  /// Gets the measurement report elements of the client (IEEE 802.11-2020, 9.4.2.21), each with identifier and length,
  /// and why there are none; no trouble means that the client answered.
  using OnReports =
      std::function<void(const std::vector<std::vector<std::uint8_t>>& reports, const std::string& trouble)>;

  Air() = default;
  Air(const Air&) = delete;
  Air& operator=(const Air&) = delete;
  virtual ~Air() = default;

  /// As they are now. A radio without an identifier is left out.
  virtual std::vector<AirRadio> radios() const = 0;

  /// Moves all BSSs of the radio; their clients follow the announcement.
  virtual void switch_channel(const qel::MACAddress& radio, const qel::ChannelInfo& channel, OnDone on_done) = 0;
  /// Limits the transmit power; `dbm` is EIRP.
  virtual void limit_power(const qel::MACAddress& radio, int dbm, OnDone on_done) = 0;
  virtual void ask_to_move(const MoveRequest& request, OnAnswer on_answer) = 0;
  /// From now on, the BSS accepts no association of the client; or it accepts it again.
  virtual void set_denied(const qel::MACAddress& bssid, const qel::MACAddress& client, bool is_denied,
                          OnDone on_done) = 0;
  virtual void disconnect(const qel::MACAddress& bssid, const qel::MACAddress& client, OnDone on_done) = 0;
  /// `request` is the body of a beacon request, from the operating class on (IEEE 802.11-2020, 9.4.2.20.7).
  virtual void ask_for_beacons(const qel::MACAddress& bssid, const qel::MACAddress& client,
                               std::span<const std::uint8_t> request, OnReports on_reports) = 0;
  /// Moves our own station to another access point.
  virtual void move_backhaul(const qel::MACAddress& station, const qel::MACAddress& bssid, std::uint8_t opclass,
                             std::uint8_t channel, OnDone on_done) = 0;

  // A function connected to these signals must not destroy the object.

  /// A client joined the BSS (true), or left it.
  qel::signals::Signal<const qel::MACAddress& /*bssid*/, const qel::MACAddress& /*client*/, bool /*has_joined*/> client;
  /// Something that radios() returns has changed: a channel, its state, a BSS.
  qel::signals::Signal<> changed;
};

}  // namespace meshd::wifi
