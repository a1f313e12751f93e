#include "tools/meshd/wifi/control_sockets.h"

#include <cstdlib>
#include <string_view>
#include <utility>

#include "tools/meshd/wifi/control_text.h"

namespace meshd::wifi {

namespace {

/// Clients asked about in a refresh; the others have their turn in the next one.
constexpr std::size_t MOST_AT_ONCE = 32;

bool is_known(const Model& model, const qel::MACAddress& mac) {
  for (const auto& [number, interface] : model.get_interfaces()) {
    if (model.get_stations(number).contains(mac)) {
      return true;
    }
  }
  return false;
}

}  // namespace

std::string ControlSockets::default_own_directory() {
  const char* const directories = std::getenv("RUNTIME_DIRECTORY");
  const std::string_view all = directories == nullptr ? "" : directories;
  return all.empty() ? "/tmp" : std::string(all.substr(0, all.find(':')));
}

ControlSockets::ControlSockets(qel::daemon::Mainloop& loop, Radios& radios, Directories directories)
    : loop_(loop),
      radios_(radios),
      directories_(std::move(directories)),
      updated_(radios.updated.connect([this] { follow(); })) {
  follow();
}

Control* ControlSockets::find(std::uint32_t interface) {
  const auto socket = sockets_.find(interface);
  return socket == sockets_.end() ? nullptr : socket->second.control.get();
}

void ControlSockets::follow() {
  const Model::Interfaces& interfaces = radios_.get_model().get_interfaces();
  std::erase_if(sockets_, [&](const auto& entry) {
    const auto& [number, socket] = entry;
    const auto interface = interfaces.find(number);
    return interface == interfaces.end() || interface->second.name != socket.name ||
           interface->second.role != (socket.is_station ? Role::STATION : Role::AP);
  });
  std::erase_if(associations_, [&](const auto& entry) { return !is_known(radios_.get_model(), entry.first); });
  for (const auto& [number, interface] : interfaces) {
    if (sockets_.contains(number)) {
      ask(number);
    } else if (interface.role == Role::AP || interface.role == Role::STATION) {
      add(interface);
    }
  }
}

void ControlSockets::add(const Interface& interface) {
  const bool is_station = interface.role == Role::STATION;
  const std::string& directory = is_station ? directories_.wpa_supplicant : directories_.hostapd;
  auto control = std::make_unique<Control>(loop_, directory + '/' + interface.name, directories_.own);
  control->connected.connect([this, number = interface.number](bool is_connected) {
    if (is_connected) {
      ask(number);
    }
  });
  control->event.connect([this, number = interface.number](const std::string& event) { take_event(number, event); });
  sockets_.insert_or_assign(interface.number, Socket{interface.name, is_station, std::move(control)});
}

void ControlSockets::ask(std::uint32_t interface) {
  const Model& model = radios_.get_model();
  const auto ours = model.get_interfaces().find(interface);
  if (ours == model.get_interfaces().end()) {
    return;
  }
  std::size_t asked = 0;
  for (const auto& [number, other] : model.get_interfaces()) {
    // Clients with 4 addresses have an interface of their own.
    const bool is_part = model.get_bss(other).number == interface;
    for (const auto& [mac, station] : is_part ? model.get_stations(number) : Model::Stations()) {
      if (is_peer(station) && !associations_.contains(mac) && ++asked <= MOST_AT_ONCE) {
        ours->second.role == Role::STATION ? ask_status(interface) : ask_client(interface, mac);
      }
    }
  }
}

void ControlSockets::ask_client(std::uint32_t access_point, const qel::MACAddress& client) {
  sockets_.at(access_point)
      .control->request("STA " + client.to_string(), [this, client](const std::optional<std::string>& reply) {
        if (auto association = association_of_client(reply.value_or(""))) {
          associations_.insert_or_assign(client, std::move(*association));
        }
      });
}

void ControlSockets::ask_status(std::uint32_t station) {
  sockets_.at(station).control->request("STATUS", [this](const std::optional<std::string>& reply) {
    if (auto association = association_of_status(reply.value_or(""))) {
      associations_.insert_or_assign(association->first, std::move(association->second));
    }
  });
}

void ControlSockets::take_event(std::uint32_t interface, const std::string& event) {
  const auto client = control_text::client_event_of(event);
  if (client && client->has_joined) {
    ask_client(interface, client->client);
  } else if (client) {
    associations_.erase(client->client);
  } else if (control_text::connection_of(event)) {
    ask_status(interface);
  }
}

}  // namespace meshd::wifi
