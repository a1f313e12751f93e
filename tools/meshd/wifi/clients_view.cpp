#include "tools/meshd/wifi/clients_view.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <ostream>

#include "tools/json_line.h"
#include "tools/meshd/wifi/radios_view.h"
#include "tools/meshd/wifi/station_json.h"
#include "tools/safe_text.h"
#include "tools/text_table.h"

namespace meshd::wifi {

namespace {

using tools::for_terminal_line;
using tools::TextTable;
using Client = ClientsView::Client;

/// The number of units, with one digit after the point.
std::string in_units(std::uint64_t number, std::uint64_t unit) {
  return std::to_string(number / unit) + '.' + std::to_string(number % unit / (unit / 10));
}

std::string two_digits(std::uint64_t number) { return (number < 10 ? "0" : "") + std::to_string(number); }

/// What the other end is.
std::string peer_text(const Client& client) {
  if (client.role == Role::STATION || client.role == Role::P2P_CLIENT) {
    return "access point";
  }
  if (client.role != Role::AP && client.role != Role::AP_VLAN && client.role != Role::P2P_GROUP_OWNER) {
    return "peer";
  }
  std::string text = client.has_4_addresses ? "backhaul" : "client";
  // The kernel reports no event when the handshake has ended, but hostapd does.
  return client.station.is_authorized || client.association.security ? text : text + ", no key yet";
}

/// "866.7 Mb/s, ac 80 MHz x2", or "54.0 Mb/s".
std::string rate_text(const std::optional<Rate>& rate) {
  if (!rate) {
    return {};
  }
  std::string text = in_units(rate->kilobits, 1000) + " Mb/s";
  if (is_valid(rate->mode)) {
    text += ", " + enum_to_string(rate->mode);
    text += is_valid(rate->width) ? ' ' + enum_to_string(rate->width) : "";
    text += " x" + std::to_string(rate->streams);
  }
  return text;
}

std::string octets_text(const std::optional<std::uint64_t>& octets) {
  if (!octets) {
    return {};
  }
  constexpr std::uint64_t STEP = 1000;
  if (*octets < STEP) {
    return std::to_string(*octets) + " B";
  }
  constexpr std::array UNITS{" kB", " MB", " GB", " TB", " PB", " EB"};
  std::size_t i = 0;
  std::uint64_t unit = STEP;
  while (*octets / unit >= STEP) {
    unit *= STEP;
    ++i;
  }
  return in_units(*octets, unit) + UNITS[i];
}

/// "59 s", "1:02:03", or "2 d 03:04".
std::string duration_text(const std::optional<std::chrono::seconds>& duration) {
  constexpr std::uint64_t MINUTE = 60;
  constexpr std::uint64_t HOUR = 60 * MINUTE;
  constexpr std::uint64_t DAY = 24 * HOUR;
  if (!duration) {
    return {};
  }
  const auto all = static_cast<std::uint64_t>(duration->count());
  if (all < MINUTE) {
    return std::to_string(all) + " s";
  }
  const std::string minutes = ':' + two_digits(all % HOUR / MINUTE);
  return all < DAY ? std::to_string(all / HOUR) + minutes + ':' + two_digits(all % MINUTE)
                   : std::to_string(all / DAY) + " d " + two_digits(all % DAY / HOUR) + minutes;
}

std::string idle_text(const std::optional<std::chrono::milliseconds>& idle) {
  constexpr std::chrono::milliseconds EXACT{10'000};
  if (!idle || *idle >= EXACT) {
    return duration_text(idle ? std::optional(std::chrono::duration_cast<std::chrono::seconds>(*idle)) : std::nullopt);
  }
  return in_units(static_cast<std::uint64_t>(idle->count()), 1000) + " s";
}

template <class T>
std::string number_text(const std::optional<T>& number, const char* unit = "") {
  return number ? std::to_string(*number) + unit : "";
}

template <class T>
std::optional<std::int64_t> count_of(const std::optional<T>& duration) {
  return duration ? std::optional<std::int64_t>(duration->count()) : std::nullopt;
}

std::optional<std::string> text_of(const std::optional<qel::WLANSecurity>& security) {
  return security ? std::optional(enum_to_string(*security)) : std::nullopt;
}

void put_members(tools::JsonLine& json, const Client& client) {
  const Station& station = client.station;
  json.member("mac", station.mac);
  json.member("name", client.name.empty() ? std::nullopt : std::optional(client.name));
  json.member("interface", tools::to_utf8(client.interface));
  json.member("role", role_text(client.role));
  json.member("four_addresses", client.has_4_addresses);
  json.member("ssid", tools::to_utf8(client.ssid));
  json.member("bssid", client.bssid);
  json.member("authorized", station.is_authorized);
  json.member("protected_management", station.has_protected_management);
  put_measurements(json, station);
  json.member("connected", count_of(station.connected));
  json.member("inactive", count_of(station.inactive));
  json.member("security", text_of(client.association.security));
  json.member("bss_transition", client.association.has_bss_transition);
  json.member("opclasses", client.association.opclasses);
}

}  // namespace

ClientsView view_clients(const std::string& name, const Model& model, const Associations& associations,
                         const Names& names) {
  ClientsView view{name, {}};
  for (const auto& [number, interface] : model.get_interfaces()) {
    for (const auto& [mac, station] : model.get_stations(number)) {
      const bool is_ours = interface.role == Role::STATION || interface.role == Role::P2P_CLIENT;
      const auto given = names.find(mac);
      const auto association = associations.find(mac);
      view.clients.push_back({interface.name, interface.role, interface.has_4_addresses, ssid_of(interface, model),
                              is_ours ? mac : interface.mac, station, given == names.end() ? "" : given->second,
                              association == associations.end() ? Association() : association->second});
    }
  }
  return view;
}

void print_text(std::ostream& os, const ClientsView& view) {
  if (view.clients.empty()) {
    os << "no clients\n";
    return;
  }
  using enum TextTable::Align;
  TextTable links({{"STATION"},
                   {"KIND"},
                   {"INTERFACE"},
                   {"SIGNAL", RIGHT},
                   {"SEND RATE"},
                   {"RECEIVE RATE"},
                   {"CONNECTED", RIGHT},
                   {"IDLE", RIGHT},
                   {"SECURITY"},
                   {"SSID"}});
  TextTable traffic({{"STATION"},
                     {"SENT", RIGHT},
                     {"PACKETS", RIGHT},
                     {"RETRIES", RIGHT},
                     {"FAILED", RIGHT},
                     {"RECEIVED", RIGHT},
                     {"PACKETS", RIGHT},
                     {"DROPPED", RIGHT}});
  for (const Client& client : view.clients) {
    const Station& station = client.station;
    const std::string mac = station.mac.to_string() + (client.name.empty() ? "" : ' ' + client.name);
    links.add({mac, peer_text(client), for_terminal_line(client.interface), number_text(station.signal, " dBm"),
               rate_text(station.send_rate), rate_text(station.receive_rate), duration_text(station.connected),
               idle_text(station.inactive), text_of(client.association.security).value_or(""),
               for_terminal_line(client.ssid)});
    traffic.add({mac, octets_text(station.sent_octets), number_text(station.sent_packets), number_text(station.retries),
                 number_text(station.send_failures), octets_text(station.received_octets),
                 number_text(station.received_packets), number_text(station.receive_drops)});
  }
  links.print(os);
  os << '\n';
  traffic.print(os);
}

void print_json(std::ostream& os, const ClientsView& view) {
  tools::JsonLine json(os);
  json.write([&] {
    json.member("name", view.name);
    json.objects("clients", view.clients, [&](const Client& client) { put_members(json, client); });
  });
}

}  // namespace meshd::wifi
