#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/metrics_tlvs.h"
#include "qel/ieee1905_1/steering_policy_tlvs.h"
#include "tools/meshd/agent/desk.h"
#include "tools/meshd/wifi/air.h"

namespace meshd::agent {

qel::ieee1905_1::APMetricsTLV ap_metrics(const wifi::AirRadio& radio, const wifi::AirBss& bss);
qel::ieee1905_1::STALinkMetric link_metric(const qel::MACAddress& bssid, const wifi::AirClient& client);
/// Counts are modulo 2^32.
qel::ieee1905_1::AssociatedSTATrafficStatsTLV traffic_stats(const wifi::AirClient& client);

/// Whether a value is above a threshold. It has crossed the threshold only once it is beyond it by more than a margin.
class Crossing {
 public:
  explicit Crossing(bool is_above) : is_above_(is_above) {}

  /// Returns whether the value has crossed the threshold.
  bool take(unsigned int value, unsigned int threshold, unsigned int margin) {
    const bool crosses = is_above_ ? value + margin < threshold : value > threshold + margin;
    is_above_ ^= crosses;
    return crosses;
  }

 private:
  bool is_above_;
};

/// Metrics of access points and clients: on query, and as the controller's policy demands.
class Metrics {
 public:
  /// The desk is borrowed.
  explicit Metrics(Desk& desk) : desk_(desk) {}

  void on_ap_query(const Received& received);
  void on_link_query(const Received& received);
  /// No radio can listen to clients of others: the answer is empty, with an error code for each client that is ours.
  void on_unassociated_query(const Received& received);

  void set_policy(const qel::ieee1905_1::MetricReportingPolicyTLV& policy, TimePoint now);
  void tend(TimePoint now);

 private:
  /// Of an RCPI, in dB, if the policy leaves it to the agent.
  static constexpr unsigned int DEFAULT_HYSTERESIS = 3;
  /// Of a utilization, as a fraction of 255. The policy has none.
  static constexpr unsigned int UTILIZATION_MARGIN = 5;

  using Policy = qel::ieee1905_1::MetricReportingRadioPolicy;

  const Policy* policy_of(const wifi::AirRadio& radio) const;
  /// The metrics of the BSS and, as far as the policy of its radio includes them, of its clients.
  void add_bss(qel::ieee1905_1::MessageBuilder& builder, const wifi::AirRadio& radio, const wifi::AirBss& bss) const;
  void report_all(const std::vector<wifi::AirRadio>& radios);
  void report_crossings(const std::vector<wifi::AirRadio>& radios);

  Desk& desk_;
  std::map<qel::MACAddress, Policy> policies_;  // by radio
  std::chrono::seconds interval_{0};
  TimePoint due_;
  std::map<qel::MACAddress, Crossing> utilizations_;                            // by radio
  std::map<std::pair<qel::MACAddress, qel::MACAddress>, Crossing> receptions_;  // by BSSID and client
};

}  // namespace meshd::agent
