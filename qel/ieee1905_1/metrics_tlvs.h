#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <utility>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

/// AP Metric Query TLV (type 147): requests the metrics of BSSs (Multi-AP Specification, 17.2.21). Without a BSSID, it
/// decodes but does not encode.
class QEL_EXPORT APMetricQueryTLV final : public TableTLV<APMetricQueryTLV, TLVType::AP_METRIC_QUERY> {
 public:
  const std::vector<MACAddress>& get_bssid_vector() const { return bssid_vector_; }
  void add_bssid(const MACAddress& bssid) { bssid_vector_.push_back(bssid); }

  static constexpr auto table() {
    return serialization::rows(serialization::list8({.before = " BSSIDs: [", .prefix = "\n\t", .after = "]"},
                                                    &APMetricQueryTLV::bssid_vector_, {1, 255}));
  }

 private:
  std::vector<MACAddress> bssid_vector_;
};

/// AP Metrics TLV (type 148): the load of one BSS (Multi-AP Specification, 17.2.22).
///
/// The estimated service parameters of an access category other than best effort are sent only if its include bit is
/// set. Bits and parameters are set independently; decoding leaves parameters that are not included unchanged.
class QEL_EXPORT APMetricsTLV final : public TableTLV<APMetricsTLV, TLVType::AP_METRICS> {
 public:
  /// As in the estimated service parameters element of IEEE 802.11; not interpreted.
  using ServiceParameters = std::array<std::uint8_t, 3>;

  APMetricsTLV() = default;
  explicit APMetricsTLV(const MACAddress& bssid) : bssid_(bssid) {}

  const MACAddress& get_bssid() const { return bssid_; }
  void set_bssid(const MACAddress& bssid) { bssid_ = bssid; }

  /// The share of time that the channel is busy; 255 is all of it (IEEE 802.11-2020, 9.4.2.27).
  std::uint8_t get_channel_utilization() const { return channel_utilization_; }
  void set_channel_utilization(std::uint8_t utilization) { channel_utilization_ = utilization; }

  std::uint16_t get_number_associated_sta() const { return number_associated_sta_; }
  void set_number_associated_sta(std::uint16_t number) { number_associated_sta_ = number; }

  /// Best effort is always included and its bit has no setter. If a sender cleared the bit, it is kept but has no
  /// effect.
  bool get_include_bit_ac_be() const { return include_bits_[AC_BE]; }
  bool get_include_bit_ac_bk() const { return include_bits_[AC_BK]; }
  void set_include_bit_ac_bk(bool include) { include_bits_[AC_BK] = include; }
  bool get_include_bit_ac_vo() const { return include_bits_[AC_VO]; }
  void set_include_bit_ac_vo(bool include) { include_bits_[AC_VO] = include; }
  bool get_include_bit_ac_vi() const { return include_bits_[AC_VI]; }
  void set_include_bit_ac_vi(bool include) { include_bits_[AC_VI] = include; }

  const ServiceParameters& get_information_ac_be() const { return information_ac_be_; }
  void set_information_ac_be(const ServiceParameters& information) { information_ac_be_ = information; }
  const ServiceParameters& get_information_ac_bk() const { return information_ac_bk_; }
  void set_information_ac_bk(const ServiceParameters& information) { information_ac_bk_ = information; }
  const ServiceParameters& get_information_ac_vo() const { return information_ac_vo_; }
  void set_information_ac_vo(const ServiceParameters& information) { information_ac_vo_ = information; }
  const ServiceParameters& get_information_ac_vi() const { return information_ac_vi_; }
  void set_information_ac_vi(const ServiceParameters& information) { information_ac_vi_ = information; }

  /// Prints which parameters are included, not their octets.
  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() {
    using serialization::Field;
    using T = APMetricsTLV;
    return serialization::rows(
        Field{" BSSID: ", &T::bssid_},                              //
        Field{" Channel Utilization: ", &T::channel_utilization_},  //
        Field{" Number of associated STAs: ", &T::number_associated_sta_},
        serialization::accessed_by<&T::get_include_bit_ac_be, &T::get_include_bit_ac_bk, &T::get_include_bit_ac_vo,
                                   &T::get_include_bit_ac_vi>(Field{&T::include_bits_}),
        Field{&T::information_ac_be_});
  }

