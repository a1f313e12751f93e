#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/fixed_byte_buffer.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/table_tlv.h"
#include "qel/ieee802_11/measurement_report.h"

namespace qel::ieee1905_1 {

/// Channels of one operating class on which a station is to look for beacons. The length octet before them also counts
/// the class; a length that leaves no channel is refused when encoding and decoding.
class QEL_EXPORT APChannelReportList final : public serialization::Record<APChannelReportList> {
 public:
  APChannelReportList() = default;
  explicit APChannelReportList(std::uint8_t operating_class) : operating_class_(operating_class) {}

  std::uint8_t get_operating_class() const { return operating_class_; }
  void set_operating_class(std::uint8_t operating_class) { operating_class_ = operating_class; }
  const std::vector<std::uint8_t>& get_channel_vector() const { return channel_vector_; }
  void add_channel(std::uint8_t channel) { channel_vector_.push_back(channel); }

  /// Used for text and comparison only; on the wire the length precedes the class.
  static constexpr auto table() {
    using T = APChannelReportList;
    return serialization::rows(
        serialization::Field{"Operating Class: ", &T::operating_class_},
        serialization::list8({.before = " Channels: [", .prefix = " ", .after = " ]"}, &T::channel_vector_, COUNT));
  }

 private:
  friend serialization::BodyAccess;
  static constexpr std::size_t MIN_WIRE_SIZE = 3;
  inline void encode_body(serialization::Writer& out) const;
  inline void decode_body(serialization::Reader& in);

  static constexpr serialization::CountLimits COUNT{1, 254};

  std::uint8_t operating_class_ = 0;
  std::vector<std::uint8_t> channel_vector_;
};

/// Beacon Metrics Query TLV (type 153, Multi-AP Specification, 17.2.27): the contents of a beacon request to a station
/// (IEEE 802.11-2020, 9.4.2.20.7).
///
/// Encoding refuses AP channel reports unless the channel number is 255, and element IDs unless the reporting detail is
/// 1, rather than drop them. Decoding always accepts them, and also an SSID over 32 octets.
class QEL_EXPORT BeaconMetricsQueryTLV final : public TableTLV<BeaconMetricsQueryTLV, TLVType::BEACON_METRICS_QUERY> {
 public:
  static constexpr std::uint8_t CHANNELS_OF_REPORTS = 255;  ///< value of the channel number
  static constexpr std::uint8_t REQUESTED_ELEMENTS = 1;     ///< value of the reporting detail

  BeaconMetricsQueryTLV() = default;
  BeaconMetricsQueryTLV(const MACAddress& sta, std::uint8_t operating_class, std::uint8_t channel_number,
                        const MACAddress& bssid, std::uint8_t reporting_detail, const FixedByteBuffer<32>& ssid,
                        std::vector<APChannelReportList> ap_channel_reports,
                        std::vector<std::uint8_t> reporting_element_ids)
      : sta_mac_address_(sta),
        operating_class_(operating_class),
        channel_number_(channel_number),
        bssid_(bssid),
        reporting_detail_(reporting_detail),
        ssid_(ssid.begin(), ssid.end()),
        ap_channel_reports_(std::move(ap_channel_reports)),
        reporting_element_ids_(std::move(reporting_element_ids)) {}

