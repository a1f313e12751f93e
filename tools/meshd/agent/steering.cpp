#include "tools/meshd/agent/steering.h"

#include <algorithm>
#include <string>
#include <utility>

#include "qel/ieee1905_1/client_association_control_tlv.h"
#include "tools/meshd/agent/channels.h"
#include "tools/meshd/agent/metrics.h"

namespace meshd::agent {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::MACAddress;
using wifi::AirBss;
using wifi::AirClient;
using wifi::AirRadio;
using wifi::MoveAnswer;
using wifi::MoveRequest;

constexpr std::uint8_t RCPI_UNKNOWN = 221;  // and above

const AirBss* find_bss(const std::vector<AirRadio>& radios, const MACAddress& bssid) {
  for (const AirRadio& radio : radios) {
    const auto found = std::ranges::find(radio.bss, bssid, &AirBss::bssid);
    if (found != radio.bss.end()) {
      return &*found;
    }
  }
  return nullptr;
}

/// The clients that the request is about: all of the BSS if it names none. Those that are not there become errors.
std::vector<ClientPlace> clients_of(const SteeringRequestTLV& request, const std::vector<AirRadio>& radios,
                                    std::vector<ErrorCodeTLV>& errors) {
  std::vector<ClientPlace> places;
  std::set<MACAddress> seen;
  const auto add = [&](const MACAddress& client) {
    if (!seen.insert(client).second) {
      return;
    }
    if (const auto place = find_client(radios, request.get_bssid(), client)) {
      places.push_back(*place);
    } else {
      errors.emplace_back(ErrorReasonCode::STA_NOT_ASSOCIATED_WITH_ANY_BSS_OPERATED_BY_AGENT, client);
    }
  };
  std::ranges::for_each(request.get_steering_sta_mac_vector(), add);
  if (request.get_steering_sta_mac_vector().empty()) {
    if (const AirBss* bss = find_bss(radios, request.get_bssid())) {
      std::ranges::for_each(bss->clients, [&](const AirClient& client) { add(client.station.mac); });
    }
  }
  return places;
}

/// BSSs of the same network on our other radios.
std::vector<MoveRequest::Target> own_targets(const std::vector<AirRadio>& radios, const ClientPlace& place) {
  std::vector<MoveRequest::Target> targets;
  for (const AirRadio& radio : radios) {
    const auto channel = operating_channel(radio);
    if (&radio == place.radio || !channel) {
      continue;
    }
    const OperatingClassChannel& narrowest = channel->get_operating_class_channel_vector().front();
    for (const AirBss& bss : radio.bss) {
      if (bss.ssid == place.bss->ssid) {
        targets.push_back({bss.bssid, narrowest.get_operating_class(), narrowest.get_channel()});
      }
    }
  }
  return targets;
}

}  // namespace

void Steering::set_policy(const SteeringPolicyTLV& policy) {
  const auto& by_us = policy.get_local_steering_disallowed_sta_vector();
  const auto& by_btm = policy.get_btm_steering_disallowed_sta_vector();
  not_by_us_ = {by_us.begin(), by_us.end()};
  not_by_btm_ = {by_btm.begin(), by_btm.end()};
  policies_.clear();
  for (const SteeringRadioPolicy& each : policy.get_radio_policy_vector()) {
    policies_.insert_or_assign(each.get_radio_identifier(), each);
  }
}

void Steering::on_request(const Received& received) {
  const auto* request = received.message().find<SteeringRequestTLV>();
  if (request == nullptr) {
    return;
  }
  const std::vector<AirRadio> radios = desk_.air().radios();
  std::vector<ErrorCodeTLV> errors;
  std::vector<ClientPlace> places = clients_of(*request, radios, errors);
  desk_.acknowledge(received, errors);
  places.resize(std::min(places.size(), MOST_MOVES), ClientPlace{});
  if (request->get_steering_mandated()) {
    carry_out(*request, radios, places);
  } else {
    use_opportunity(*request, radios, places);
  }
}

/// There is one target for all clients, or one for each.
void Steering::carry_out(const SteeringRequestTLV& request, const std::vector<AirRadio>& radios,
                         const std::vector<ClientPlace>& places) {
  const std::vector<MACAddress>& named = request.get_steering_sta_mac_vector();
  const std::vector<SteeringRequestTargetBSSID>& targets = request.get_target_bssid_vector();
  if (targets.size() != 1 && targets.size() != named.size()) {
    desk_.log("a steering request has " + std::to_string(targets.size()) + " targets for " +
              std::to_string(named.size()) + " clients");
    return;
  }
  for (const ClientPlace& place : places) {
    std::size_t index = 0;
    if (targets.size() != 1) {
      index = static_cast<std::size_t>(std::ranges::find(named, place.client->station.mac) - named.begin());
    }
    if (index >= targets.size()) {
      continue;
    }
    const SteeringRequestTargetBSSID& target = targets[index];
    if (target.get_bssid() == SteeringRequestTargetBSSID::WILDCARD) {
      move(request, place, own_targets(radios, place));
    } else {
      move(request, place, {{target.get_bssid(), target.get_operating_class(), target.get_channel_number()}});
    }
  }
}

