#include "tools/meshd/controller/targets.h"

#include <optional>
#include <stdexcept>
#include <vector>

#include "qel/channel/frequency.h"
#include "tools/meshd/controller/channels.h"

namespace meshd::controller {

using qel::MACAddress;

namespace {

std::optional<MACAddress> parse(const std::string& text) {
  MACAddress mac;
  return mac.parse_string(text) ? std::optional(mac) : std::nullopt;
}

MACAddress only_one(const std::vector<MACAddress>& found, const std::string& name, const std::string& what) {
  if (found.size() == 1) {
    return found.front();
  }
  if (name.empty()) {
    throw std::invalid_argument("the address of " + what + " is required");
  }
  if (found.empty()) {
    throw std::invalid_argument("'" + name + "' is neither an address nor the name of " + what);
  }
  std::string all;
  for (const MACAddress& mac : found) {
    all += ' ' + mac.to_string();
  }
  throw std::invalid_argument("'" + name + "' can be any of" + all);
}

std::string band_of(const RadioModel& radio) {
  const auto channel = radio.channel ? operating_channel(radio.channel->value) : std::nullopt;
  const std::string band = channel ? enum_to_string(qel::frequency_to_band(channel->frequency)) : "";
  return band.substr(0, band.find(' '));
}

}  // namespace

MACAddress find_station(const std::string& name, const Names& names) {
  if (const auto mac = parse(name)) {
    return *mac;
  }
  std::vector<MACAddress> found;
  for (const auto& [mac, given] : names) {
    if (given == name) {
      found.push_back(mac);
    }
  }
  return only_one(found, name, "a station");
}

MACAddress find_agent(const std::string& name, const MeshModel& model, const Names& names) {
  if (const auto mac = parse(name)) {
    return *mac;
  }
  std::vector<MACAddress> found;
  for (const auto& [al_mac, agent] : model.agents) {
    const auto given = names.find(al_mac);
    if (!name.empty() && (given == names.end() ? agent.name : given->second) == name) {
      found.push_back(al_mac);
    }
  }
  return only_one(found, name, "an agent");
}

MACAddress find_radio(const std::string& name, const MeshModel& model, const Names& names) {
  if (const auto mac = parse(name)) {
    return *mac;
  }
  const std::size_t slash = name.find('/');
  const std::string band = slash == std::string::npos ? "" : name.substr(slash + 1);
  std::vector<MACAddress> found;
  if (const auto agent = model.agents.find(find_agent(name.substr(0, slash), model, names));
      agent != model.agents.end()) {
    for (const auto& [identifier, radio] : agent->second.radios) {
      if (band.empty() || band_of(radio) == band) {
        found.push_back(identifier);
      }
    }
  }
  return only_one(found, name, "a radio");
}

MACAddress find_bssid(const std::string& name, const MeshModel& model, const Names& names) {
  if (const auto mac = parse(name)) {
    return *mac;
  }
  const MACAddress identifier = find_radio(name, model, names);
  std::vector<MACAddress> found;
  if (const AgentModel* agent = model.find_agent_of_radio(identifier)) {
    for (const auto& [bssid, bss] : agent->radios.at(identifier).bss) {
      found.push_back(bssid);
    }
  }
  return only_one(found, name, "a BSS");
}

}  // namespace meshd::controller
