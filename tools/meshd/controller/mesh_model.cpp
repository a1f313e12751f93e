#include "tools/meshd/controller/mesh_model.h"

namespace meshd::controller {

MeshModel::Place MeshModel::find_bss(const qel::MACAddress& bssid) const {
  Place place;
  for (const auto& [al_mac, agent] : agents) {
    for (const auto& [identifier, radio] : agent.radios) {
      const auto bss = radio.bss.find(bssid);
      // An agent that is lost may have left a BSS that another one operates now.
      if (bss != radio.bss.end() && (place.bss == nullptr || agent.state != AgentState::LOST)) {
        place = {&al_mac, &identifier, &bss->first, &radio, &bss->second, nullptr};
      }
    }
  }
  return place;
}

MeshModel::Place MeshModel::find_client(const qel::MACAddress& client) const {
  Place latest;
  for (const auto& [al_mac, agent] : agents) {
    for (const auto& [identifier, radio] : agent.radios) {
      for (const auto& [bssid, bss] : radio.bss) {
        const auto found = bss.clients.find(client);
        if (found != bss.clients.end() &&
            (latest.client == nullptr || found->second.joined_at > latest.client->joined_at)) {
          latest = {&al_mac, &identifier, &bssid, &radio, &bss, &found->second};
        }
      }
    }
  }
  return latest;
}

const Denial* MeshModel::find_denial(const qel::MACAddress& bssid, const qel::MACAddress& client, TimePoint now) const {
  const auto denial = denials.find({bssid, client});
  return denial == denials.end() || denial->second.until <= now ? nullptr : &denial->second;
}

const AgentModel* MeshModel::find_agent_of_radio(const qel::MACAddress& radio, qel::MACAddress* al_mac) const {
  const AgentModel* result = nullptr;
  for (const auto& [address, agent] : agents) {
    if (agent.radios.contains(radio) && (result == nullptr || agent.state != AgentState::LOST)) {
      result = &agent;
      if (al_mac != nullptr) {
        *al_mac = address;
      }
    }
  }
  return result;
}

}  // namespace meshd::controller
