#include "tools/meshd/agent/beacons.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>

#include "qel/core/serialization/serialization_exception.h"

namespace meshd::agent {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using Octets = std::vector<std::uint8_t>;

// Subelements (IEEE 802.11-2020, Table 9-104).
constexpr std::uint8_t SSID = 0;
constexpr std::uint8_t REPORTING_DETAIL = 2;
constexpr std::uint8_t REQUEST = 10;
constexpr std::uint8_t AP_CHANNEL_REPORT = 51;

constexpr std::uint8_t ACTIVE = 1;     // the measurement mode: with probe requests, where the client may send
constexpr std::uint8_t DURATION = 50;  // in units of 1024 us on each channel

/// A Measurement Request element has 255 octets, of which token, mode and type take three.
constexpr std::size_t LONGEST_REQUEST = 252;
constexpr std::size_t MOST_REPORTS = 255;
constexpr std::size_t LONGEST_SSID = 32;

void add_subelement(Octets& body, std::uint8_t id, std::span<const std::uint8_t> contents) {
  body.push_back(id);
  body.push_back(static_cast<std::uint8_t>(contents.size()));
  body.insert(body.end(), contents.begin(), contents.end());
}

void report(Desk& desk, const qel::MACAddress& client, std::uint16_t id, const std::vector<Octets>& elements) {
  BeaconMetricsResponseTLV response(client);
  for (const Octets& element : elements) {
    using qel::ieee802_11::ELEMENT_HEADER_SIZE;
    BeaconMetricsResponseTLV::Report decoded;
    if (element.size() < ELEMENT_HEADER_SIZE || element[0] != BeaconMetricsResponseTLV::Report::ELEMENT_ID ||
        element[1] != element.size() - ELEMENT_HEADER_SIZE || response.get_reports().size() == MOST_REPORTS) {
      continue;
    }
    try {
      decoded.decode_octets(std::span(element).subspan(ELEMENT_HEADER_SIZE));
      response.add_report(decoded);
    } catch (const qel::serialization::SerializationException&) {
      desk.log("client " + client.to_string() + " sent a measurement report that makes no sense");
    }
  }
  if (response.get_reports().empty()) {
    desk.log("client " + client.to_string() + " has no beacons to report");
    return;
  }
  MessageBuilder message(MessageType::BEACON_METRICS_RESPONSE_MESSAGE, id);
  message.add(std::move(response));
  desk.report(message);
}

}  // namespace

std::optional<Octets> beacon_request(const BeaconMetricsQueryTLV& query) {
  if (query.get_ssid().size() > LONGEST_SSID) {
    return std::nullopt;
  }
  Octets body{query.get_operating_class(), query.get_channel_number(), 0, 0, DURATION, 0, ACTIVE};
  const auto& bssid = query.get_bssid().octets();
  body.insert(body.end(), bssid.begin(), bssid.end());
  if (const Octets ssid(query.get_ssid().begin(), query.get_ssid().end()); !ssid.empty()) {
    add_subelement(body, SSID, ssid);
  }
  const std::uint8_t detail = query.get_reporting_detail();
  add_subelement(body, REPORTING_DETAIL, std::span(&detail, 1));
  if (detail == BeaconMetricsQueryTLV::REQUESTED_ELEMENTS && !query.get_reporting_element_ids().empty()) {
    add_subelement(body, REQUEST, query.get_reporting_element_ids());
  }
  if (query.get_channel_number() == BeaconMetricsQueryTLV::CHANNELS_OF_REPORTS) {
    for (const APChannelReportList& list : query.get_ap_channel_reports()) {
      Octets contents{list.get_operating_class()};
      contents.insert(contents.end(), list.get_channel_vector().begin(), list.get_channel_vector().end());
      add_subelement(body, AP_CHANNEL_REPORT, contents);
    }
  }
  return body.size() <= LONGEST_REQUEST ? std::optional(std::move(body)) : std::nullopt;
}

void carry_out_beacon_query(Desk& desk, const Received& received) {
  const auto* query = received.message().find<BeaconMetricsQueryTLV>();
  if (query == nullptr) {
    return;
  }
  const qel::MACAddress client = query->get_sta_mac_address();
  const std::vector<wifi::AirRadio> radios = desk.air().radios();
  const auto place = find_client(radios, client);
  if (!place) {
    desk.acknowledge(received, {{ErrorReasonCode::STA_NOT_ASSOCIATED_WITH_ANY_BSS_OPERATED_BY_AGENT, client}});
    return;
  }
  desk.acknowledge(received);
  const std::optional<Octets> request = beacon_request(*query);
  if (!request) {
    desk.log("the beacon metrics query for client " + client.to_string() + " is too long for a beacon request");
    return;
  }
  const std::uint16_t id = received.message().get_head().get_message_id();
  desk.air().ask_for_beacons(
      place->bss->bssid, client, *request,
      desk.while_alive([&desk, client, id](const std::vector<Octets>& reports, const std::string& trouble) {
        if (!trouble.empty()) {
          desk.log("cannot get beacon reports of client " + client.to_string() + ": " + trouble);
        } else {
          report(desk, client, id, reports);
        }
      }));
}

}  // namespace meshd::agent
