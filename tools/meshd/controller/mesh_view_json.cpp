#include <ostream>

#include "qel/channel/frequency.h"
#include "tools/json_line.h"
#include "tools/meshd/controller/mesh_view.h"
#include "tools/safe_text.h"

namespace meshd::controller {

namespace {

using tools::JsonLine;

std::optional<std::int64_t> count_of(const MeshView::Age& age) {
  return age ? std::optional<std::int64_t>(age->count()) : std::nullopt;
}

std::optional<std::string> name_of(const std::string& name) {
  return name.empty() ? std::nullopt : std::optional(tools::to_utf8(name));
}

std::string state_text(AgentState state) {
  switch (state) {
    case AgentState::JOINING:
      return "joining";
    case AgentState::JOINED:
      return "joined";
    case AgentState::LOST:
      return "lost";
  }
  return "";
}

void put(JsonLine& json, const MeshView::Client& client) {
  json.member("mac", client.mac);
  json.member("name", name_of(client.name));
  json.member("backhaul_of", client.leads_to);
  json.member("signal", client.signal);
  json.member("downlink_rate", client.downlink_rate);
  json.member("uplink_rate", client.uplink_rate);
  json.member("measured", count_of(client.measured));
  json.member("downlink_traffic", client.downlink);
  json.member("uplink_traffic", client.uplink);
  json.member("connected", count_of(client.connected));
  json.objects("hears", client.hears, [&](const auto& heard) {
    json.member("bssid", heard.first);
    json.member("signal", heard.second);
  });
  json.member("asked_to_move", count_of(client.asked));
  json.member("last_status", client.last_status);
  json.member("refusals", client.refusals);
}

void put(JsonLine& json, const MeshView::Radio& radio) {
  const auto& channel = radio.channel;
  const auto if_on = [&](auto value_of) { return channel ? std::optional(value_of(*channel)) : std::nullopt; };
  json.member("radio_id", radio.id);
  json.member("band", if_on([](const auto& on) { return enum_to_string(qel::frequency_to_band(on.frequency)); }));
  json.member("channel", if_on([](const auto& on) { return qel::frequency_to_channel(on.frequency); }));
  json.member("primary_freq", if_on([](const auto& on) { return on.frequency.value(); }));
  json.member("channel_width", if_on([](const auto& on) { return enum_to_string(on.width); }));
  json.member("power", radio.power);
  json.member("utilization", radio.utilization);
  json.member("utilization_age", count_of(radio.utilization_age));
  json.member("switched", count_of(radio.switched));
  json.objects("bss", radio.bss, [&](const MeshView::Bss& bss) {
    json.member("bssid", bss.bssid);
    json.member("ssid", tools::to_utf8(bss.ssid));
    json.objects("clients", bss.clients, [&](const MeshView::Client& client) { put(json, client); });
  });
}

}  // namespace

void print_json(std::ostream& os, const MeshView& view) {
  JsonLine json(os);
  json.write([&] {
    json.member("name", view.name);
    json.member("al_mac", view.al_mac);
    json.member("other_controllers", view.other_controllers);
    json.objects("agents", view.agents, [&](const MeshView::Agent& agent) {
      json.member("al_mac", agent.al_mac);
      json.member("name", name_of(agent.name));
      json.member("state", state_text(agent.state));
      json.member("heard", agent.heard.count());
      json.objects("radios", agent.radios, [&](const MeshView::Radio& radio) { put(json, radio); });
    });
  });
}

}  // namespace meshd::controller
