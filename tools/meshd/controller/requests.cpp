#include "tools/meshd/controller/requests.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "qel/core/fixed_byte_buffer.h"
#include "qel/ieee1905_1/beacon_metrics_tlvs.h"
#include "qel/ieee1905_1/client_association_control_tlv.h"
#include "qel/ieee1905_1/client_tlvs.h"
#include "qel/ieee1905_1/message_builder.h"
#include "qel/ieee1905_1/metrics_tlvs.h"
#include "qel/ieee1905_1/steering_policy_tlvs.h"
#include "qel/ieee1905_1/steering_tlvs.h"
#include "qel/ieee1905_1/unassociated_sta_tlvs.h"
#include "tools/meshd/controller/channels.h"

namespace meshd::controller {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::MACAddress;

namespace {

constexpr std::size_t MOST_LISTED = 255;  // by an octet of count
/// Twice this many addresses and the radios of an agent fit into a TLV of one frame.
constexpr std::size_t MOST_EXCLUDED = 100;

constexpr MACAddress ANY_BSS{{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};

std::uint8_t to_255ths(unsigned int percent) { return static_cast<std::uint8_t>(std::min(percent, 100U) * 255 / 100); }

/// The channels on which the mesh has BSSs of this SSID, by operating class.
std::map<std::uint8_t, std::set<std::uint8_t>> channels_of(const MeshModel& model, const std::string& ssid) {
  std::map<std::uint8_t, std::set<std::uint8_t>> channels;
  for (const auto& [al_mac, agent] : model.agents) {
    for (const auto& [identifier, radio] : agent.radios) {
      const bool has_ssid = std::ranges::any_of(radio.bss, [&](const auto& bss) { return bss.second.ssid == ssid; });
      const auto channel = radio.channel && has_ssid ? primary_class_channel(radio.channel->value) : std::nullopt;
      if (channel && agent.state == AgentState::JOINED) {
        channels[channel->get_operating_class()].insert(channel->get_channel());
      }
    }
  }
  return channels;
}

}  // namespace

Message query(MessageType type) { return make_message(type, make_IEEE1905_1_msg_id()); }

std::optional<Message> metrics_query(const AgentModel& agent) {
  APMetricQueryTLV tlv;
  for (const auto& [identifier, radio] : agent.radios) {
    for (const auto& [bssid, bss] : radio.bss) {
      if (tlv.get_bssid_vector().size() < MOST_LISTED) {
        tlv.add_bssid(bssid);
      }
    }
  }
  if (tlv.get_bssid_vector().empty()) {
    return std::nullopt;
  }
  return make_message(MessageType::AP_METRICS_QUERY_MESSAGE, make_IEEE1905_1_msg_id(), std::move(tlv));
}

std::optional<Message> policy_request(const AgentModel& agent, const Policy& policy) {
  if (agent.radios.empty()) {
    return std::nullopt;
  }
  SteeringPolicyTLV steering;
  for (const MACAddress& client : policy.steering.excluded_clients) {
    if (steering.get_local_steering_disallowed_sta_vector().size() < MOST_EXCLUDED) {
      steering.add_local_steering_disallowed_sta(client);
      steering.add_btm_steering_disallowed_sta(client);
    }
  }
  constexpr std::uint8_t RCPI_STEPS_PER_DB = 2;
  MetricReportingPolicyTLV reporting(static_cast<std::uint8_t>(policy.reporting.interval.count()));
  for (const auto& [identifier, radio] : agent.radios) {
    steering.add_radio_policy({identifier, SteeringPolicyType::AGENT_INITIATED_STEERING_DISALLOWED, 0, 0});
    MetricReportingRadioPolicy one(identifier);
    one.set_rcpi_threshold(policy.reporting.rcpi_threshold);
    one.set_hysteresis_override(static_cast<std::uint8_t>((policy.reporting.rcpi_hysteresis + 1) / RCPI_STEPS_PER_DB));
    one.set_reporting_threshold(to_255ths(policy.reporting.utilization_threshold));
    one.set_statistics(true);
    one.set_metrics(true);
    reporting.add_radio_policy(one);
  }
  return make_message(MessageType::MULTI_AP_POLICY_CONFIG_REQUEST_MESSAGE, make_IEEE1905_1_msg_id(),
                      std::move(steering), std::move(reporting));
}

std::optional<Message> channels_query(const AgentModel& agent) {
  if (std::ranges::all_of(agent.radios, [](const auto& radio) { return radio.second.channel.has_value(); })) {
    return std::nullopt;
  }
  return query(MessageType::CHANNEL_SELECTION_REQUEST_MESSAGE);
}

Message client_capability_query(const MACAddress& bssid, const MACAddress& client) {
  return make_message(MessageType::CLIENT_CAPABILITY_QUERY_MESSAGE, make_IEEE1905_1_msg_id(),
                      ClientInfoTLV(bssid, client));
}

Message client_metrics_query(const MACAddress& client) {
  return make_message(MessageType::ASSOCIATED_STA_LINK_METRICS_QUERY_MESSAGE, make_IEEE1905_1_msg_id(),
                      STAMACAddressTLV(client));
}

std::optional<Message> beacon_query(const MeshModel& model, const MACAddress& client) {
  const MeshModel::Place place = model.find_client(client);
  if (place.client == nullptr) {
    return std::nullopt;
  }
  const auto channels = channels_of(model, place.bss->ssid);
  if (channels.empty()) {
    return std::nullopt;
  }
  BeaconMetricsQueryTLV tlv;
  tlv.set_sta_mac_address(client);
  tlv.set_bssid(ANY_BSS);
  tlv.set_ssid(place.bss->ssid);
  tlv.set_operating_class(channels.begin()->first);
  if (channels.size() == 1 && channels.begin()->second.size() == 1) {
    tlv.set_channel_number(*channels.begin()->second.begin());
  } else {
    tlv.set_channel_number(BeaconMetricsQueryTLV::CHANNELS_OF_REPORTS);
    for (const auto& [opclass, numbers] : channels) {
      APChannelReportList list(opclass);
      for (const std::uint8_t number : numbers) {
        list.add_channel(number);
      }
      tlv.add_ap_channel_reports(list);
    }
  }
  return make_message(MessageType::BEACON_METRICS_QUERY_MESSAGE, make_IEEE1905_1_msg_id(), std::move(tlv));
}

Message unassociated_query(std::uint8_t opclass, std::uint8_t channel, const MACAddress& client) {
  UnassociatedSTAChannel on_channel(channel);
  on_channel.add_sta_mac(client);
  UnassociatedSTALinkMetricsQueryTLV tlv(opclass);
  tlv.add_channel(on_channel);
  return make_message(MessageType::UNASSOCIATED_STA_LINK_METRICS_QUERY_MESSAGE, make_IEEE1905_1_msg_id(),
                      std::move(tlv));
}

Message steering_request(const MeshModel& model, const MACAddress& client, const MACAddress& from,
                         const MACAddress& to) {
  const RadioModel* radio = model.find_bss(to).radio_model;
  const auto channel = radio != nullptr && radio->channel ? primary_class_channel(radio->channel->value) : std::nullopt;
  SteeringRequestTLV tlv(from);
  tlv.set_steering_mandated(true);
  tlv.set_btm_abridged(true);
  tlv.add_steering_sta_mac(client);
  tlv.add_target_bssid(channel ? SteeringRequestTargetBSSID(to, channel->get_operating_class(), channel->get_channel())
                               : SteeringRequestTargetBSSID(to));
  return make_message(MessageType::CLIENT_STEERING_REQUEST_MESSAGE, make_IEEE1905_1_msg_id(), std::move(tlv));
}

Message block_request(const MACAddress& bssid, const MACAddress& client, std::uint16_t seconds) {
  ClientAssociationControlRequestTLV tlv(
      bssid, seconds == 0 ? ClientAssociationControl::UNBLOCK : ClientAssociationControl::BLOCK, seconds);
  tlv.add_sta_mac(client);
  return make_message(MessageType::CLIENT_ASSOCIATION_CONTROL_REQUEST_MESSAGE, make_IEEE1905_1_msg_id(),
                      std::move(tlv));
}

}  // namespace meshd::controller
