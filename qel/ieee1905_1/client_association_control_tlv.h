#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

/// Whether a BSS is to refuse stations or accept them again. Other values are kept.
enum class ClientAssociationControl : std::uint8_t { BLOCK = 0, UNBLOCK = 1, INVALID = 255 };

QEL_EXPORT std::string enum_to_string(ClientAssociationControl control);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, ClientAssociationControl control);

/// Client Association Control Request TLV (type 157, Multi-AP Specification, 17.2.31). Without a station, it decodes
/// but does not encode.
class QEL_EXPORT ClientAssociationControlRequestTLV final
    : public TableTLV<ClientAssociationControlRequestTLV, TLVType::CLIENT_ASSOCIATION_CONTROL_REQUEST> {
 public:
  ClientAssociationControlRequestTLV() = default;
  ClientAssociationControlRequestTLV(const MACAddress& bssid, ClientAssociationControl control,
                                     std::uint16_t validity_period)
      : bssid_(bssid), association_control_(control), validity_period_(validity_period) {}

  const MACAddress& get_bssid() const { return bssid_; }
  void set_bssid(const MACAddress& bssid) { bssid_ = bssid; }
  ClientAssociationControl get_association_control() const { return association_control_; }
  void set_association_control(ClientAssociationControl control) { association_control_ = control; }
  /// Duration of a block, in seconds.
  std::uint16_t get_validity_period() const { return validity_period_; }
  void set_validity_period(std::uint16_t period) { validity_period_ = period; }
  const std::vector<MACAddress>& get_sta_mac_vector() const { return sta_mac_vector_; }
  void add_sta_mac(const MACAddress& sta) { sta_mac_vector_.push_back(sta); }

  static constexpr auto table() {
    using serialization::Field;
    using T = ClientAssociationControlRequestTLV;
    return serialization::rows(Field{" BSSID: ", &T::bssid_},                       //
                               Field{" AssocControl: ", &T::association_control_},  //
                               Field{" ValidityPeriod: ", &T::validity_period_},
                               serialization::list8({.before = " STA MAC: [", .prefix = "\n\t", .after = " ]"},
                                                    &T::sta_mac_vector_, {1, 255}));
  }

 private:
  MACAddress bssid_;
  ClientAssociationControl association_control_ = ClientAssociationControl::INVALID;
  std::uint16_t validity_period_ = 0;
  std::vector<MACAddress> sta_mac_vector_;
};

}  // namespace qel::ieee1905_1
