#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

/// Whether an agent may or must steer clients on its own initiative (Multi-AP Specification, 17.2.11). Other values are
/// kept.
enum class SteeringPolicyType : std::uint8_t {
  AGENT_INITIATED_STEERING_DISALLOWED = 0,
  AGENT_INITIATED_RCPI_BASED_STEERING_MANDATED = 1,
  AGENT_INITIATED_RCPI_BASED_STEERING_ALLOWED = 2,
  RESERVED = 255
};

QEL_EXPORT std::string enum_to_string(SteeringPolicyType type);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, SteeringPolicyType type);

/// The steering policy of one radio.
class QEL_EXPORT SteeringRadioPolicy final : public serialization::Record<SteeringRadioPolicy> {
 public:
  /// Policy RESERVED, both thresholds 0.
  SteeringRadioPolicy() = default;
  explicit SteeringRadioPolicy(const MACAddress& radio) : radio_identifier_(radio) {}
  SteeringRadioPolicy(const MACAddress& radio, SteeringPolicyType policy, std::uint8_t channel_utilization_threshold,
                      std::uint8_t rcpi_steering_threshold)
      : radio_identifier_(radio),
        steering_policy_(policy),
        channel_utilization_threshold_(channel_utilization_threshold),
        rcpi_steering_threshold_(rcpi_steering_threshold) {}

  const MACAddress& get_radio_identifier() const { return radio_identifier_; }
  void set_radio_identifier(const MACAddress& radio) { radio_identifier_ = radio; }
  SteeringPolicyType get_steering_policy() const { return steering_policy_; }
  void set_steering_policy(SteeringPolicyType policy) { steering_policy_ = policy; }
  /// A fraction of 255, as the channel utilization in the BSS Load element.
  std::uint8_t get_channel_utilization_threshold() const { return channel_utilization_threshold_; }
  void set_channel_utilization_threshold(std::uint8_t threshold) { channel_utilization_threshold_ = threshold; }
  /// An RCPI (IEEE 802.11-2020, 9.4.2.37), 0 to 220 in the standard; not checked.
  std::uint8_t get_rcpi_steering_threshold() const { return rcpi_steering_threshold_; }
  void set_rcpi_steering_threshold(std::uint8_t threshold) { rcpi_steering_threshold_ = threshold; }

  static constexpr auto table() {
    using serialization::Field;
    using T = SteeringRadioPolicy;
    return serialization::rows(Field{"Indicated Radio: ", &T::radio_identifier_},                       //
                               Field{" Steering Policy: ", &T::steering_policy_},                       //
                               Field{" Channel Util Threshold: ", &T::channel_utilization_threshold_},  //
                               Field{" RCPI Steering Threshold: ", &T::rcpi_steering_threshold_});
  }

 private:
  MACAddress radio_identifier_;
  SteeringPolicyType steering_policy_ = SteeringPolicyType::RESERVED;
  std::uint8_t channel_utilization_threshold_ = 0;
  std::uint8_t rcpi_steering_threshold_ = 0;
};

/// Steering Policy TLV (type 137, Multi-AP Specification, 17.2.11): stations that an agent must not steer, or not with
/// BTM requests, and the policy of each radio. Without a radio, it decodes but does not encode.
class QEL_EXPORT SteeringPolicyTLV final : public TableTLV<SteeringPolicyTLV, TLVType::STEERING_POLICY> {
 public:
  const std::vector<MACAddress>& get_local_steering_disallowed_sta_vector() const {
    return local_steering_disallowed_sta_vector_;
  }
  void add_local_steering_disallowed_sta(const MACAddress& sta) {
    local_steering_disallowed_sta_vector_.push_back(sta);
  }
  const std::vector<MACAddress>& get_btm_steering_disallowed_sta_vector() const {
    return btm_steering_disallowed_sta_vector_;
  }
  void add_btm_steering_disallowed_sta(const MACAddress& sta) { btm_steering_disallowed_sta_vector_.push_back(sta); }
  const std::vector<SteeringRadioPolicy>& get_radio_policy_vector() const { return radio_policy_vector_; }
  void add_radio_policy(const SteeringRadioPolicy& policy) { radio_policy_vector_.push_back(policy); }

  static constexpr auto table() {
    using serialization::list8;
    using T = SteeringPolicyTLV;
    return serialization::rows(list8({.before = "\n\tLocalSteeringDisallowed: [ ", .suffix = " ", .after = "]"},
                                     &T::local_steering_disallowed_sta_vector_, {0, 255, "Invalid local_vector size"}),
                               list8({.before = "\n\tBTMSteeringDisallowed: [ ", .suffix = " ", .after = "]"},
                                     &T::btm_steering_disallowed_sta_vector_, {0, 255, "Invalid btm_vector size"}),
                               list8({.before = "\n\tIndicated Radios: [", .prefix = "\n\t\t", .after = "]"},
                                     &T::radio_policy_vector_, {1, 255, "Invalid radio_vector size"}));
  }

