#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

/// A BSS to which a station is to be steered.
class QEL_EXPORT SteeringRequestTargetBSSID final : public serialization::Record<SteeringRequestTargetBSSID> {
 public:
  /// The wildcard leaves the choice of the BSS to the agent.
  static constexpr MACAddress WILDCARD{{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};

  SteeringRequestTargetBSSID() = default;
  explicit SteeringRequestTargetBSSID(const MACAddress& bssid, std::uint8_t operating_class = 0,
                                      std::uint8_t channel_number = 0)
      : bssid_(bssid), operating_class_(operating_class), channel_number_(channel_number) {}

  const MACAddress& get_bssid() const { return bssid_; }
  void set_bssid(const MACAddress& bssid) { bssid_ = bssid; }
  std::uint8_t get_operating_class() const { return operating_class_; }
  void set_operating_class(std::uint8_t operating_class) { operating_class_ = operating_class; }
  std::uint8_t get_channel_number() const { return channel_number_; }
  void set_channel_number(std::uint8_t number) { channel_number_ = number; }

  static constexpr auto table() {
    using serialization::Field;
    using T = SteeringRequestTargetBSSID;
    return serialization::rows(Field{"BSSID: ", &T::bssid_},                      //
                               Field{" OperatingClass: ", &T::operating_class_},  //
                               Field{" ChannelNumber: ", &T::channel_number_});
  }

 private:
  friend serialization::BodyAccess;
  /// All wildcard targets are equal, because class and channel mean nothing without a BSS. The ordering has no such
  /// exception.
  bool equals(const SteeringRequestTargetBSSID& other) const;

  MACAddress bssid_;
  std::uint8_t operating_class_ = 0;
  std::uint8_t channel_number_ = 0;
};

/// Steering Request TLV (type 155, Multi-AP Specification, 17.2.29): asks an agent to steer stations away from a BSS,
/// either at once to given targets (a mandate) or, within a time window, to any BSS that the agent chooses (an
/// opportunity).
///
/// To be encoded, a mandate needs one target for all stations or one for each; otherwise encoding throws
/// SerializationException. The targets of an opportunity are not encoded, because agents ignore them. Decoding accepts
/// any counts.
class QEL_EXPORT SteeringRequestTLV final : public TableTLV<SteeringRequestTLV, TLVType::STEERING_REQUEST> {
 public:
  /// An opportunity without stations.
  SteeringRequestTLV() = default;
  explicit SteeringRequestTLV(const MACAddress& bssid) : bssid_(bssid) {}

  /// The BSS with which the stations are now associated.
  const MACAddress& get_bssid() const { return bssid_; }
  void set_bssid(const MACAddress& bssid) { bssid_ = bssid; }
  /// True for a mandate, false for an opportunity.
  bool get_steering_mandated() const { return flags_[STEERING_MANDATED]; }
  void set_steering_mandated(bool mandated) { flags_[STEERING_MANDATED] = mandated; }
  /// These two are copied to the BTM request (IEEE 802.11-2020, 9.6.13.9).
  bool get_btm_disassociation_imminent() const { return flags_[BTM_DISASSOCIATION_IMMINENT]; }
  void set_btm_disassociation_imminent(bool imminent) { flags_[BTM_DISASSOCIATION_IMMINENT] = imminent; }
  bool get_btm_abridged() const { return flags_[BTM_ABRIDGED]; }
  void set_btm_abridged(bool abridged) { flags_[BTM_ABRIDGED] = abridged; }
  /// Time window of an opportunity, in seconds. The name is spelt in this system's own way.
  std::uint16_t get_steering_opertunity_window() const { return steering_opertunity_window_; }
  void set_steering_opertunity_window(std::uint16_t window) { steering_opertunity_window_ = window; }
  /// In time units of 1024 us, for the BTM request.
  std::uint16_t get_disassociation_timer() const { return disassociation_timer_; }
  void set_disassociation_timer(std::uint16_t timer) { disassociation_timer_ = timer; }
  /// An empty list means all stations of the BSS.
  const std::vector<MACAddress>& get_steering_sta_mac_vector() const { return steering_sta_mac_vector_; }
  void add_steering_sta_mac(const MACAddress& sta) { steering_sta_mac_vector_.push_back(sta); }
  const std::vector<SteeringRequestTargetBSSID>& get_target_bssid_vector() const { return target_bssid_vector_; }
  void add_target_bssid(const SteeringRequestTargetBSSID& target) { target_bssid_vector_.push_back(target); }

  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() {
    using serialization::Field;
    using serialization::list8;
    using T = SteeringRequestTLV;
    return serialization::rows(
        Field{&T::bssid_},  //
        serialization::accessed_by<&T::get_steering_mandated, &T::get_btm_disassociation_imminent,
                                   &T::get_btm_abridged>(Field{&T::flags_}),
        Field{&T::steering_opertunity_window_},  //
        Field{&T::disassociation_timer_},        //
        list8({.before = "\n\tSTA List: [", .prefix = "\n\t\t", .after = " ]"}, &T::steering_sta_mac_vector_, COUNT),
        list8({.before = "\n\tTarget BSSID List: [", .prefix = "\n\t\t", .after = " ]"}, &T::target_bssid_vector_,
              COUNT));
  }

