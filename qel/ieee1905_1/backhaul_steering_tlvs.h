#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

/// Other values are kept.
enum class BackhaulSteeringResultCode : std::uint8_t { SUCCESS = 0, FAILURE = 1, INVALID = 255 };

QEL_EXPORT std::string enum_to_string(BackhaulSteeringResultCode code);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, BackhaulSteeringResultCode code);

/// Backhaul Steering Request TLV (type 158, Multi-AP Specification, 17.2.32): requests that a backhaul station move to
/// another BSS.
class QEL_EXPORT BackhaulSteeringRequestTLV final
    : public TableTLV<BackhaulSteeringRequestTLV, TLVType::BACKHAUL_STEERING_REQUEST> {
 public:
  BackhaulSteeringRequestTLV() = default;
  BackhaulSteeringRequestTLV(const MACAddress& backhaul, const MACAddress& target_bssid, std::uint8_t operating_class,
                             std::uint8_t channel_number)
      : backhaul_mac_address_(backhaul),
        target_bssid_(target_bssid),
        operating_class_(operating_class),
        channel_number_(channel_number) {}

  /// Address of the backhaul station.
  const MACAddress& get_backhaul_mac_address() const { return backhaul_mac_address_; }
  void set_backhaul_mac_address(const MACAddress& mac) { backhaul_mac_address_ = mac; }
  const MACAddress& get_target_bssid() const { return target_bssid_; }
  void set_target_bssid(const MACAddress& bssid) { target_bssid_ = bssid; }
  std::uint8_t get_operating_class() const { return operating_class_; }
  void set_operating_class(std::uint8_t operating_class) { operating_class_ = operating_class; }
  std::uint8_t get_channel_number() const { return channel_number_; }
  void set_channel_number(std::uint8_t number) { channel_number_ = number; }

  static constexpr auto table() {
    using serialization::Field;
    using T = BackhaulSteeringRequestTLV;
    return serialization::rows(Field{" Backhaul MAC: ", &T::backhaul_mac_address_},  //
                               Field{" Target BSSID: ", &T::target_bssid_},          //
                               Field{" OperatingClass: ", &T::operating_class_},     //
                               Field{" ChannelNumber: ", &T::channel_number_});
  }

 private:
  MACAddress backhaul_mac_address_;
  MACAddress target_bssid_;
  std::uint8_t operating_class_ = 0;
  std::uint8_t channel_number_ = 0;
};

/// Backhaul Steering Response TLV (type 159, Multi-AP Specification, 17.2.33).
class QEL_EXPORT BackhaulSteeringResponseTLV final
    : public TableTLV<BackhaulSteeringResponseTLV, TLVType::BACKHAUL_STEERING_RESPONSE> {
 public:
  BackhaulSteeringResponseTLV() = default;
  BackhaulSteeringResponseTLV(const MACAddress& backhaul, const MACAddress& target_bssid,
                              BackhaulSteeringResultCode code)
      : backhaul_mac_address_(backhaul), target_bssid_(target_bssid), result_code_(code) {}

  const MACAddress& get_backhaul_mac_address() const { return backhaul_mac_address_; }
  void set_backhaul_mac_address(const MACAddress& mac) { backhaul_mac_address_ = mac; }
  const MACAddress& get_target_bssid() const { return target_bssid_; }
  void set_target_bssid(const MACAddress& bssid) { target_bssid_ = bssid; }
  BackhaulSteeringResultCode get_result_code() const { return result_code_; }
  void set_result_code(BackhaulSteeringResultCode code) { result_code_ = code; }

  static constexpr auto table() {
    using serialization::Field;
    using T = BackhaulSteeringResponseTLV;
    return serialization::rows(Field{" Backhaul MAC: ", &T::backhaul_mac_address_},  //
                               Field{" Target BSSID: ", &T::target_bssid_},          //
                               Field{" Result Code: ", &T::result_code_});
  }

 private:
  MACAddress backhaul_mac_address_;
  MACAddress target_bssid_;
  BackhaulSteeringResultCode result_code_ = BackhaulSteeringResultCode::INVALID;
};

}  // namespace qel::ieee1905_1
