#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

/// A BSS in the AP Operational BSS TLV: BSSID and SSID.
class QEL_EXPORT BSSOperatingOnRadio final : public serialization::Record<BSSOperatingOnRadio> {
 public:
  BSSOperatingOnRadio() = default;
  BSSOperatingOnRadio(const MACAddress& bssid, std::string ssid) : mac_address_(bssid), ssid_(std::move(ssid)) {}

  /// The BSSID.
  const MACAddress& get_mac_address() const { return mac_address_; }
  void set_mac_address(const MACAddress& bssid) { mac_address_ = bssid; }

  /// Any octets. An SSID over 32 octets decodes but does not encode.
  const std::string& get_ssid() const { return ssid_; }
  void set_ssid(std::string ssid) { ssid_ = std::move(ssid); }

  /// Prints the SSID as it is, without escapes and including any NUL.
  void dbg_str(std::ostream& os) const;

  static constexpr auto table() {
    using T = BSSOperatingOnRadio;
    return serialization::rows(serialization::Field{"BBS operating on Radio: ", &T::mac_address_},
                               serialization::string8(" SSID: \"", &T::ssid_, {0, 32}));
  }

 private:
  MACAddress mac_address_;
  std::string ssid_;
};

/// A radio in the AP Operational BSS TLV with its operating BSSs; there may be none.
class QEL_EXPORT BSSOperationalRadioReport final : public serialization::Record<BSSOperationalRadioReport> {
 public:
  BSSOperationalRadioReport() = default;
  explicit BSSOperationalRadioReport(const MACAddress& radio) : radio_unique_identifier_(radio) {}

  const MACAddress& get_radio_unique_identifier() const { return radio_unique_identifier_; }
  void set_radio_unique_identifier(const MACAddress& radio) { radio_unique_identifier_ = radio; }
  const std::vector<BSSOperatingOnRadio>& get_BSS_operating_vector() const { return BSS_operating_vector_; }
  void add_BSS_operating(const BSSOperatingOnRadio& bss) { BSS_operating_vector_.push_back(bss); }

  static constexpr auto table() {
    using T = BSSOperationalRadioReport;
    return serialization::rows(
        serialization::Field{"\tRadio Unique Identifier: ", &T::radio_unique_identifier_},
        serialization::list8({.before = "", .prefix = "\n\t\t"}, &T::BSS_operating_vector_, {0, 255}));
  }

 private:
  MACAddress radio_unique_identifier_;
  std::vector<BSSOperatingOnRadio> BSS_operating_vector_;
};

/// AP Operational BSS TLV (type 131): the BSSs of each radio (Multi-AP Specification, 17.2.4). Without a radio, it
/// decodes but does not encode.
class QEL_EXPORT APOperationalBSSTLV final : public TableTLV<APOperationalBSSTLV, TLVType::AP_OPERATIONAL_BSS> {
 public:
  const std::vector<BSSOperationalRadioReport>& get_report_vector() const { return report_vector_; }
  void add_report(const BSSOperationalRadioReport& report) { report_vector_.push_back(report); }

  static constexpr auto table() {
    return serialization::rows(
        serialization::list8({.before = "", .prefix = "\n\t"}, &APOperationalBSSTLV::report_vector_, {1, 255}));
  }

 private:
  std::vector<BSSOperationalRadioReport> report_vector_;
};

/// A station in the Associated Clients TLV.
class QEL_EXPORT AssociatedClient final : public serialization::Record<AssociatedClient> {
 public:
  AssociatedClient() = default;
  AssociatedClient(const MACAddress& mac, std::uint16_t last_associated_time)
      : mac_(mac), last_associated_time_(last_associated_time) {}

  const MACAddress& get_mac() const { return mac_; }
  void set_mac(const MACAddress& mac) { mac_ = mac; }

  /// Seconds since the station associated; 65535 also stands for all longer times.
  std::uint16_t get_last_associated_time() const { return last_associated_time_; }
  void set_last_associated_time(std::uint16_t seconds) { last_associated_time_ = seconds; }

  static constexpr auto table() {
    using T = AssociatedClient;
    return serialization::rows(serialization::Field{"MAC: ", &T::mac_},
                               serialization::Field{" time since last association: ", &T::last_associated_time_});
  }

 private:
  MACAddress mac_;
  std::uint16_t last_associated_time_ = 0;
};

/// A BSS in the Associated Clients TLV with its stations; there may be none.
class QEL_EXPORT OperatedBSSClients final : public serialization::Record<OperatedBSSClients> {
 public:
  OperatedBSSClients() = default;
  explicit OperatedBSSClients(const MACAddress& bssid) : bssid_(bssid) {}

  const MACAddress& get_bssid() const { return bssid_; }
  void set_bssid(const MACAddress& bssid) { bssid_ = bssid; }
  const std::vector<AssociatedClient>& get_associated_client_vector() const { return associated_client_vector_; }
  void add_associated_client(const AssociatedClient& client) { associated_client_vector_.push_back(client); }

  static constexpr auto table() {
    using T = OperatedBSSClients;
    return serialization::rows(serialization::Field{"Associated Clients for BSSID ", &T::bssid_},
                               serialization::list16({.before = ": [", .prefix = "\n\t\t", .after = "]"},
                                                     &T::associated_client_vector_, {0, 65535}));
  }

 private:
  MACAddress bssid_;
  std::vector<AssociatedClient> associated_client_vector_;
};

/// Associated Clients TLV (type 132): the stations of each BSS (Multi-AP Specification, 17.2.5). Without a BSS, it
/// decodes but does not encode.
class QEL_EXPORT AssociatedClientsTLV final : public TableTLV<AssociatedClientsTLV, TLVType::ASSOCIATED_CLIENTS> {
 public:
  const std::vector<OperatedBSSClients>& get_operated_bss_vector() const { return operated_bss_vector_; }
  void add_operated_bss(const OperatedBSSClients& bss) { operated_bss_vector_.push_back(bss); }

  static constexpr auto table() {
    return serialization::rows(
        serialization::list8({.before = "", .prefix = "\n\t"}, &AssociatedClientsTLV::operated_bss_vector_, {1, 255}));
  }

 private:
  std::vector<OperatedBSSClients> operated_bss_vector_;
};

}  // namespace qel::ieee1905_1