 private:
  friend serialization::BodyAccess;
  inline void encode_body(serialization::Writer& out) const;

  static constexpr serialization::CountLimits COUNT{0, 255};
  static constexpr std::size_t STEERING_MANDATED = 7;
  static constexpr std::size_t BTM_DISASSOCIATION_IMMINENT = 6;
  static constexpr std::size_t BTM_ABRIDGED = 5;

  MACAddress bssid_;
  std::bitset<8> flags_;  ///< reserved bits are kept
  std::uint16_t steering_opertunity_window_ = 0;
  std::uint16_t disassociation_timer_ = 0;
  std::vector<MACAddress> steering_sta_mac_vector_;
  std::vector<SteeringRequestTargetBSSID> target_bssid_vector_;
};

/// Steering BTM Report TLV (type 156, Multi-AP Specification, 17.2.30): a station's response to a BTM request. Only the
/// length shows whether a target is present, so any length other than 13 or 19 is refused.
class QEL_EXPORT SteeringBTMReportTLV final : public TableTLV<SteeringBTMReportTLV, TLVType::STEERING_BTM_REPORT> {
 public:
  SteeringBTMReportTLV() = default;
  SteeringBTMReportTLV(const MACAddress& bssid, const MACAddress& sta, std::uint8_t btm_status_code)
      : bssid_(bssid), sta_mac_address_(sta), btm_status_code_(btm_status_code) {}

  /// The BSS that the report is about.
  const MACAddress& get_bssid() const { return bssid_; }
  void set_bssid(const MACAddress& bssid) { bssid_ = bssid; }
  const MACAddress& get_sta_mac_address() const { return sta_mac_address_; }
  void set_sta_mac_address(const MACAddress& sta) { sta_mac_address_ = sta; }
  /// IEEE 802.11-2020, 9.6.13.10; 0 if the request was accepted.
  std::uint8_t get_btm_status_code() const { return btm_status_code_; }
  void set_btm_status_code(std::uint8_t code) { btm_status_code_ = code; }
  bool get_target_bssid_included() const { return target_bssid_.has_value(); }
  /// Zero if there is none.
  MACAddress get_target_bssid() const { return target_bssid_.value_or(MACAddress()); }
  void set_target_bssid(const MACAddress& bssid) { target_bssid_ = bssid; }

  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() {
    using serialization::Field;
    using T = SteeringBTMReportTLV;
    return serialization::rows(Field{" BSSID: ", &T::bssid_},             //
                               Field{" STAMAC: ", &T::sta_mac_address_},  //
                               Field{" BTM Status Code: ", &T::btm_status_code_});
  }

 private:
  friend serialization::BodyAccess;
  /// The rows of the table, then the target if there is one.
  inline void encode_body(serialization::Writer& out) const;
  inline void decode_body(serialization::Reader& in, std::uint16_t length);
  bool equals(const SteeringBTMReportTLV& other) const;

  MACAddress bssid_;
  MACAddress sta_mac_address_;
  std::uint8_t btm_status_code_ = 0;
  std::optional<MACAddress> target_bssid_;
};

}  // namespace qel::ieee1905_1
