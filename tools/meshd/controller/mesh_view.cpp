#include "tools/meshd/controller/mesh_view.h"

#include <algorithm>
#include <utility>

#include "tools/meshd/controller/channels.h"

namespace meshd::controller {

namespace {

using qel::MACAddress;
using std::chrono::duration_cast;
using std::chrono::seconds;

constexpr std::uint8_t HIGHEST_RCPI = 220;

/// IEEE 802.11-2020, 9.4.2.37.
std::optional<int> dbm_of(std::uint8_t rcpi) {
  return rcpi > HIGHEST_RCPI ? std::nullopt : std::optional(rcpi / 2 - 110);
}

std::string name_of(const MACAddress& mac, const Names& names) {
  const auto place = names.find(mac);
  return place == names.end() ? "" : place->second;
}

template <class Time>
MeshView::Age age_of(const Time& time, TimePoint now) {
  return time ? MeshView::Age(duration_cast<seconds>(now - *time)) : std::nullopt;
}

/// In kb/s; the counts are modulo 2^32.
std::optional<std::uint64_t> rate_of(const ClientModel& client, std::uint32_t ClientTraffic::*count) {
  if (!client.traffic || !client.earlier_traffic || !client.earlier_traffic_at) {
    return std::nullopt;
  }
  const auto time = duration_cast<std::chrono::milliseconds>(client.traffic->at - *client.earlier_traffic_at).count();
  if (time <= 0) {
    return std::nullopt;
  }
  const std::uint32_t octets = client.traffic->value.*count - (*client.earlier_traffic).*count;
  return std::uint64_t{octets} * 8 / static_cast<std::uint64_t>(time);
}

MeshView::Client view_client(const MACAddress& mac, const ClientModel& client, const MeshModel& model,
                             const Names& names, TimePoint now) {
  MeshView::Client view{mac, name_of(mac, names)};
  for (const auto& [al_mac, agent] : model.agents) {
    if (agent.backhaul_stations.contains(mac)) {
      view.leads_to = al_mac;
    }
  }
  if (client.link) {
    const ClientLink& link = client.link->value;
    view.signal = dbm_of(link.uplink_rcpi);
    view.downlink_rate = link.downlink_rate == 0 ? std::nullopt : std::optional(link.downlink_rate);
    view.uplink_rate = link.uplink_rate == 0 ? std::nullopt : std::optional(link.uplink_rate);
    view.measured = duration_cast<seconds>(now - client.link->at);
  }
  view.downlink = rate_of(client, &ClientTraffic::octets_sent);
  view.uplink = rate_of(client, &ClientTraffic::octets_received);
  view.connected = age_of(client.joined_at, now);
  view.asked = age_of(client.steering.asked_at, now);
  view.last_status = client.steering.last_status;
  view.refusals = client.steering.refusals;
  for (const auto& [bssid, rcpi] : client.heard_bss) {
    view.hears.emplace_back(bssid, dbm_of(rcpi.value).value_or(0));
  }
  std::ranges::stable_sort(view.hears, std::greater{}, &std::pair<MACAddress, int>::second);
  return view;
}

MeshView::Radio view_radio(const MACAddress& identifier, const RadioModel& radio, const MeshModel& model,
                           const Names& names, TimePoint now) {
  MeshView::Radio view{identifier};
  if (radio.channel) {
    view.channel = operating_channel(radio.channel->value);
    view.power = radio.channel->value.get_transmit_power_eirp();
  }
  view.switched = age_of(radio.switched_at, now);
  std::optional<TimePoint> latest;
  for (const auto& [bssid, bss] : radio.bss) {
    if (bss.utilization && (!latest || bss.utilization->at > *latest)) {
      latest = bss.utilization->at;
      view.utilization = (bss.utilization->value * 100U + 127) / 255;
    }
    MeshView::Bss& its = view.bss.emplace_back(MeshView::Bss{bssid, bss.ssid});
    for (const auto& [mac, client] : bss.clients) {
      its.clients.push_back(view_client(mac, client, model, names, now));
    }
  }
  view.utilization_age = age_of(latest, now);
  return view;
}

}  // namespace

MeshView view_mesh(const std::string& name, const MACAddress& al_mac, const MeshModel& model, const Names& names,
                   TimePoint now) {
  MeshView view{name, al_mac};
  for (const auto& [other, heard_at] : model.other_controllers) {
    view.other_controllers.push_back(other);
  }
  for (const auto& [address, agent] : model.agents) {
    const std::string given = name_of(address, names);
    MeshView::Agent& its = view.agents.emplace_back(MeshView::Agent{
        address, given.empty() ? agent.name : given, agent.state, duration_cast<seconds>(now - agent.heard_at)});
    for (const auto& [identifier, radio] : agent.radios) {
      its.radios.push_back(view_radio(identifier, radio, model, names, now));
    }
  }
  return view;
}

}  // namespace meshd::controller