void Steering::use_opportunity(const SteeringRequestTLV& request, const std::vector<AirRadio>& radios,
                               const std::vector<ClientPlace>& places) {
  if (opportunities_.size() >= MOST_OPPORTUNITIES) {
    report_completed();
    return;
  }
  const std::uint32_t number = ++count_;
  Opportunity& opportunity = opportunities_[number];
  opportunity.end = desk_.now() + std::chrono::seconds(request.get_steering_opertunity_window());
  const bool are_named = !request.get_steering_sta_mac_vector().empty();
  std::vector<ClientPlace> chosen;
  for (const ClientPlace& place : places) {
    if (should_move(place, are_named)) {
      chosen.push_back(place);
      opportunity.awaited.insert(place.client->station.mac);
    }
  }
  if (chosen.empty()) {
    opportunities_.erase(number);
    report_completed();
    return;
  }
  for (const ClientPlace& place : chosen) {
    move(request, place, own_targets(radios, place), number);
  }
}

/// A client is moved if it crosses a threshold of the policy. Without thresholds, only those that the controller names.
bool Steering::should_move(const ClientPlace& place, bool is_named) const {
  const MACAddress& client = place.client->station.mac;
  if (not_by_us_.contains(client) || !may_be_asked(*place.client)) {
    return false;
  }
  const auto policy = policies_.find(place.radio->identifier);
  const std::uint8_t least_rcpi = policy == policies_.end() ? 0 : policy->second.get_rcpi_steering_threshold();
  const std::uint8_t most_load = policy == policies_.end() ? 0 : policy->second.get_channel_utilization_threshold();
  if (least_rcpi == 0 && most_load == 0) {
    return is_named;
  }
  const std::uint8_t rcpi = link_metric(place.bss->bssid, *place.client).get_uplink_rcpi();
  const std::uint8_t load = ap_metrics(*place.radio, *place.bss).get_channel_utilization();
  return (least_rcpi != 0 && rcpi < RCPI_UNKNOWN && rcpi < least_rcpi) || (most_load != 0 && load > most_load);
}

bool Steering::may_be_asked(const AirClient& client) const {
  return client.can_move.value_or(true) && !not_by_btm_.contains(client.station.mac);
}

/// A client that may not or cannot be asked is disconnected and kept away for a moment, so that it finds another access
/// point.
void Steering::move(const SteeringRequestTLV& request, const ClientPlace& place,
                    std::vector<MoveRequest::Target> targets, std::optional<std::uint32_t> opportunity) {
  const MACAddress bssid = place.bss->bssid;
  const MACAddress client = place.client->station.mac;
  if (!may_be_asked(*place.client)) {
    desk_.log("client " + client.to_string() + " cannot be asked to move, and is disconnected");
    blocks_.block(bssid, client, desk_.now() + AWAY);
    desk_.air().disconnect(bssid, client, desk_.while_alive([this, client](const std::string& trouble) {
      if (!trouble.empty()) {
        desk_.log("cannot disconnect client " + client.to_string() + ": " + trouble);
      }
    }));
    return;
  }
  const MoveRequest asked{bssid,
                          client,
                          std::move(targets),
                          request.get_btm_disassociation_imminent(),
                          request.get_btm_abridged(),
                          request.get_disassociation_timer()};
  desk_.air().ask_to_move(asked, desk_.while_alive([this, bssid, client, opportunity](const auto& answer) {
    report_answer(bssid, client, answer);
    if (opportunity) {
      conclude(*opportunity, client);
    }
  }));
}

void Steering::report_answer(const MACAddress& bssid, const MACAddress& client,
                             const std::optional<MoveAnswer>& answer) {
  if (!answer) {
    desk_.log("client " + client.to_string() + " did not respond to the request to move");
    return;
  }
  SteeringBTMReportTLV btm(bssid, client, answer->status);
  if (answer->target) {
    btm.set_target_bssid(*answer->target);
  }
  MessageBuilder report(MessageType::CLIENT_STEERING_BTM_REPORT_MESSAGE);
  report.add(btm);
  desk_.report(report);
}

void Steering::conclude(std::uint32_t opportunity, const MACAddress& client) {
  const auto found = opportunities_.find(opportunity);
  if (found == opportunities_.end()) {
    return;  // its time was over
  }
  found->second.awaited.erase(client);
  if (found->second.awaited.empty()) {
    opportunities_.erase(found);
    report_completed();
  }
}

void Steering::report_completed() {
  MessageBuilder report(MessageType::STEERING_COMPLETED_MESSAGE);
  desk_.report(report);
}

void Steering::on_association_control(const Received& received) {
  const auto* request = received.message().find<ClientAssociationControlRequestTLV>();
  if (request == nullptr) {
    return;
  }
  const bool is_block = request->get_association_control() == ClientAssociationControl::BLOCK;
  const TimePoint until = desk_.now() + std::chrono::seconds(request->get_validity_period());
  const std::vector<AirRadio> radios = desk_.air().radios();
  std::vector<ErrorCodeTLV> errors;
  std::vector<MACAddress> blocked;
  for (const MACAddress& client :
       std::set(request->get_sta_mac_vector().begin(), request->get_sta_mac_vector().end())) {
    if (!is_block) {
      blocks_.unblock(request->get_bssid(), client);
    } else if (find_client(radios, request->get_bssid(), client)) {
      errors.emplace_back(ErrorReasonCode::STA_ASSOCIATED_WITH_BSS_OPERATED_BY_AGENT, client);
    } else {
      blocked.push_back(client);
    }
  }
  desk_.acknowledge(received, errors);
  for (const MACAddress& client : blocked) {
    if (until > desk_.now() && !blocks_.block(request->get_bssid(), client, until)) {
      desk_.log("too many clients are blocked to block " + client.to_string());
    }
  }
}

void Steering::tend(TimePoint now) {
  blocks_.tend(now);
  for (auto each = opportunities_.begin(); each != opportunities_.end();) {
    if (each->second.end <= now) {
      each = opportunities_.erase(each);
      report_completed();
    } else {
      ++each;
    }
  }
}

}  // namespace meshd::agent
