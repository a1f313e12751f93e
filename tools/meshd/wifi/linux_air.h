#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qel/channel/channel_info.h"
#include "qel/core/mac_address.h"
#include "qel/daemon/connection.h"
#include "qel/daemon/timer.h"
#include "tools/meshd/wifi/air.h"
#include "tools/meshd/wifi/control_sockets.h"
#include "tools/meshd/wifi/radios.h"

namespace meshd::wifi {

/// The radios of this machine. hostapd and wpa_supplicant carry out the acts, and the kernel limits the power. Once
/// the object is destroyed, it reports nothing more.
class LinuxAir final : public Air {
 public:
  /// Both are borrowed and must outlive it.
  LinuxAir(Radios& radios, ControlSockets& sockets);

  std::vector<AirRadio> radios() const override;
  void switch_channel(const qel::MACAddress& radio, const qel::ChannelInfo& channel, OnDone on_done) override;
  void limit_power(const qel::MACAddress& radio, int dbm, OnDone on_done) override;
  void ask_to_move(const MoveRequest& request, OnAnswer on_answer) override;
  void set_denied(const qel::MACAddress& bssid, const qel::MACAddress& client, bool is_denied, OnDone on_done) override;
  void disconnect(const qel::MACAddress& bssid, const qel::MACAddress& client, OnDone on_done) override;
  void ask_for_beacons(const qel::MACAddress& bssid, const qel::MACAddress& client,
                       std::span<const std::uint8_t> request, OnReports on_reports) override;
  void move_backhaul(const qel::MACAddress& station, const qel::MACAddress& bssid, std::uint8_t opclass,
                     std::uint8_t channel, OnDone on_done) override;

 private:
  struct Outcome {
    std::string trouble;
    std::optional<MoveAnswer> answer{};
    std::vector<std::vector<std::uint8_t>> reports{};
  };
  /// What was begun and has not been told yet.
  struct Act {
    std::uint64_t number = 0;
    std::uint32_t interface = 0;  ///< whose daemon carries it out
    const char* daemon = "hostapd";
    qel::MACAddress client{};  ///< that is to answer
    Outcome outcome;           ///< at the end of the time, unless it ends earlier
    std::function<void(const Outcome&)> tell;
    std::function<void(Act&, const std::string& event)> on_event{};  ///< of the daemon
    std::function<void(Act&)> on_change{};                           ///< of the model
    bool is_move = false;                                            ///< the client is asked to move
    bool has_ended = false;                                          ///< it is told in the next turn
    std::chrono::steady_clock::time_point latest{};
    qel::time::Timer timer{};
  };
  /// Where a client is. If hostapd has just reported it, the model may not have it yet.
  struct Place {
    qel::MACAddress bssid;
    bool is_in_model = false;
    unsigned int missed = 0;  ///< updates of the model without it
  };
  struct Connections {
    qel::signals::ScopedConnection event;
    qel::signals::ScopedConnection connected;
  };

  /// `late` is the trouble if nothing ends the act in time.
  Act& begin(const Interface* interface, std::chrono::milliseconds limit, std::string late,
             std::function<void(const Outcome&)> tell);
  /// Nothing if the act has ended.
  Act* find(std::uint64_t number);
  void end(Act& act, std::string trouble = "");
  void tell(std::uint64_t number);
  /// Sends the command to the daemon of the act's interface. The act ends if there is no reply.
  void request(Act& act, std::string command, std::function<void(Act&, const std::string& reply)> on_reply);
  /// Likewise. The act ends unless the reply is "OK".
  void order(Act& act, std::string command, std::function<void(Act&)> on_accepted);

  void roam(Act& act, const qel::MACAddress& bssid);

  AirBss view_bss(const Interface& interface) const;
  std::optional<qel::MACAddress> identifier_of(const Wiphy& wiphy) const;
  const Wiphy* find_radio(const qel::MACAddress& identifier) const;
  const Interface* find_interface(Role role, const qel::MACAddress& mac) const;
  /// Null if there is no such BSS, or it does not have the client.
  const Interface* find_bss(const qel::MACAddress& bssid, const qel::MACAddress& client) const;
  bool is_on(std::uint32_t wiphy, const qel::ChannelInfo& channel) const;

  void follow();
  void take(const Event& event);
  void take_event(std::uint32_t interface, const std::string& event);
  void follow_sockets();
  void follow_clients();
  /// Emits the signal if this is new. A client that joins a BSS leaves the one where it was.
  void set_joined(const qel::MACAddress& bssid, const qel::MACAddress& mac, bool has_joined);
  void lose(std::uint32_t interface);
  /// Unless it has been denied again since that act.
  void forget_denied(const qel::MACAddress& bssid, const qel::MACAddress& client, std::uint64_t act);
  /// Denies the clients that hostapd may have forgotten, from the one after that address on.
  void deny_again(std::uint32_t interface, const qel::MACAddress& after = {});
  void change_soon();

  Radios& radios_;
  ControlSockets& sockets_;
  std::map<std::uint64_t, Act> acts_;  ///< by their numbers, which are never used again
  std::uint64_t next_act_ = 1;
  std::uint8_t next_token_ = 1;
  std::map<qel::MACAddress, Place> clients_;
  /// By BSS, clients with the act that has it deny them; hostapd forgets them.
  std::map<qel::MACAddress, std::map<qel::MACAddress, std::uint64_t>> denied_;
  std::map<std::uint32_t, Connections> connections_;  ///< by interface
  Model::Interfaces shown_;                           ///< as they were when `changed` was last considered
  bool has_changed_ = true;                           ///< an event said so; the model is not complete yet
  qel::time::Timer change_timer_;
  qel::signals::ScopedConnection updated_;
  qel::signals::ScopedConnection happened_;
  std::shared_ptr<const char> life_ = std::make_shared<const char>();  ///< expires with the object
};

}  // namespace meshd::wifi