 private:
  friend serialization::BodyAccess;
  /// The rows of the table, then the included parameters.
  inline void encode_body(serialization::Writer& out) const;
  inline void decode_body(serialization::Reader& in, std::uint16_t length);
  /// Parameters that are not included are not compared.
  bool equals(const APMetricsTLV& other) const;

  enum IncludeBit : std::size_t { AC_VI = 4, AC_VO = 5, AC_BK = 6, AC_BE = 7 };

  MACAddress bssid_;
  std::uint8_t channel_utilization_ = 0;
  std::uint16_t number_associated_sta_ = 0;
  std::bitset<8> include_bits_ = 1U << AC_BE;
  ServiceParameters information_ac_be_{};
  ServiceParameters information_ac_bk_{};
  ServiceParameters information_ac_vo_{};
  ServiceParameters information_ac_vi_{};

  /// The parameters after the table, in wire order.
  static constexpr std::pair<IncludeBit, ServiceParameters APMetricsTLV::*> OPTIONAL[] = {
      {AC_BK, &APMetricsTLV::information_ac_bk_},
      {AC_VO, &APMetricsTLV::information_ac_vo_},
      {AC_VI, &APMetricsTLV::information_ac_vi_},
  };
};

/// A BSS in the Associated STA Link Metrics TLV with the measurements of the link to the station.
class QEL_EXPORT STALinkMetric final : public serialization::Record<STALinkMetric> {
 public:
  const MACAddress& get_bssid() const { return bssid_; }
  void set_bssid(const MACAddress& bssid) { bssid_ = bssid; }

  /// Age of the measurement, in milliseconds.
  std::uint32_t get_time_delta() const { return time_delta_; }
  void set_time_delta(std::uint32_t milliseconds) { time_delta_ = milliseconds; }

  /// In Mb/s.
  std::uint32_t get_estimated_downlink_data_rate() const { return estimated_downlink_data_rate_; }
  void set_estimated_downlink_data_rate(std::uint32_t rate) { estimated_downlink_data_rate_ = rate; }
  /// In Mb/s.
  std::uint32_t get_estimated_uplink_data_rate() const { return estimated_uplink_data_rate_; }
  void set_estimated_uplink_data_rate(std::uint32_t rate) { estimated_uplink_data_rate_ = rate; }

  /// In steps of half a dB, starting at -110 dBm (IEEE 802.11-2020, 9.4.2.37).
  std::uint8_t get_uplink_rcpi() const { return uplink_rcpi_; }
  void set_uplink_rcpi(std::uint8_t rcpi) { uplink_rcpi_ = rcpi; }

  static constexpr auto table() {
    using serialization::Field;
    using T = STALinkMetric;
    return serialization::rows(Field{"BSSID: ", &T::bssid_},                            //
                               Field{" Time Delta of Measurement: ", &T::time_delta_},  //
                               Field{"\n\t\t Estimated Downlink: ", &T::estimated_downlink_data_rate_},
                               Field{" Estimated Uplink: ", &T::estimated_uplink_data_rate_},
                               Field{" Uplink RCPI: ", &T::uplink_rcpi_});
  }

 private:
  MACAddress bssid_;
  std::uint32_t time_delta_ = 0;
  std::uint32_t estimated_downlink_data_rate_ = 0;
  std::uint32_t estimated_uplink_data_rate_ = 0;
  std::uint8_t uplink_rcpi_ = 0;
};

