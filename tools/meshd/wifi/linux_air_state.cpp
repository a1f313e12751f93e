// What LinuxAir knows, and how it follows changes. The acts are in linux_air.cpp.

#include <algorithm>
#include <utility>
#include <variant>

#include "tools/meshd/wifi/control_text.h"
#include "tools/meshd/wifi/linux_air.h"

namespace meshd::wifi {

namespace {

using qel::MACAddress;

/// Updates of the model in which a client may be missing that hostapd has reported.
constexpr unsigned int MOST_MISSED = 2;

Timestamp now() { return qel::LastChanged<float>::now(); }

bool is_shown_alike(const Interface& left, const Interface& right) {
  return left.device == right.device && left.wiphy == right.wiphy && left.name == right.name && left.mac == right.mac &&
         left.role == right.role && left.ssid == right.ssid && left.channel.equivalent_to(right.channel);
}

}  // namespace

std::optional<MACAddress> LinuxAir::identifier_of(const Wiphy& wiphy) const {
  const auto identifier = radios_.get_model().get_identifier(wiphy);
  return identifier && is_valid(*identifier) ? identifier : std::nullopt;
}

const Wiphy* LinuxAir::find_radio(const MACAddress& identifier) const {
  for (const auto& [number, wiphy] : radios_.get_model().get_wiphys()) {
    if (identifier_of(wiphy) == identifier) {
      return &wiphy;
    }
  }
  return nullptr;
}

const Interface* LinuxAir::find_interface(Role role, const MACAddress& mac) const {
  const Model::Interfaces& interfaces = radios_.get_model().get_interfaces();
  const auto found = std::ranges::find_if(
      interfaces, [&](const auto& entry) { return entry.second.role == role && entry.second.mac == mac; });
  return found == interfaces.end() ? nullptr : &found->second;
}

const Interface* LinuxAir::find_bss(const MACAddress& bssid, const MACAddress& mac) const {
  const auto place = clients_.find(mac);
  return place != clients_.end() && place->second.bssid == bssid ? find_interface(Role::AP, bssid) : nullptr;
}

bool LinuxAir::is_on(std::uint32_t wiphy, const qel::ChannelInfo& channel) const {
  bool is_any = false;
  for (const auto& [number, interface] : radios_.get_model().get_interfaces()) {
    if (interface.wiphy != wiphy || interface.role != Role::AP || !interface.channel.get_primary_frequency().is_set()) {
      continue;
    }
    const qel::ChannelInfo& current = interface.channel;
    const bool is_there = current.get_primary_frequency().get() == channel.get_primary_frequency().get();
    const auto& wanted = channel.get_primary_segment();
    const bool is_as_wide =
        !wanted.is_set() ||
        (current.get_primary_segment().is_set() && current.get_primary_segment().get() == wanted.get() &&
         current.get_secondary_center_frequency() == channel.get_secondary_center_frequency());
    if (!is_there || !is_as_wide) {
      return false;
    }
    is_any = true;
  }
  return is_any;
}

AirBss LinuxAir::view_bss(const Interface& interface) const {
  const Model& model = radios_.get_model();
  AirBss bss{interface.mac, interface.name, interface.ssid};
  for (const auto& [mac, place] : clients_) {
    if (place.bssid != interface.mac) {
      continue;
    }
    AirClient& entry = bss.clients.emplace_back();
    entry.station.mac = mac;
    for (const auto& [number, other] : model.get_interfaces()) {
      const auto station = model.get_stations(number).find(mac);
      if (model.get_bss(other).number == interface.number && station != model.get_stations(number).end()) {
        entry.station = station->second;
      }
    }
    const auto association = sockets_.get_associations().find(mac);
    if (association != sockets_.get_associations().end()) {
      entry.can_move = association->second.has_bss_transition;
      if (association->second.request) {
        entry.association_request = association->second.request->body(interface.ssid, entry.station.elements);
      }
    }
  }
  return bss;
}

std::vector<AirRadio> LinuxAir::radios() const {
  const Model& model = radios_.get_model();
  std::vector<AirRadio> radios;
  for (const auto& [number, wiphy] : model.get_wiphys()) {
    const auto identifier = identifier_of(wiphy);
    if (!identifier) {
      continue;
    }
    AirRadio radio{.identifier = *identifier, .name = wiphy.name, .bands = wiphy.bands, .radios = {}, .channel = {}};
    for (const Band& band : wiphy.bands) {
      radio.radios.push_back(model.get_radio(number, now(), band.band));
    }
    radio.most_bss = static_cast<std::uint8_t>(std::min<std::uint32_t>(wiphy.most_access_points, 255));
    for (const auto& [index, interface] : model.get_interfaces()) {
      if (interface.wiphy != number) {
        continue;
      }
      if (!radio.channel.get_primary_frequency().is_set() && interface.channel.get_primary_frequency().is_set()) {
        radio.channel = interface.channel;
        radio.utilization = model.get_utilization(interface);
        const auto survey = model.get_surveys(index).find(interface.channel.get_primary_frequency().get());
        radio.noise = survey == model.get_surveys(index).end() ? std::nullopt : survey->second.noise;
      }
      // While it listens for radar, or after hostapd was killed, there is an interface, but no BSS.
      const bool is_operating = interface.channel.get_primary_frequency().is_set() && !interface.ssid.empty();
      if (interface.role == Role::AP && is_operating) {
        radio.bss.push_back(view_bss(interface));
      } else if (interface.role == Role::STATION && !radio.backhaul) {
        radio.backhaul = {interface.mac, interface.name};
        for (const auto& [mac, station] : model.get_stations(index)) {
          radio.backhaul->bssid = is_peer(station) ? std::optional(mac) : radio.backhaul->bssid;
        }
      }
    }
    radios.push_back(std::move(radio));
  }
  return radios;
}

void LinuxAir::follow() {
  follow_sockets();
  follow_clients();
  for (auto& [number, act] : acts_) {
    if (act.on_change && !act.has_ended) {
      act.on_change(act);
    }
  }
  const Model::Interfaces& interfaces = radios_.get_model().get_interfaces();
  const bool is_shown = std::ranges::equal(shown_, interfaces, [](const auto& left, const auto& right) {
    return is_shown_alike(left.second, right.second);
  });
  if (!is_shown) {
    shown_ = interfaces;
  }
  if (std::exchange(has_changed_, false) || !is_shown) {
    change_soon();
  }
}

void LinuxAir::take(const Event& event) {
  if (const auto* const station = std::get_if<StationEvent>(&event)) {
    const Model& model = radios_.get_model();
    const auto interface = model.get_interfaces().find(station->interface);
    if (!station->is_there && interface != model.get_interfaces().end()) {
      set_joined(interface->second.mac, station->station.mac, false);
    }
    return;
  }
  has_changed_ = true;  // the model is complete in a moment
  for (auto& [number, act] : acts_) {
    if (act.on_change && !act.has_ended) {
      act.on_change(act);
    }
  }
  if (std::holds_alternative<ChannelSwitchEvent>(event)) {
    change_soon();
  }
}

void LinuxAir::follow_sockets() {
  std::erase_if(connections_, [&](const auto& entry) { return sockets_.find(entry.first) == nullptr; });
  for (const auto& [number, interface] : radios_.get_model().get_interfaces()) {
    Control* const control = sockets_.find(number);
    if (control == nullptr || connections_[number].event.is_connected()) {
      continue;
    }
    Connections& connections = connections_[number];
    connections.event =
        control->event.connect([this, number = number](const std::string& event) { take_event(number, event); });
    connections.connected = control->connected.connect(
        [this, number = number](bool is_connected) { is_connected ? deny_again(number) : lose(number); });
    if (control->is_connected()) {
      deny_again(number);
    }
  }
}

void LinuxAir::take_event(std::uint32_t interface, const std::string& event) {
  const Model::Interfaces& interfaces = radios_.get_model().get_interfaces();
  const auto mac = control_text::client_event_of(event);
  if (const auto bss = interfaces.find(interface); mac && bss != interfaces.end() && bss->second.role == Role::AP) {
    set_joined(bss->second.mac, mac->client, mac->has_joined);
  }
  for (auto& [number, act] : acts_) {
    if (act.interface == interface && act.on_event && !act.has_ended) {
      const auto on_event = act.on_event;  // which may be replaced
      on_event(act, event);
    }
  }
}

/// The connection to the daemon is lost: what it was asked for will not be reported.
void LinuxAir::lose(std::uint32_t interface) {
  for (auto& [number, act] : acts_) {
    if (act.interface == interface) {
      end(act, std::string("the connection to ") + act.daemon + " is lost");
    }
  }
}

/// One after another, since a connection takes only some commands at once.
void LinuxAir::deny_again(std::uint32_t interface, const MACAddress& after) {
  const Model::Interfaces& interfaces = radios_.get_model().get_interfaces();
  const auto bss = interfaces.find(interface);
  const auto denied = bss == interfaces.end() ? denied_.end() : denied_.find(bss->second.mac);
  Control* const control = sockets_.find(interface);
  if (control == nullptr || denied == denied_.end()) {
    return;
  }
  const auto next = denied->second.upper_bound(after);
  if (next != denied->second.end()) {
    control->request(
        control_text::deny_command(next->first, true),
        [this, life = std::weak_ptr(life_), interface, mac = next->first](const std::optional<std::string>& reply) {
          if (reply && !life.expired()) {
            deny_again(interface, mac);
          }
        });
  }
}

/// Takes the clients from the model, except those that hostapd has just reported. A client that moves to another of our
/// BSSs need not leave the first one, which may keep it for minutes: it counts where it has joined last.
void LinuxAir::follow_clients() {
  const Model& model = radios_.get_model();
  std::map<MACAddress, std::pair<std::chrono::seconds, MACAddress>> latest;
  for (const auto& [number, interface] : model.get_interfaces()) {
    const Interface& bss = model.get_bss(interface);
    for (const auto& [mac, station] : bss.role == Role::AP ? model.get_stations(number) : Model::Stations()) {
      if (is_peer(station)) {
        const auto connected = station.connected.value_or(std::chrono::seconds(0));
        auto& place = latest.try_emplace(mac, connected, bss.mac).first->second;
        const auto known = clients_.find(mac);
        const bool is_known_here = known != clients_.end() && known->second.bssid == bss.mac;
        if (connected < place.first || (connected == place.first && is_known_here)) {
          place = {connected, bss.mac};
        }
      }
    }
  }
  std::vector<std::pair<MACAddress, MACAddress>> left;
  for (auto& [mac, place] : clients_) {
    const auto found = latest.find(mac);
    if (found != latest.end() && found->second.second == place.bssid) {
      place.is_in_model = true;
    } else if (!place.is_in_model && place.missed < MOST_MISSED) {
      ++place.missed;
      latest.erase(mac);
    } else if (found == latest.end()) {
      left.emplace_back(place.bssid, mac);
    }
  }
  for (const auto& [bssid, mac] : left) {
    set_joined(bssid, mac, false);
  }
  for (const auto& [mac, place] : latest) {
    set_joined(place.second, mac, true);
  }
}

void LinuxAir::set_joined(const MACAddress& bssid, const MACAddress& mac, bool has_joined) {
  const auto known = clients_.find(mac);
  const bool is_here = known != clients_.end() && known->second.bssid == bssid;
  if (is_here == has_joined) {
    return;
  }
  if (!has_joined) {
    clients_.erase(known);
  } else if (known != clients_.end()) {
    client(std::exchange(known->second, {bssid}).bssid, mac, false);
  } else {
    clients_.emplace(mac, Place{bssid});
  }
  client(bssid, mac, has_joined);
}

void LinuxAir::change_soon() {
  if (!change_timer_.is_running()) {
    change_timer_.start(std::chrono::milliseconds(0), [this] { changed(); });
  }
}

}  // namespace meshd::wifi
