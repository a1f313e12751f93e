#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/vendor/body_rest.h"
#include "qel/ieee1905_1/vendor/vendor_payload.h"

namespace qel::ieee1905_1 {

/// A BSS that is configured on a radio but not operating.
class QEL_EXPORT QELNonOperationalBSS final : public serialization::Record<QELNonOperationalBSS> {
 public:
  QELNonOperationalBSS() = default;
  QELNonOperationalBSS(const MACAddress& bssid, std::string ssid) : bssid_(bssid), ssid_(std::move(ssid)) {}

  const MACAddress& get_bssid() const { return bssid_; }
  void set_bssid(const MACAddress& bssid) { bssid_ = bssid; }
  /// Octets in no particular encoding. An SSID over 32 octets decodes but does not encode.
  const std::string& get_ssid() const { return ssid_; }
  void set_ssid(const std::string& ssid) { ssid_ = ssid; }

  void dbg_str(std::ostream& os) const;

  static constexpr auto table() {
    using T = QELNonOperationalBSS;
    return serialization::rows(serialization::Field{&T::bssid_}, serialization::string8(nullptr, &T::ssid_, {0, 32}));
  }

 private:
  MACAddress bssid_;
  std::string ssid_;
};

/// The non-operating BSSs of one radio.
class QEL_EXPORT QELNonOperationalBSSReport final : public serialization::Record<QELNonOperationalBSSReport> {
 public:
  QELNonOperationalBSSReport() = default;
  explicit QELNonOperationalBSSReport(const MACAddress& radio) : radio_unique_identifier_(radio) {}

  const MACAddress& get_radio_unique_identifier() const { return radio_unique_identifier_; }
  void set_radio_unique_identifier(const MACAddress& radio) { radio_unique_identifier_ = radio; }
  const std::vector<QELNonOperationalBSS>& get_BSS_vector() const { return bss_vector_; }
  void add_BSS(const QELNonOperationalBSS& bss) { bss_vector_.push_back(bss); }

  static constexpr auto table() {
    using T = QELNonOperationalBSSReport;
    return serialization::rows(serialization::Field{"Radio Unique Identifier: ", &T::radio_unique_identifier_},
                               serialization::list8({.before = "", .prefix = "\n\t\t\t"}, &T::bss_vector_, {0, 255}));
  }

 private:
  MACAddress radio_unique_identifier_;
  std::vector<QELNonOperationalBSS> bss_vector_;
};

/// The BSSs that an access point is configured for but does not operate (subtype 7), in the layout of the AP
/// Operational BSS TLV (Multi-AP Specification, 17.2.4). Without a radio, it decodes but does not encode.
class QEL_EXPORT QELAPNonOperationalBSSTLV final
    : public VendorPayload<QELAPNonOperationalBSSTLV, QELVendorTLVType::QEL_AP_NON_OPERATIONAL_BSS_TLV> {
 public:
  const std::vector<QELNonOperationalBSSReport>& get_report_vector() const { return report_vector_; }
  void add_report(const QELNonOperationalBSSReport& report) { report_vector_.push_back(report); }
  const std::vector<std::uint8_t>& get_rest() const { return rest_.octets; }

  static constexpr auto table() {
    using T = QELAPNonOperationalBSSTLV;
    return serialization::rows(serialization::list8({.before = "", .prefix = "\n\t\t"}, &T::report_vector_, {1, 255}),
                               RestRow{&T::rest_});
  }

 private:
  std::vector<QELNonOperationalBSSReport> report_vector_;
  BodyRest rest_;
};

}  // namespace qel::ieee1905_1
