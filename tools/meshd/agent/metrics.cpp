#include "tools/meshd/agent/metrics.h"

#include <algorithm>
#include <limits>
#include <set>

#include "qel/ieee1905_1/unassociated_sta_tlvs.h"
#include "tools/meshd/wifi/station.h"

namespace meshd::agent {

namespace {

using namespace qel::ieee1905_1;  // NOLINT(google-build-using-namespace): all of this file is about it
using qel::MACAddress;
using wifi::AirBss;
using wifi::AirClient;
using wifi::AirRadio;

constexpr std::uint8_t RCPI_UNKNOWN = 255;

/// As in the BSS Load element (IEEE 802.11-2020, 9.4.2.27): 255 is all of the time.
std::uint8_t load_of(std::uint8_t percent) {
  return static_cast<std::uint8_t>((std::min<unsigned int>(percent, 100) * 255 + 50) / 100);
}

std::uint8_t rcpi_of(const AirClient& client) {
  const auto& signal = client.station.signal ? client.station.signal : client.station.average_signal;
  return signal ? wifi::rcpi_of(*signal) : RCPI_UNKNOWN;
}

/// In Mb/s; 0 if unknown.
std::uint32_t megabits(const std::optional<wifi::Rate>& rate) {
  constexpr std::uint64_t MOST = std::numeric_limits<std::uint32_t>::max();
  return rate ? static_cast<std::uint32_t>(std::min(rate->kilobits / 1000, MOST)) : 0;
}

/// Estimated service parameters of best effort (IEEE 802.11-2020, 9.4.2.173): what is left of the channel's time.
APMetricsTLV::ServiceParameters best_effort(const AirRadio& radio) {
  constexpr std::uint8_t BEST_EFFORT = 1;
  constexpr std::uint8_t AGGREGATED = 3U << 3 | 7U << 5;  // both ways, 64 frames in a block acknowledgment
  constexpr std::uint8_t DURATION = 100;                  // of a PPDU: 5 ms in units of 50 us
  const bool has_ht = std::ranges::any_of(radio.bands, [](const wifi::Band& band) { return band.ht.has_value(); });
  return {static_cast<std::uint8_t>(BEST_EFFORT | (has_ht ? AGGREGATED : 0)),
          static_cast<std::uint8_t>(255 - load_of(radio.utilization.value_or(0))), DURATION};
}

std::uint32_t modulo(const std::optional<std::uint64_t>& count) {
  return static_cast<std::uint32_t>(count.value_or(0));
}

}  // namespace

APMetricsTLV ap_metrics(const AirRadio& radio, const AirBss& bss) {
  APMetricsTLV metrics(bss.bssid);
  metrics.set_channel_utilization(load_of(radio.utilization.value_or(0)));
  metrics.set_number_associated_sta(static_cast<std::uint16_t>(std::min<std::size_t>(bss.clients.size(), 65535)));
  metrics.set_information_ac_be(best_effort(radio));
  return metrics;
}

STALinkMetric link_metric(const MACAddress& bssid, const AirClient& client) {
  STALinkMetric metric;
  metric.set_bssid(bssid);
  const auto age = client.station.inactive.value_or(std::chrono::milliseconds(0)).count();
  metric.set_time_delta(
      static_cast<std::uint32_t>(std::clamp<std::int64_t>(age, 0, std::numeric_limits<std::uint32_t>::max())));
  metric.set_estimated_downlink_data_rate(megabits(client.station.send_rate));
  metric.set_estimated_uplink_data_rate(megabits(client.station.receive_rate));
  metric.set_uplink_rcpi(rcpi_of(client));
  return metric;
}

AssociatedSTATrafficStatsTLV traffic_stats(const AirClient& client) {
  const wifi::Station& station = client.station;
  AssociatedSTATrafficStatsTLV stats(station.mac);
  stats.set_bytes_sent(modulo(station.sent_octets));
  stats.set_bytes_received(modulo(station.received_octets));
  stats.set_packets_sent(station.sent_packets.value_or(0));
  stats.set_packets_received(station.received_packets.value_or(0));
  stats.set_tx_packet_errors(station.send_failures.value_or(0));
  stats.set_rx_packet_errors(modulo(station.receive_drops));
  stats.set_retransmission_count(station.retries.value_or(0));
  return stats;
}

void Metrics::on_ap_query(const Received& received) {
  std::set<MACAddress> asked;
  for (const APMetricQueryTLV& query : received.message().all<APMetricQueryTLV>()) {
    asked.insert(query.get_bssid_vector().begin(), query.get_bssid_vector().end());
  }
  MessageBuilder response = Desk::answer_to(received, MessageType::AP_METRICS_RESPONSE_MESSAGE);
  for (const AirRadio& radio : desk_.air().radios()) {
    for (const AirBss& bss : radio.bss) {
      if (asked.contains(bss.bssid)) {
        add_bss(response, radio, bss);
      }
    }
  }
  desk_.reply(received, response);
}

void Metrics::on_link_query(const Received& received) {
  const auto* query = received.message().find<STAMACAddressTLV>();
  if (query == nullptr) {
    return;
  }
  const MACAddress& mac = query->get_MAC();
  AssociatedSTALinkMetricsTLV metrics(mac);
  for (const AirRadio& radio : desk_.air().radios()) {
    for (const AirBss& bss : radio.bss) {
      for (const AirClient& client : bss.clients) {
        if (client.station.mac == mac && metrics.get_sta_link_metric_vector().size() < 255) {
          metrics.add_sta_link_metric(link_metric(bss.bssid, client));
        }
      }
    }
  }
  MessageBuilder response = Desk::answer_to(received, MessageType::ASSOCIATED_STA_LINK_METRICS_RESPONSE_MESSAGE);
  const bool is_here = !metrics.get_sta_link_metric_vector().empty();
  response.add(std::move(metrics));
  if (!is_here) {
    response.add(ErrorCodeTLV(ErrorReasonCode::STA_NOT_ASSOCIATED_WITH_ANY_BSS_OPERATED_BY_AGENT, mac));
  }
  desk_.reply(received, response);
}

void Metrics::on_unassociated_query(const Received& received) {
  const auto* query = received.message().find<UnassociatedSTALinkMetricsQueryTLV>();
  if (query == nullptr) {
    return;
  }
  const std::vector<AirRadio> radios = desk_.air().radios();
  std::set<MACAddress> ours;
  for (const AirRadio& radio : radios) {
    for (const AirBss& bss : radio.bss) {
      for (const AirClient& client : bss.clients) {
        ours.insert(client.station.mac);
      }
    }
  }
  std::vector<ErrorCodeTLV> errors;
  for (const UnassociatedSTAChannel& channel : query->get_channel_vector()) {
    for (const MACAddress& client : channel.get_sta_mac_vector()) {
      if (ours.erase(client) != 0) {
        errors.emplace_back(ErrorReasonCode::STA_ASSOCIATED_WITH_BSS_OPERATED_BY_AGENT, client);
      }
    }
  }
  desk_.acknowledge(received, errors);
  MessageBuilder response = Desk::answer_to(received, MessageType::UNASSOCIATED_STA_LINK_METRICS_RESPONSE_MESSAGE);
  response.add(UnassociatedSTALinkMetricsResponseTLV(query->get_operating_class()));
  desk_.report(response);
}

void Metrics::set_policy(const MetricReportingPolicyTLV& policy, TimePoint now) {
  policies_.clear();
  for (const Policy& each : policy.get_radio_policy_vector()) {
    policies_.insert_or_assign(each.get_radio_identifier(), each);
  }
  interval_ = std::chrono::seconds(policy.get_reporting_interval());
  due_ = now + interval_;
  utilizations_.clear();
  receptions_.clear();
}

void Metrics::tend(TimePoint now) {
  const bool is_due = interval_.count() != 0 && due_ <= now;
  const bool has_thresholds = std::ranges::any_of(policies_, [](const auto& each) {
    return each.second.get_rcpi_threshold() != 0 || each.second.get_reporting_threshold() != 0;
  });
  if (!desk_.controller() || (!is_due && !has_thresholds)) {
    return;
  }
  const std::vector<AirRadio> radios = desk_.air().radios();
  if (is_due) {
    due_ = now + interval_;
    report_all(radios);
  }
  if (has_thresholds) {
    report_crossings(radios);
  }
}

const Metrics::Policy* Metrics::policy_of(const AirRadio& radio) const {
  const auto found = policies_.find(radio.identifier);
  return found == policies_.end() ? nullptr : &found->second;
}

void Metrics::add_bss(MessageBuilder& builder, const AirRadio& radio, const AirBss& bss) const {
  builder.add(ap_metrics(radio, bss));
  const Policy* policy = policy_of(radio);
  if (policy == nullptr) {
    return;
  }
  for (const AirClient& client : bss.clients) {
    if (policy->get_statistics()) {
      builder.add(traffic_stats(client));
    }
    if (policy->get_metrics()) {
      AssociatedSTALinkMetricsTLV metrics(client.station.mac);
      metrics.add_sta_link_metric(link_metric(bss.bssid, client));
      builder.add(std::move(metrics));
    }
  }
}

void Metrics::report_all(const std::vector<AirRadio>& radios) {
  MessageBuilder report(MessageType::AP_METRICS_RESPONSE_MESSAGE);
  bool is_empty = true;
  for (const AirRadio& radio : radios) {
    for (const AirBss& bss : radio.bss) {
      add_bss(report, radio, bss);
      is_empty = false;
    }
  }
  if (!is_empty) {
    desk_.tell(report);
  }
}

void Metrics::report_crossings(const std::vector<AirRadio>& radios) {
  MessageBuilder loads(MessageType::AP_METRICS_RESPONSE_MESSAGE);
  bool has_loads = false;
  std::map<std::pair<MACAddress, MACAddress>, Crossing> receptions;  // of the clients that are here now
  for (const AirRadio& radio : radios) {
    const Policy* policy = policy_of(radio);
    if (policy == nullptr) {
      continue;
    }
    if (policy->get_reporting_threshold() != 0 && radio.utilization &&
        utilizations_.try_emplace(radio.identifier, false)
            .first->second.take(load_of(*radio.utilization), policy->get_reporting_threshold(), UTILIZATION_MARGIN)) {
      for (const AirBss& bss : radio.bss) {
        add_bss(loads, radio, bss);
        has_loads = true;
      }
    }
    if (policy->get_rcpi_threshold() == 0) {
      continue;
    }
    const unsigned int hysteresis = policy->get_hysteresis_override();
    const unsigned int margin = 2 * (hysteresis != 0 ? hysteresis : DEFAULT_HYSTERESIS);  // an RCPI has half dBs
    for (const AirBss& bss : radio.bss) {
      for (const AirClient& client : bss.clients) {
        const std::pair key(bss.bssid, client.station.mac);
        const auto known = receptions_.find(key);
        // A client that joins is taken to be received well, so that one that is not is reported.
        Crossing& crossing =
            receptions.emplace(key, known == receptions_.end() ? Crossing(true) : known->second).first->second;
        const std::uint8_t rcpi = rcpi_of(client);
        if (rcpi != RCPI_UNKNOWN && crossing.take(rcpi, policy->get_rcpi_threshold(), margin)) {
          MessageBuilder report(MessageType::ASSOCIATED_STA_LINK_METRICS_RESPONSE_MESSAGE);
          AssociatedSTALinkMetricsTLV metrics(client.station.mac);
          metrics.add_sta_link_metric(link_metric(bss.bssid, client));
          report.add(std::move(metrics));
          desk_.tell(report);
        }
      }
    }
  }
  receptions_ = std::move(receptions);
  if (has_loads) {
    desk_.tell(loads);
  }
}

}  // namespace meshd::agent
