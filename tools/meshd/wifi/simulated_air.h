#pragma once

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "tools/meshd/wifi/air.h"

namespace meshd::wifi {

/// A radio with the channels of Germany in these bands, two streams, HT and HE, and VHT at 5 GHz. It has no BSS and is
/// on no channel.
AirRadio simulated_radio(const qel::MACAddress& identifier, const std::set<qel::FrequencyBand>& bands,
                         qel::ChannelWidth widest = qel::ChannelWidth::WIDTH_80_MHZ);

/// The channel of this width with this primary channel. At 2.4 GHz, 40 MHz extend downwards if they can.
qel::ChannelInfo simulated_channel(const qel::kHz& primary, qel::ChannelWidth width = qel::ChannelWidth::WIDTH_20_MHZ);

/// A client that is connected, and was heard at this strength.
AirClient simulated_client(const qel::MACAddress& mac, std::int8_t signal = -50);

/// The body of an association request of a client that understands BSS transition requests, or beacon requests.
std::vector<std::uint8_t> simulated_association_request(const std::string& ssid, bool can_move, bool can_report);

/// The strength, in dBm, at which a client hears an access point indoors.
double simulated_signal(qel::FrequencyBand band, double metres);
inline constexpr double WEAKEST_HEARD = -88;  ///< dBm that a client reports
/// The strength at which the access point hears a client that hears it at this one; both in dBm.
double simulated_uplink(qel::FrequencyBand band, double signal);

/// Mb/s at a signal in dBm.
std::uint32_t simulated_rate(qel::FrequencyBand band, double signal);

/// A measurement report element of type beacon (IEEE 802.11-2020, 9.4.2.21.7) about a BSS with this primary channel.
std::vector<std::uint8_t> simulated_beacon(const qel::MACAddress& bssid, const qel::kHz& primary, double signal);

/// Radios without a device. What an act changes changes at once; what came of it is told by deliver(). Nothing depends
/// on the time.
class SimulatedAir final : public Air {
 public:
  /// What radios() returns. After changing it directly, emit `changed`.
  std::vector<AirRadio> state{};

  /// The acts since the last take_acts(), as text such as "switch 02:19:05:10:00:01 to 5500 MHz at 80 MHz".
  std::vector<std::string> take_acts() { return std::exchange(acts_, {}); }
  bool is_recording = true;  ///< false saves the texts

  /// Why an act fails; by default none does. Not asked for acts on what is not there, which fail in any case.
  std::function<std::string(const std::string& act)> trouble{};
  /// How a client responds; by default it accepts the first target.
  std::function<std::optional<MoveAnswer>(const MoveRequest&)> on_asked_to_move{};
  /// The client accepted; it has left, and is now to join this BSS elsewhere. Not called for a BSS of these radios.
  std::function<void(const AirClient& client, const qel::MACAddress& bssid)> on_moved_away{};
  /// The measurement reports of a client; by default there is no answer.
  std::function<std::vector<std::vector<std::uint8_t>>(const qel::MACAddress& client,
                                                       std::span<const std::uint8_t> request)>
      on_asked_for_beacons{};

  /// There is something to deliver().
  std::function<void()> on_outcome{};

  /// Tells what came of the acts until now, in their order. Returns whether there were any.
  bool deliver();

  /// Returns whether the BSS is there and does not deny the client.
  bool join(const qel::MACAddress& bssid, AirClient client);
  /// Takes the client out of the BSS in which it is.
  std::optional<AirClient> leave(const qel::MACAddress& client);
  /// Of a 20 MHz channel with radar detection; at first, it must be checked.
  void set_dfs_state(const qel::MACAddress& radio, const qel::kHz& frequency, qel::ChannelStateBit state);
  /// The channel becomes unavailable. A radio that uses it moves to its first channel without radar detection.
  void find_radar(const qel::MACAddress& radio, const qel::kHz& frequency);

  AirRadio* find_radio(const qel::MACAddress& identifier);
  AirBss* find_bss(const qel::MACAddress& bssid);
  AirClient* find_client(const qel::MACAddress& bssid, const qel::MACAddress& client);
  bool is_denied(const qel::MACAddress& bssid, const qel::MACAddress& mac) const {
    return denied_.contains({bssid, mac});
  }

  std::vector<AirRadio> radios() const override { return state; }
  void switch_channel(const qel::MACAddress& radio, const qel::ChannelInfo& channel, OnDone on_done) override;
  void limit_power(const qel::MACAddress& radio, int dbm, OnDone on_done) override;
  void ask_to_move(const MoveRequest& request, OnAnswer on_answer) override;
  void set_denied(const qel::MACAddress& bssid, const qel::MACAddress& mac, bool is_denied, OnDone on_done) override;
  void disconnect(const qel::MACAddress& bssid, const qel::MACAddress& mac, OnDone on_done) override;
  void ask_for_beacons(const qel::MACAddress& bssid, const qel::MACAddress& mac, std::span<const std::uint8_t> request,
                       OnReports on_reports) override;
  void move_backhaul(const qel::MACAddress& station, const qel::MACAddress& bssid, std::uint8_t opclass,
                     std::uint8_t channel, OnDone on_done) override;

 private:
  template <class Text>
  void record(const Text& text);
  /// Does the act if what it is about is there and `trouble` allows it, and passes on what came of it later.
  template <class Text, class Act>
  void act(bool is_there, const Text& text, OnDone on_done, const Act& act);
  void add_outcome(std::function<void()> outcome);
  void move(const MoveRequest& request, const qel::MACAddress& target);

  std::vector<std::string> acts_;
  std::deque<std::function<void()>> outcomes_;
  std::set<std::pair<qel::MACAddress, qel::MACAddress>> denied_;  ///< BSSID and client
};

}  // namespace meshd::wifi