 private:
  std::vector<MACAddress> local_steering_disallowed_sta_vector_;
  std::vector<MACAddress> btm_steering_disallowed_sta_vector_;
  std::vector<SteeringRadioPolicy> radio_policy_vector_;
};

/// What one radio must report.
class QEL_EXPORT MetricReportingRadioPolicy final : public serialization::Record<MetricReportingRadioPolicy> {
 public:
  MetricReportingRadioPolicy() = default;
  explicit MetricReportingRadioPolicy(const MACAddress& radio) : radio_identifier_(radio) {}

  const MACAddress& get_radio_identifier() const { return radio_identifier_; }
  void set_radio_identifier(const MACAddress& radio) { radio_identifier_ = radio; }
  /// The RCPI (IEEE 802.11-2020, 9.4.2.37) at whose crossing a station's metrics are reported; 0 for never.
  std::uint8_t get_rcpi_threshold() const { return rcpi_threshold_; }
  void set_rcpi_threshold(std::uint8_t threshold) { rcpi_threshold_ = threshold; }
  /// Hysteresis of that threshold, in dB; 0 leaves it to the agent.
  std::uint8_t get_hysteresis_override() const { return hysteresis_override_; }
  void set_hysteresis_override(std::uint8_t margin) { hysteresis_override_ = margin; }
  /// The channel utilization, as a fraction of 255, at whose crossing the access point's metrics are reported; 0 for
  /// never.
  std::uint8_t get_reporting_threshold() const { return reporting_threshold_; }
  void set_reporting_threshold(std::uint8_t threshold) { reporting_threshold_ = threshold; }
  /// Whether reports include the traffic statistics of the stations.
  bool get_statistics() const { return flags_[STATISTICS]; }
  void set_statistics(bool included) { flags_[STATISTICS] = included; }
  /// Whether reports include the link metrics of the stations.
  bool get_metrics() const { return flags_[METRICS]; }
  void set_metrics(bool included) { flags_[METRICS] = included; }

  void dbg_str(std::ostream& os) const;

  static constexpr auto table() {
    using serialization::Field;
    using T = MetricReportingRadioPolicy;
    return serialization::rows(Field{"Radio Identifier: ", &T::radio_identifier_},         //
                               Field{" RCPI Threshold: ", &T::rcpi_threshold_},            //
                               Field{" Hysteresis Override: ", &T::hysteresis_override_},  //
                               Field{" Reporting Threshold: ", &T::reporting_threshold_},  //
                               serialization::accessed_by<&T::get_statistics, &T::get_metrics>(Field{&T::flags_}));
  }

 private:
  static constexpr std::size_t STATISTICS = 7;
  static constexpr std::size_t METRICS = 6;

  MACAddress radio_identifier_;
  std::uint8_t rcpi_threshold_ = 0;
  std::uint8_t hysteresis_override_ = 0;
  std::uint8_t reporting_threshold_ = 0;
  std::bitset<8> flags_;  ///< reserved bits are kept
};

/// Metric Reporting Policy TLV (type 138, Multi-AP Specification, 17.2.12). Without a radio, it decodes but does not
/// encode.
class QEL_EXPORT MetricReportingPolicyTLV final
    : public TableTLV<MetricReportingPolicyTLV, TLVType::METRIC_REPORTING_POLICY> {
 public:
  MetricReportingPolicyTLV() = default;
  explicit MetricReportingPolicyTLV(std::uint8_t reporting_interval) : reporting_interval_(reporting_interval) {}

  /// Seconds between reports of an access point's metrics; 0 for no periodic reports.
  std::uint8_t get_reporting_interval() const { return reporting_interval_; }
  void set_reporting_interval(std::uint8_t interval) { reporting_interval_ = interval; }
  const std::vector<MetricReportingRadioPolicy>& get_radio_policy_vector() const { return radio_policy_vector_; }
  void add_radio_policy(const MetricReportingRadioPolicy& policy) { radio_policy_vector_.push_back(policy); }

  static constexpr auto table() {
    using T = MetricReportingPolicyTLV;
    return serialization::rows(serialization::Field{" Reporting Interval: ", &T::reporting_interval_},
                               serialization::list8({.before = " Policies: [", .prefix = "\n\t", .after = "]"},
                                                    &T::radio_policy_vector_, {1, 255}));
  }

 private:
  std::uint8_t reporting_interval_ = 0;
  std::vector<MetricReportingRadioPolicy> radio_policy_vector_;
};

}  // namespace qel::ieee1905_1
