#include "tools/meshd/wifi/linux_air.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "qel/channel/frequency.h"
#include "qel/channel/opclass_segment.h"
#include "tools/command_line.h"
#include "tools/meshd/wifi/control_text.h"
#include "tools/meshd/wifi/nl80211_socket.h"
#include "tools/safe_text.h"

namespace meshd::wifi {

namespace {

using qel::MACAddress;

/// The longest that an act may take.
constexpr std::chrono::seconds COMMAND_TIME{8};  // more than a Control waits for a reply
constexpr std::chrono::seconds SWITCH_TIME{15};
constexpr std::chrono::seconds ANSWER_TIME{10};  // to a request to move
constexpr std::chrono::seconds BEACON_TIME{6};   // beyond the duration of the measurement
constexpr std::chrono::seconds LONGEST_BEACON_TIME{30};
constexpr std::chrono::seconds ROAM_TIME{20};

/// A client sends its reports in one frame after another. The last one is that after which none follows in this time.
constexpr std::chrono::milliseconds REPORT_PAUSE{700};

constexpr const char* NO_BSS = "there is no such BSS";
constexpr const char* NO_CLIENT = "the BSS has no such client";

constexpr std::size_t MOST_ACTS = 256;
constexpr std::size_t MOST_REPORTS = 256;
constexpr int MOST_DBM = 100;

/// The end of what a beacon request can last: it is measured on each channel if it does not name one.
std::chrono::milliseconds beacon_time(std::span<const std::uint8_t> request) {
  constexpr unsigned int CHANNELS = 40;
  constexpr std::size_t FIXED = 6;  // class, channel, randomization interval and duration
  if (request.size() < FIXED) {
    return BEACON_TIME;
  }
  const unsigned int delay = request[2] | unsigned{request[3]} << 8;
  const unsigned int duration = request[4] | unsigned{request[5]} << 8;
  const unsigned int channels = request[1] == 0 || request[1] == 255 ? CHANNELS : 1;
  const std::chrono::microseconds lasting(1024LL * (delay + duration * channels));
  return std::min<std::chrono::milliseconds>(
      BEACON_TIME + std::chrono::duration_cast<std::chrono::milliseconds>(lasting), LONGEST_BEACON_TIME);
}

/// In one short line.
std::string refusal(const char* daemon, std::string_view reply) {
  constexpr std::size_t MOST = 60;
  const std::string_view line = reply.substr(0, std::min(reply.find('\n'), MOST));
  return std::string(daemon) + " refuses: " + tools::for_terminal_line(line);
}

/// The centres of the 20 MHz channels that the channel consists of.
std::vector<qel::kHz> parts_of(const qel::ChannelInfo& channel) {
  if (!channel.get_primary_segment().is_set()) {
    return {channel.get_primary_frequency().get()};
  }
  const auto& [center, width] = channel.get_primary_segment().get();
  std::vector<qel::kHz> parts = qel::OpclassSegment{width, center, {}, {}}.get_20_mhz_channels();
  if (width == qel::ChannelWidth::WIDTH_80_80_MHZ) {
    const qel::OpclassSegment second{width, channel.get_secondary_center_frequency(), {}, {}};
    std::ranges::copy(second.get_20_mhz_channels(), std::back_inserter(parts));
  }
  return parts;
}

/// Why the radio cannot move to the channel without leaving its clients alone; empty if it can.
std::string obstacle(const Wiphy& wiphy, const qel::ChannelInfo& channel) {
  for (const qel::kHz& part : parts_of(channel)) {
    const std::string name = "channel " + std::to_string(qel::frequency_to_channel(part));
    const WiphyChannel* known = nullptr;
    for (const Band& band : wiphy.bands) {
      const auto one = std::ranges::find(band.channels, part, &WiphyChannel::frequency);
      known = one == band.channels.end() ? known : &*one;
    }
    if (known == nullptr || known->is_disabled || known->no_initiation) {
      return name + " is not allowed";
    }
    if (known->has_radar && known->dfs_state != DfsState::AVAILABLE) {
      return known->dfs_state == DfsState::UNAVAILABLE ? "there was a radar on " + name
                                                       : name + " must be checked for radar first";
    }
  }
  return "";
}

}  // namespace

LinuxAir::LinuxAir(Radios& radios, ControlSockets& sockets)
    : radios_(radios),
      sockets_(sockets),
      updated_(radios.updated.connect([this] { follow(); })),
      happened_(radios.happened.connect([this](const Event& event) { take(event); })) {
  follow();
}

LinuxAir::Act& LinuxAir::begin(const Interface* interface, std::chrono::milliseconds limit, std::string late,
                               std::function<void(const Outcome&)> tell_it) {
  const std::uint64_t number = next_act_++;
  Act& act = acts_[number];
  act.number = number;
  act.outcome.trouble = std::move(late);
  act.tell = std::move(tell_it);
  act.latest = std::chrono::steady_clock::now() + limit;
  act.timer.start(limit, [this, number] { tell(number); });
  if (interface != nullptr) {
    act.interface = interface->number;
    act.daemon = interface->role == Role::STATION ? "wpa_supplicant" : "hostapd";
  }
  if (acts_.size() > MOST_ACTS) {
    end(act, "too much is under way");
  }
  return act;
}

LinuxAir::Act* LinuxAir::find(std::uint64_t number) {
  const auto act = acts_.find(number);
  return act == acts_.end() || act->second.has_ended ? nullptr : &act->second;
}

/// Reports the outcome in the next turn of the loop: an act can begin anywhere, and its owner may destroy this object.
void LinuxAir::end(Act& act, std::string trouble) {
  if (!std::exchange(act.has_ended, true)) {
    act.outcome.trouble = std::move(trouble);
    act.timer.start(std::chrono::milliseconds(0), [this, number = act.number] { tell(number); });
  }
}

void LinuxAir::tell(std::uint64_t number) {
  const auto act = acts_.extract(number);
  act.mapped().tell(act.mapped().outcome);
}

void LinuxAir::request(Act& act, std::string command, std::function<void(Act&, const std::string&)> on_reply) {
  if (act.has_ended) {
    return;
  }
  Control* const control = sockets_.find(act.interface);
  if (control == nullptr) {
    end(act, "the interface is gone");
    return;
  }
  control->request(std::move(command), [this, life = std::weak_ptr(life_), number = act.number,
                                        on_reply = std::move(on_reply)](const std::optional<std::string>& reply) {
    Act* const asked = life.expired() ? nullptr : find(number);
    if (asked != nullptr && reply) {
      on_reply(*asked, *reply);
    } else if (asked != nullptr) {
      end(*asked, std::string(asked->daemon) + " does not answer");
    }
  });
}

void LinuxAir::order(Act& act, std::string command, std::function<void(Act&)> on_accepted) {
  request(act, std::move(command), [this, on_accepted = std::move(on_accepted)](Act& asked, const std::string& reply) {
    if (reply == "OK\n") {
      on_accepted(asked);
    } else {
      end(asked, refusal(asked.daemon, reply));
    }
  });
}

void LinuxAir::switch_channel(const MACAddress& radio, const qel::ChannelInfo& channel, OnDone on_done) {
  const Wiphy* const wiphy = find_radio(radio);
  const Interface* const bss = wiphy == nullptr ? nullptr : radios_.get_model().find_access_point(wiphy->number);
  Act& act = begin(bss, SWITCH_TIME, "hostapd has not moved in time",
                   [on_done = std::move(on_done)](const Outcome& outcome) { on_done(outcome.trouble); });
  if (bss == nullptr) {
    end(act, wiphy == nullptr ? "there is no such radio" : "the radio has no access point on a channel");
    return;
  }
  if (!channel.get_primary_frequency().is_set()) {
    end(act, "there is no primary channel");
    return;
  }
  if (std::string why = obstacle(*wiphy, channel); !why.empty()) {
    end(act, std::move(why));
    return;
  }
  if (is_on(wiphy->number, channel)) {
    end(act);
    return;
  }
  request(act, "STATUS", [this, channel, number = wiphy->number](Act& asked, const std::string& status) {
    std::string command;
    try {
      command = control_text::switch_command(channel, control_text::bss_status_of(status));
    } catch (const std::invalid_argument& error) {
      end(asked, error.what());
      return;
    }
    order(asked, std::move(command), [this, channel, number](Act& ordered) {
      ordered.on_change = [this, channel, number](Act& waiting) {
        if (is_on(number, channel)) {
          end(waiting);
        }
      };
      ordered.on_change(ordered);
    });
  });
}

void LinuxAir::limit_power(const MACAddress& radio, int dbm, OnDone on_done) {
  const Wiphy* const wiphy = find_radio(radio);
  Act& act = begin(nullptr, COMMAND_TIME, "",
                   [on_done = std::move(on_done)](const Outcome& outcome) { on_done(outcome.trouble); });
  if (wiphy == nullptr) {
    end(act, "there is no such radio");
    return;
  }
  if (dbm < -MOST_DBM || dbm > MOST_DBM) {
    end(act, "no radio sends at " + std::to_string(dbm) + " dBm");
    return;
  }
  try {
    Nl80211Socket(false).limit_power(wiphy->number, dbm);
    radios_.refresh();  // no event reports it
    end(act);
  } catch (const std::system_error& error) {
    end(act, error.what());
  }
}

void LinuxAir::ask_to_move(const MoveRequest& move, OnAnswer on_answer) {
  for (auto& [number, other] : acts_) {
    if (other.is_move && other.client == move.client) {
      end(other);  // hostapd remembers one request for each client
    }
  }
  const Interface* const bss = find_bss(move.bssid, move.client);
  Act& act = begin(bss, ANSWER_TIME, "",
                   [on_answer = std::move(on_answer)](const Outcome& outcome) { on_answer(outcome.answer); });
  const Associations& associations = sockets_.get_associations();
  const auto association = associations.find(move.client);
  if (bss == nullptr || (association != associations.end() && association->second.has_bss_transition == false)) {
    end(act);
    return;
  }
  act.client = move.client;
  act.is_move = true;
  const std::uint8_t token = next_token_;
  next_token_ = static_cast<std::uint8_t>(next_token_ == 255 ? 1 : next_token_ + 1);
  act.on_event = [this, token](Act& asked, const std::string& event) {
    const auto response = control_text::move_event_of(event);
    const auto change = control_text::client_event_of(event);
    if (response && response->client == asked.client && response->token.value_or(token) == token) {
      asked.outcome.answer = response->answer;
      end(asked);
    } else if (change && change->client == asked.client && !change->has_joined) {
      end(asked);
    }
  };
  request(act, "STATUS", [this, move, token](Act& asked, const std::string& status) {
    order(asked, control_text::move_command(move, control_text::bss_status_of(status), token), [](Act&) {});
  });
}

/// A client is remembered from when it is to be denied until it no longer is, or hostapd has not done it: not from the
/// reply on, since the opposite may have been asked for by then.
void LinuxAir::set_denied(const MACAddress& bssid, const MACAddress& mac, bool is_denied, OnDone on_done) {
  const Interface* const bss = find_interface(Role::AP, bssid);
  Act& act = begin(bss, COMMAND_TIME, "hostapd does not answer",
                   [this, bssid, mac, number = next_act_, on_done = std::move(on_done)](const Outcome& outcome) {
                     if (!outcome.trouble.empty()) {
                       forget_denied(bssid, mac, number);
                     }
                     on_done(outcome.trouble);
                   });
  if (is_denied) {
    denied_[bssid][mac] = act.number;
  } else {
    forget_denied(bssid, mac, act.number);
  }
  if (bss == nullptr) {
    end(act, NO_BSS);
    return;
  }
  order(act, control_text::deny_command(mac, is_denied), [this](Act& ordered) { end(ordered); });
}

void LinuxAir::forget_denied(const MACAddress& bssid, const MACAddress& mac, std::uint64_t act) {
  if (const auto bss = denied_.find(bssid); bss != denied_.end()) {
    std::erase_if(bss->second, [&](const auto& denied) { return denied.first == mac && denied.second <= act; });
  }
  std::erase_if(denied_, [](const auto& entry) { return entry.second.empty(); });
}

void LinuxAir::disconnect(const MACAddress& bssid, const MACAddress& mac, OnDone on_done) {
  const Interface* const bss = find_bss(bssid, mac);
  Act& act = begin(bss, COMMAND_TIME, "hostapd does not answer",
                   [on_done = std::move(on_done)](const Outcome& outcome) { on_done(outcome.trouble); });
  if (bss == nullptr) {
    end(act, NO_CLIENT);
    return;
  }
  order(act, control_text::disconnect_command(mac), [this](Act& ordered) { end(ordered); });
}

void LinuxAir::ask_for_beacons(const MACAddress& bssid, const MACAddress& mac, std::span<const std::uint8_t> body,
                               OnReports on_reports) {
  const Interface* const bss = find_bss(bssid, mac);
  Act& act = begin(
      bss, beacon_time(body), "the client does not report",
      [on_reports = std::move(on_reports)](const Outcome& outcome) { on_reports(outcome.reports, outcome.trouble); });
  if (bss == nullptr) {
    end(act, NO_CLIENT);
    return;
  }
  act.client = mac;
  request(act, control_text::beacon_command(mac, body), [this](Act& asked, const std::string& reply) {
    const auto token = tools::parse_number<std::uint8_t>(reply);
    if (!token) {
      end(asked,
          reply == "FAIL\n" ? "hostapd refuses: the client may not be able to measure" : refusal(asked.daemon, reply));
      return;
    }
    asked.on_event = [this, token = *token](Act& waiting, const std::string& event) {
      auto beacons = control_text::beacon_event_of(event);
      if (!beacons || beacons->client != waiting.client || beacons->token != token) {
        return;
      }
      if (beacons->is_lost) {
        end(waiting, "the client has not received the request");
      } else if (!beacons->report.empty() && waiting.outcome.reports.size() < MOST_REPORTS) {
        waiting.outcome.reports.push_back(std::move(beacons->report));
        waiting.outcome.trouble.clear();
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(waiting.latest - std::chrono::steady_clock::now());
        waiting.timer.start(std::clamp(left, std::chrono::milliseconds(0), REPORT_PAUSE),
                            [this, number = waiting.number] { tell(number); });
      }
    };
  });
}

void LinuxAir::move_backhaul(const MACAddress& station, const MACAddress& bssid, std::uint8_t opclass,
                             std::uint8_t channel, OnDone on_done) {
  const Interface* const interface = find_interface(Role::STATION, station);
  Act& act = begin(interface, ROAM_TIME, "the station has not moved in time",
                   [on_done = std::move(on_done)](const Outcome& outcome) { on_done(outcome.trouble); });
  if (interface == nullptr) {
    end(act, "there is no such station");
    return;
  }
  const Model::Stations& peers = radios_.get_model().get_stations(interface->number);
  if (const auto peer = peers.find(bssid); peer != peers.end() && is_peer(peer->second)) {
    end(act);
    return;
  }
  // The access point must be among those found lately, and on the channel where it is now.
  request(act, control_text::scan_command(opclass, channel), [this, bssid](Act& asked, const std::string& reply) {
    if (reply != "OK\n" && reply != "FAIL-BUSY\n") {  // busy: a scan is under way
      end(asked, refusal(asked.daemon, reply));
      return;
    }
    asked.on_event = [this, bssid](Act& scanning, const std::string& event) {
      if (event.starts_with("CTRL-EVENT-SCAN-FAILED")) {
        end(scanning, "wpa_supplicant cannot scan");
      } else if (event.starts_with("CTRL-EVENT-SCAN-RESULTS")) {
        scanning.on_event = nullptr;
        roam(scanning, bssid);
      }
    };
  });
}

void LinuxAir::roam(Act& act, const MACAddress& bssid) {
  request(act, control_text::roam_command(bssid), [this, bssid](Act& asked, const std::string& reply) {
    if (reply != "OK\n") {
      end(asked, reply == "FAIL\n" ? "wpa_supplicant does not find the access point" : refusal(asked.daemon, reply));
      return;
    }
    asked.on_event = [this, bssid](Act& roaming, const std::string& event) {
      if (const auto connected = control_text::connection_of(event)) {
        end(roaming, *connected == bssid ? "" : "the station has connected to " + connected->to_string());
      }
    };
  });
}

}  // namespace meshd::wifi