  const MACAddress& get_sta_mac_address() const { return sta_mac_address_; }
  void set_sta_mac_address(const MACAddress& sta) { sta_mac_address_ = sta; }
  std::uint8_t get_operating_class() const { return operating_class_; }
  void set_operating_class(std::uint8_t operating_class) { operating_class_ = operating_class; }
  /// 0 for all channels of the class, 255 for those in the AP channel reports.
  std::uint8_t get_channel_number() const { return channel_number_; }
  void set_channel_number(std::uint8_t number) { channel_number_ = number; }
  /// FF:FF:FF:FF:FF:FF for any BSS.
  const MACAddress& get_bssid() const { return bssid_; }
  void set_bssid(const MACAddress& bssid) { bssid_ = bssid; }
  /// Elements to include in the reports: 0 none, 1 those listed, 2 all.
  std::uint8_t get_reporting_detail() const { return reporting_detail_; }
  void set_reporting_detail(std::uint8_t detail) { reporting_detail_ = detail; }
  /// Octets in no particular encoding; empty for any SSID.
  const std::string& get_ssid() const { return ssid_; }
  void set_ssid(const std::string& ssid) { ssid_ = ssid; }
  const std::vector<APChannelReportList>& get_ap_channel_reports() const { return ap_channel_reports_; }
  void add_ap_channel_reports(const APChannelReportList& report) { ap_channel_reports_.push_back(report); }
  const std::vector<std::uint8_t>& get_reporting_element_ids() const { return reporting_element_ids_; }
  void set_reporting_element_ids(const std::vector<std::uint8_t>& ids) { reporting_element_ids_ = ids; }
  void add_reporting_element_id(std::uint8_t id) { reporting_element_ids_.push_back(id); }

  static constexpr auto table() {
    using serialization::Field;
    using serialization::list8;
    using T = BeaconMetricsQueryTLV;
    return serialization::rows(
        Field{" STA MAC: ", &T::sta_mac_address_},          //
        Field{" Operating Class: ", &T::operating_class_},  //
        Field{" Channel Number. ", &T::channel_number_},    //
        Field{" BSSID: ", &T::bssid_},                      //
        Field{" Reporting Detail: ", &T::reporting_detail_},
        serialization::string8("\n\tSSID: ", &T::ssid_, {0, 32, "Invalid length of SSID"}),
        list8({.before = "\n\tReports: [", .prefix = "\n\t\t", .after = " ]"}, &T::ap_channel_reports_, REPORTS),
        list8({.before = "\n\tElements: \n\t\t[", .prefix = " ", .after = " ]"}, &T::reporting_element_ids_, ELEMENTS));
  }

 private:
  friend serialization::BodyAccess;
  inline void encode_body(serialization::Writer& out) const;

  static constexpr serialization::CountLimits REPORTS{0, 255, "Invalid number of reports"};
  static constexpr serialization::CountLimits ELEMENTS{0, 255, "Invalid number of elements"};

  MACAddress sta_mac_address_;
  std::uint8_t operating_class_ = 0;
  std::uint8_t channel_number_ = 0;
  MACAddress bssid_;
  std::uint8_t reporting_detail_ = 0;
  std::string ssid_;
  std::vector<APChannelReportList> ap_channel_reports_;
  std::vector<std::uint8_t> reporting_element_ids_;
};

/// Beacon Metrics Response TLV (type 154, Multi-AP Specification, 17.2.28): the measurement reports of a station,
/// unchanged. Without a report, it decodes but does not encode.
class QEL_EXPORT BeaconMetricsResponseTLV final
    : public TableTLV<BeaconMetricsResponseTLV, TLVType::BEACON_METRICS_RESOPNSE> {
 public:
  using Report = ieee802_11::IEEE802_11_MeasurementReport;

  BeaconMetricsResponseTLV() = default;
  explicit BeaconMetricsResponseTLV(const MACAddress& sta, std::vector<Report> reports = {})
      : sta_mac_address_(sta), reports_(std::move(reports)) {}

  const MACAddress& get_sta_mac_address() const { return sta_mac_address_; }
  void set_sta_mac_address(const MACAddress& sta) { sta_mac_address_ = sta; }
  const std::vector<Report>& get_reports() const { return reports_; }
  void add_report(const Report& report) { reports_.push_back(report); }

  static constexpr auto table() {
    using T = BeaconMetricsResponseTLV;
    return serialization::rows(
        serialization::Field{" STA MAC: ", &T::sta_mac_address_}, serialization::Reserved{},
        serialization::list8({.before = " Reports: [", .prefix = "\n\t", .after = " ]"}, &T::reports_, {1, 255}));
  }

 private:
  MACAddress sta_mac_address_;
  std::vector<Report> reports_;
};

}  // namespace qel::ieee1905_1