/// Associated STA Link Metrics TLV (type 150): the links of one station (Multi-AP Specification, 17.2.24).
class QEL_EXPORT AssociatedSTALinkMetricsTLV final
    : public TableTLV<AssociatedSTALinkMetricsTLV, TLVType::ASSOCIATED_STA_LINK_METRICS> {
 public:
  AssociatedSTALinkMetricsTLV() = default;
  explicit AssociatedSTALinkMetricsTLV(const MACAddress& sta) : sta_mac_(sta) {}

  const MACAddress& get_sta_mac() const { return sta_mac_; }
  void set_sta_mac(const MACAddress& sta) { sta_mac_ = sta; }
  const std::vector<STALinkMetric>& get_sta_link_metric_vector() const { return sta_link_metric_vector_; }
  void add_sta_link_metric(const STALinkMetric& metric) { sta_link_metric_vector_.push_back(metric); }

  static constexpr auto table() {
    using T = AssociatedSTALinkMetricsTLV;
    return serialization::rows(serialization::Field{" STA MAC: ", &T::sta_mac_},
                               serialization::list8({.before = " Associated BSSs: [", .prefix = "\n\t", .after = "]"},
                                                    &T::sta_link_metric_vector_, {0, 255}));
  }

 private:
  MACAddress sta_mac_;
  std::vector<STALinkMetric> sta_link_metric_vector_;
};

/// Associated STA Traffic Stats TLV (type 162): raw counters of the traffic with one station; "sent" means to the
/// station (Multi-AP Specification, 17.2.35).
class QEL_EXPORT AssociatedSTATrafficStatsTLV final
    : public TableTLV<AssociatedSTATrafficStatsTLV, TLVType::ASSOCIATED_STA_TRAFFIC_STATS> {
 public:
  AssociatedSTATrafficStatsTLV() = default;
  explicit AssociatedSTATrafficStatsTLV(const MACAddress& sta) : sta_mac_(sta) {}

  const MACAddress& get_sta_mac() const { return sta_mac_; }
  void set_sta_mac(const MACAddress& sta) { sta_mac_ = sta; }
  std::uint32_t get_bytes_sent() const { return bytes_sent_; }
  void set_bytes_sent(std::uint32_t count) { bytes_sent_ = count; }
  std::uint32_t get_bytes_received() const { return bytes_received_; }
  void set_bytes_received(std::uint32_t count) { bytes_received_ = count; }
  std::uint32_t get_packets_sent() const { return packets_sent_; }
  void set_packets_sent(std::uint32_t count) { packets_sent_ = count; }
  std::uint32_t get_packets_received() const { return packets_received_; }
  void set_packets_received(std::uint32_t count) { packets_received_ = count; }
  std::uint32_t get_tx_packet_errors() const { return tx_packet_errors_; }
  void set_tx_packet_errors(std::uint32_t count) { tx_packet_errors_ = count; }
  std::uint32_t get_rx_packet_errors() const { return rx_packet_errors_; }
  void set_rx_packet_errors(std::uint32_t count) { rx_packet_errors_ = count; }
  std::uint32_t get_retransmission_count() const { return retransmission_count_; }
  void set_retransmission_count(std::uint32_t count) { retransmission_count_ = count; }

  static constexpr auto table() {
    using serialization::Field;
    using T = AssociatedSTATrafficStatsTLV;
    return serialization::rows(Field{" STAMAC: ", &T::sta_mac_},                     //
                               Field{" Bytes sent: ", &T::bytes_sent_},              //
                               Field{" Bytes received: ", &T::bytes_received_},      //
                               Field{"\n\tPackets sent: ", &T::packets_sent_},       //
                               Field{" Packets received: ", &T::packets_received_},  //
                               Field{" TX Packet Errors: ", &T::tx_packet_errors_},  //
                               Field{" RX Packet Errors: ", &T::rx_packet_errors_},  //
                               Field{" Retransmission Count: ", &T::retransmission_count_});
  }

 private:
  MACAddress sta_mac_;
  std::uint32_t bytes_sent_ = 0;
  std::uint32_t bytes_received_ = 0;
  std::uint32_t packets_sent_ = 0;
  std::uint32_t packets_received_ = 0;
  std::uint32_t tx_packet_errors_ = 0;
  std::uint32_t rx_packet_errors_ = 0;
  std::uint32_t retransmission_count_ = 0;
};

}  // namespace qel::ieee1905_1
