#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/vendor/vendor_payload.h"

namespace qel::ieee1905_1 {

/// A BSS to which a station would move (IEEE 802.11-2020, 9.4.2.36). The wire order is this format's own and differs
/// from the standard's element: the preference comes first, and the channel after the operating class.
class QEL_EXPORT QELNeighborReportElement final : public serialization::Record<QELNeighborReportElement> {
 public:
  const MACAddress& get_bssid() const { return bssid_; }
  void set_bssid(const MACAddress& bssid) { bssid_ = bssid; }
  std::uint8_t get_channel() const { return channel_; }
  void set_channel(std::uint8_t channel) { channel_ = channel; }
  std::uint8_t get_preference() const { return preference_; }
  void set_preference(std::uint8_t preference) { preference_ = preference; }
  /// The BSSID Information field.
  const std::bitset<32>& get_info_bits() const { return info_bits_; }
  void set_info_bits(const std::bitset<32>& bits) { info_bits_ = bits; }
  std::uint8_t get_op_class() const { return op_class_; }
  void set_op_class(std::uint8_t op_class) { op_class_ = op_class; }
  PHYType get_phy_type() const { return phy_type_; }
  void set_phy_type(PHYType type) { phy_type_ = type; }

  static constexpr auto table() {
    using serialization::Field;
    using T = QELNeighborReportElement;
    return serialization::rows(Field{"preference: ", &T::preference_},  //
                               Field{" BSSID: ", &T::bssid_},           //
                               Field{" info: ", &T::info_bits_},        //
                               Field{" op class: ", &T::op_class_},     //
                               Field{" channel: ", &T::channel_},       //
                               Field{" PHY type: ", &T::phy_type_});
  }

 private:
  MACAddress bssid_;
  std::uint8_t channel_ = 0;
  std::uint8_t preference_ = 0;
  std::bitset<32> info_bits_;
  std::uint8_t op_class_ = 0;
  PHYType phy_type_{};
};

/// A station's BSS transition management query, forwarded to the controller (subtype 8).
class QEL_EXPORT QELBTMQueryTLV final : public VendorPayload<QELBTMQueryTLV, QELVendorTLVType::QEL_BTM_QUERY_TLV> {
 public:
  static constexpr std::size_t MAX_CANDIDATES = 10;

  const MACAddress& get_client_mac() const { return client_mac_; }
  void set_client_mac(const MACAddress& mac) { client_mac_ = mac; }
  std::uint8_t get_dialog_token() const { return dialog_token_; }
  void set_dialog_token(std::uint8_t token) { dialog_token_ = token; }
  /// As in the station's frame (IEEE 802.11-2020, 9.6.13.8).
  std::uint8_t get_reason_code() const { return reason_code_; }
  void set_reason_code(std::uint8_t code) { reason_code_ = code; }
  const std::vector<QELNeighborReportElement>& get_candidate_list() const { return candidate_list_; }
  /// Beyond MAX_CANDIDATES, logs an error and adds nothing.
  void add_candidate(const QELNeighborReportElement& candidate);

  /// Prints the number of candidates, not the candidates.
  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() {
    using serialization::Field;
    using T = QELBTMQueryTLV;
    return serialization::rows(
        Field{" Client: ", &T::client_mac_},   //
        Field{" Token: ", &T::dialog_token_},  //
        Field{" Reason: ", &T::reason_code_},  //
        serialization::list8({}, &T::candidate_list_,
                             {0, MAX_CANDIDATES, "Invalid size", serialization::SECURE_LIMIT_ERROR}));
  }

 private:
  MACAddress client_mac_;
  std::uint8_t dialog_token_ = 0;
  std::uint8_t reason_code_ = 0;
  std::vector<QELNeighborReportElement> candidate_list_;
};

}  // namespace qel::ieee1905_1
