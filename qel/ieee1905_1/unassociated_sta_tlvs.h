#pragma once

#include <cstdint>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

/// The stations to listen for on one channel. Without a station, it decodes but does not encode.
class QEL_EXPORT UnassociatedSTAChannel final : public serialization::Record<UnassociatedSTAChannel> {
 public:
  UnassociatedSTAChannel() = default;
  explicit UnassociatedSTAChannel(std::uint8_t channel_number) : channel_number_(channel_number) {}

  std::uint8_t get_channel_number() const { return channel_number_; }
  void set_channel_number(std::uint8_t number) { channel_number_ = number; }
  const std::vector<MACAddress>& get_sta_mac_vector() const { return sta_mac_vector_; }
  void add_sta_mac(const MACAddress& sta) { sta_mac_vector_.push_back(sta); }

  static constexpr auto table() {
    using T = UnassociatedSTAChannel;
    return serialization::rows(serialization::Field{"Channel Number: ", &T::channel_number_},
                               serialization::list8({.before = " STA MACs: [", .prefix = "\n\t\t", .after = "]"},
                                                    &T::sta_mac_vector_, {1, 255}));
  }

 private:
  std::uint8_t channel_number_ = 0;
  std::vector<MACAddress> sta_mac_vector_;
};

/// Unassociated STA Link Metrics Query TLV (type 151, Multi-AP Specification, 17.2.25). Without a channel, it decodes
/// but does not encode.
class QEL_EXPORT UnassociatedSTALinkMetricsQueryTLV final
    : public TableTLV<UnassociatedSTALinkMetricsQueryTLV, TLVType::UNASSOCIATED_STA_LINK_METRICS> {
 public:
  UnassociatedSTALinkMetricsQueryTLV() = default;
  explicit UnassociatedSTALinkMetricsQueryTLV(std::uint8_t operating_class) : operating_class_(operating_class) {}

  std::uint8_t get_operating_class() const { return operating_class_; }
  void set_operating_class(std::uint8_t operating_class) { operating_class_ = operating_class; }
  const std::vector<UnassociatedSTAChannel>& get_channel_vector() const { return channel_vector_; }
  void add_channel(const UnassociatedSTAChannel& channel) { channel_vector_.push_back(channel); }

  static constexpr auto table() {
    using T = UnassociatedSTALinkMetricsQueryTLV;
    return serialization::rows(serialization::Field{" Operating Class: ", &T::operating_class_},
                               serialization::list8({.before = " Channel List: [ ", .prefix = "\n\t", .after = "]"},
                                                    &T::channel_vector_, {1, 255}));
  }

 private:
  std::uint8_t operating_class_ = 0;
  std::vector<UnassociatedSTAChannel> channel_vector_;
};

/// The measurement of one station.
class QEL_EXPORT UnassociatedSTAReport final : public serialization::Record<UnassociatedSTAReport> {
 public:
  UnassociatedSTAReport() = default;
  UnassociatedSTAReport(const MACAddress& sta, std::uint8_t channel_number, std::uint32_t time_delta,
                        std::uint8_t uplink_rcpi)
      : sta_mac_address_(sta), channel_number_(channel_number), time_delta_(time_delta), uplink_rcpi_(uplink_rcpi) {}

  const MACAddress& get_sta_mac_address() const { return sta_mac_address_; }
  void set_sta_mac_address(const MACAddress& sta) { sta_mac_address_ = sta; }
  std::uint8_t get_channel_number() const { return channel_number_; }
  void set_channel_number(std::uint8_t number) { channel_number_ = number; }
  /// Milliseconds between measurement and report.
  std::uint32_t get_time_delta() const { return time_delta_; }
  void set_time_delta(std::uint32_t delta) { time_delta_ = delta; }
  /// Received channel power indicator (IEEE 802.11-2020, 9.4.2.37).
  std::uint8_t get_uplink_rcpi() const { return uplink_rcpi_; }
  void set_uplink_rcpi(std::uint8_t rcpi) { uplink_rcpi_ = rcpi; }

  static constexpr auto table() {
    using serialization::Field;
    using T = UnassociatedSTAReport;
    return serialization::rows(Field{"MAC: ", &T::sta_mac_address_},      //
                               Field{" Channel: ", &T::channel_number_},  //
                               Field{" TimeDelta: ", &T::time_delta_},    //
                               Field{" RCPI: ", &T::uplink_rcpi_});
  }

 private:
  MACAddress sta_mac_address_;
  std::uint8_t channel_number_ = 0;
  std::uint32_t time_delta_ = 0;
  std::uint8_t uplink_rcpi_ = 0;
};

/// Unassociated STA Link Metrics Response TLV (type 152, Multi-AP Specification, 17.2.26). Unlike the query's list, its
/// list may be empty: no station was heard.
class QEL_EXPORT UnassociatedSTALinkMetricsResponseTLV final
    : public TableTLV<UnassociatedSTALinkMetricsResponseTLV, TLVType::UNASSOCIATED_STA_LINK_METRICS_RESPONSE> {
 public:
  UnassociatedSTALinkMetricsResponseTLV() = default;
  explicit UnassociatedSTALinkMetricsResponseTLV(std::uint8_t operating_class) : operating_class_(operating_class) {}

  std::uint8_t get_operating_class() const { return operating_class_; }
  void set_operating_class(std::uint8_t operating_class) { operating_class_ = operating_class; }
  const std::vector<UnassociatedSTAReport>& get_report_vector() const { return report_vector_; }
  void add_report(const UnassociatedSTAReport& report) { report_vector_.push_back(report); }

  static constexpr auto table() {
    using T = UnassociatedSTALinkMetricsResponseTLV;
    return serialization::rows(serialization::Field{" Operating Class: ", &T::operating_class_},
                               serialization::list8({.before = " STA Reports: [", .prefix = "\n\t", .after = "]"},
                                                    &T::report_vector_, {0, 255}));
  }

 private:
  std::uint8_t operating_class_ = 0;
  std::vector<UnassociatedSTAReport> report_vector_;
};

}  // namespace qel::ieee1905_1
