// How the controller follows which BSSs an agent has, and which clients are there.

#include <algorithm>
#include <utility>

#include "qel/ieee1905_1/bss_tlvs.h"
#include "qel/ieee1905_1/client_tlvs.h"
#include "qel/ieee1905_1/device_identification_tlv.h"
#include "qel/ieee1905_1/device_information_tlv.h"
#include "qel/ieee1905_1/framework_tlvs.h"
#include "qel/ieee1905_1/media_specific_information.h"
#include "tools/meshd/controller/learning.h"
#include "tools/meshd/controller/learning_parts.h"

namespace meshd::controller {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::MACAddress;
using Kind = Change::Kind;

void Learning::on_topology_response(const Context& context) {
  const Message& message = context.received.message();
  if (const auto* name = message.find<DeviceIdentificationTypeTLV>()) {
    const auto& octets = name->get_friendly_name();
    context.agent.name.assign(octets.begin(), std::ranges::find(octets, std::uint8_t{0}));
  }
  if (const auto* device = message.find<DeviceInformationTLV>()) {
    context.agent.backhaul_stations.clear();
    for (const InterfaceInformation& interface : device->get_interface_information_vector()) {
      const auto* wlan = dynamic_cast<const WLANSpecificInformation*>(&interface.get_media_specific_information());
      if (wlan != nullptr && wlan->get_role() == WLANInterfaceRole1905_1::STA) {
        context.agent.backhaul_stations.insert(interface.get_mac());
      }
    }
  }
  take_bss_list(context);
  take_clients(context);
}

void Learning::take_bss_list(const Context& context) {
  if (is_damaged(context.received, TLVType::AP_OPERATIONAL_BSS)) {
    return;
  }
  std::map<MACAddress, std::map<MACAddress, const std::string*>> listed;
  for (const auto& tlv : context.received.message().all<APOperationalBSSTLV>()) {
    for (const BSSOperationalRadioReport& report : tlv.get_report_vector()) {
      auto& radio = listed[report.get_radio_unique_identifier()];
      for (const BSSOperatingOnRadio& bss : report.get_BSS_operating_vector()) {
        radio[bss.get_mac_address()] = &bss.get_ssid();
      }
    }
  }
  for (const auto& [identifier, all] : listed) {
    add_radio(context, identifier);
  }
  if (!std::ranges::all_of(context.agent.radios,
                           [](const auto& entry) { return entry.second.capabilities.has_value(); })) {
    context.changes.push_back({Kind::RADIO_UNKNOWN, context.al_mac});
  }
  for (auto& [identifier, radio] : context.agent.radios) {
    const auto& all = listed[identifier];
    remove_unlisted(radio.bss, all, [&](const MACAddress& bssid, BssModel& bss) { empty(context, bssid, bss); });
    for (const auto& [bssid, ssid] : all) {
      if (const auto known = radio.bss.find(bssid); known != radio.bss.end()) {
        known->second.ssid = *ssid;
        continue;
      }
      const MeshModel::Place other = model_.find_bss(bssid);
      if (radio.bss.size() < limits_.bss &&
          (other.bss == nullptr || model_.agents.at(*other.agent).state == AgentState::LOST)) {
        radio.bss[bssid].ssid = *ssid;
      }
    }
  }
}

void Learning::take_clients(const Context& context) {
  if (is_damaged(context.received, TLVType::ASSOCIATED_CLIENTS)) {
    return;
  }
  std::map<MACAddress, std::map<MACAddress, TimePoint>> listed;
  for (const auto& tlv : context.received.message().all<AssociatedClientsTLV>()) {
    for (const OperatedBSSClients& bss : tlv.get_operated_bss_vector()) {
      auto& clients = listed[bss.get_bssid()];
      for (const AssociatedClient& client : bss.get_associated_client_vector()) {
        clients[client.get_mac()] = context.received.time - std::chrono::seconds(client.get_last_associated_time());
      }
    }
  }
  for (auto& [identifier, radio] : context.agent.radios) {
    for (auto& [bssid, bss] : radio.bss) {
      const auto& all = listed[bssid];
      std::vector<MACAddress> gone;
      for (const auto& [mac, client] : bss.clients) {
        if (!all.contains(mac)) {
          gone.push_back(mac);
        }
      }
      for (const MACAddress& mac : gone) {
        leave(context, bssid, bss, mac, false);
      }
      for (const auto& [mac, joined_at] : all) {
        if (!bss.clients.contains(mac)) {
          join(context, bssid, bss, mac, joined_at, false);
        }
      }
    }
  }
}

void Learning::on_topology_notification(const Context& context) {
  const auto* event = context.received.message().find<ClientAssociationEventTLV>();
  BssModel* bss = event != nullptr ? find_bss(context, event->get_bssid()) : nullptr;
  if (bss == nullptr) {
    context.changes.push_back({Kind::AGENT_CHANGED, context.al_mac});
  } else if (event->get_client_associated_event()) {
    join(context, event->get_bssid(), *bss, event->get_client_mac(), context.received.time, true);
  } else {
    leave(context, event->get_bssid(), *bss, event->get_client_mac(), true);
  }
}

void Learning::join(const Context& context, const MACAddress& bssid, BssModel& bss, const MACAddress& client,
                    TimePoint joined_at, bool is_event) {
  const MeshModel::Place before = model_.find_client(client);
  if (before.client == nullptr && clients_ >= limits_.clients) {
    return;
  }
  ClientModel joined;
  MACAddress from;
  if (before.client != nullptr) {
    AgentModel& other = model_.agents.at(*before.agent);
    if (*before.bssid != bssid && other.state != AgentState::LOST && before.client->joined_at > joined_at) {
      return;  // this agent has not noticed that the client went elsewhere
    }
    from = *before.bssid;
    auto& clients = other.radios.at(*before.radio).bss.at(from).clients;
    joined = std::move(clients.extract(client).mapped());
    joined.link.reset();
    joined.traffic.reset();
    joined.earlier_traffic.reset();
    joined.earlier_traffic_at.reset();
    joined.association_request.reset();
    --clients_;
  } else if (const auto departed = model_.departed.extract(client)) {
    joined.steering = departed.mapped().value;
  }
  joined.joined_at = joined_at;
  bss.clients.insert_or_assign(client, std::move(joined));
  ++clients_;
  context.changes.push_back({Kind::CLIENT_JOINED, context.al_mac, bssid, client, from, is_event});
}

void Learning::leave(const Context& context, const MACAddress& bssid, BssModel& bss, const MACAddress& client,
                     bool is_event) {
  const auto node = bss.clients.extract(client);
  if (!node) {
    if (is_event) {
      context.changes.push_back({Kind::CLIENT_GONE, context.al_mac, bssid, client, {}, is_event});
    }
    return;
  }
  --clients_;
  remember_departed(client, node.mapped().steering, context.received.time);
  context.changes.push_back({Kind::CLIENT_LEFT, context.al_mac, bssid, client, {}, is_event});
}

void Learning::empty(const Context& context, const MACAddress& bssid, BssModel& bss) {
  while (!bss.clients.empty()) {
    leave(context, bssid, bss, MACAddress(bss.clients.begin()->first), false);
  }
}

void Learning::remember_departed(const MACAddress& client, const SteeringRecord& record, TimePoint now) {
  if (!record.asked_at) {
    return;
  }
  if (model_.departed.size() >= limits_.departed) {
    remove_oldest(model_.departed);
  }
  model_.departed[client] = {record, now};
}

}  // namespace meshd::controller
