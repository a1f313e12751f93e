#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

/// AP Capability TLV (type 161, Multi-AP Specification, 17.2.6): capabilities of an agent as a whole. Reserved bits are
/// kept and compared.
class QEL_EXPORT APCapabilityTLV final : public TableTLV<APCapabilityTLV, TLVType::AP_CAPABILITY> {
 public:
  /// On the channels that its BSSs use.
  bool get_link_metrics_support_operated_channel() const { return flags_[OPERATED_CHANNEL]; }
  void set_link_metrics_support_operated_channel(bool support) { flags_[OPERATED_CHANNEL] = support; }
  /// On other channels.
  bool get_link_metrics_support_unoperated_channel() const { return flags_[UNOPERATED_CHANNEL]; }
  void set_link_metrics_support_unoperated_channel(bool support) { flags_[UNOPERATED_CHANNEL] = support; }
  bool get_agent_initiated_rcpi_based_steering() const { return flags_[RCPI_BASED_STEERING]; }
  void set_agent_initiated_rcpi_based_steering(bool support) { flags_[RCPI_BASED_STEERING] = support; }

  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() {
    using T = APCapabilityTLV;
    return serialization::rows(
        serialization::accessed_by<&T::get_link_metrics_support_operated_channel,
                                   &T::get_link_metrics_support_unoperated_channel,
                                   &T::get_agent_initiated_rcpi_based_steering>(serialization::Field{&T::flags_}));
  }

 private:
  /// Bits of the flags; bits 4 to 0 are reserved.
  enum Flag : std::size_t { OPERATED_CHANNEL = 7, UNOPERATED_CHANNEL = 6, RCPI_BASED_STEERING = 5 };

  std::bitset<8> flags_;
};

/// An operating class that a radio supports, with the channels of the class that it does not support.
class QEL_EXPORT OperatingClassInformation final : public serialization::Record<OperatingClassInformation> {
 public:
  OperatingClassInformation() = default;
  OperatingClassInformation(std::uint8_t operating_class, std::uint8_t transmit_power)
      : operating_class_(operating_class), transmit_power_(static_cast<signed char>(transmit_power)) {}

  std::uint8_t get_operating_class() const { return operating_class_; }
  void set_operating_class(std::uint8_t operating_class) { operating_class_ = operating_class; }
  /// Maximum EIRP, in dBm.
  signed char get_transmit_power() const { return transmit_power_; }
  void set_transmit_power(signed char power) { transmit_power_ = power; }
  const std::vector<std::uint8_t>& get_non_operable_channel_vector() const { return non_operable_channel_vector_; }
  void add_non_operable_channel(std::uint8_t channel) { non_operable_channel_vector_.push_back(channel); }

  static constexpr auto table() {
    using serialization::Field;
    using T = OperatingClassInformation;
    return serialization::rows(
        Field{"Operating Class: ", &T::operating_class_}, Field{" Max tranmis power: ", &T::transmit_power_},
        serialization::list8({" Non_Operable Channels: [ ", "", " ", "]"}, &T::non_operable_channel_vector_, {0, 255}));
  }

 private:
  std::uint8_t operating_class_ = 0;
  signed char transmit_power_ = 0;
  std::vector<std::uint8_t> non_operable_channel_vector_;
};

/// AP Radio Basic Capabilities TLV (type 133, Multi-AP Specification, 17.2.7). Without an operating class, it decodes
/// but does not encode.
class QEL_EXPORT APRadioBasicCapabilitiesTLV final
    : public TableTLV<APRadioBasicCapabilitiesTLV, TLVType::AP_RADIO_BASIC_CAPABILITIES> {
 public:
  APRadioBasicCapabilitiesTLV() = default;
  APRadioBasicCapabilitiesTLV(const MACAddress& radio, std::uint8_t max_bss)
      : radio_identifier_(radio), max_bss_supported_(max_bss) {}

  const MACAddress& get_radio_identifier() const { return radio_identifier_; }
  void set_radio_identifier(const MACAddress& radio) { radio_identifier_ = radio; }
  std::uint8_t get_max_bss_supported() const { return max_bss_supported_; }
  void set_max_bss_supported(std::uint8_t max_bss) { max_bss_supported_ = max_bss; }
  const std::vector<OperatingClassInformation>& get_operation_class_information_vector() const {
    return operation_class_information_vector_;
  }
  void add_operation_class_information(const OperatingClassInformation& information) {
    operation_class_information_vector_.push_back(information);
  }

  static constexpr auto table() {
    using serialization::Field;
    using T = APRadioBasicCapabilitiesTLV;
    return serialization::rows(
        Field{" RadioIdentifier: ", &T::radio_identifier_}, Field{" Max BSS suported: ", &T::max_bss_supported_},
        serialization::list8({.before = "", .prefix = "\n\t"}, &T::operation_class_information_vector_, {1, 255}));
  }

 private:
  MACAddress radio_identifier_;
  std::uint8_t max_bss_supported_ = 0;
  std::vector<OperatingClassInformation> operation_class_information_vector_;
};

/// Backhaul STA Radio Capabilities TLV (type 203): a radio that can be a backhaul station, and its address in that
/// role. Reserved bits of the flags are kept but not compared, and the address is compared only if included.
class QEL_EXPORT BackhaulSTARadioCapabilitiesTLV final
    : public TableTLV<BackhaulSTARadioCapabilitiesTLV, TLVType::BACKHAUL_STA_RADIO_CAPABILITIES> {
 public:
  BackhaulSTARadioCapabilitiesTLV() = default;
  explicit BackhaulSTARadioCapabilitiesTLV(const MACAddress& radio) : reported_radio_mac_(radio) {}
  BackhaulSTARadioCapabilitiesTLV(const MACAddress& radio, const MACAddress& sta) : reported_radio_mac_(radio) {
    set_backhaul_sta_mac(sta);
  }

  const MACAddress& get_reported_radio_mac() const { return reported_radio_mac_; }
  void set_reported_radio_mac(const MACAddress& radio) { reported_radio_mac_ = radio; }
  bool get_is_mac_included() const { return flags_[MAC_INCLUDED]; }
  const MACAddress& get_backhaul_sta_mac() const { return backhaul_sta_mac_; }
  /// Also includes the address; this cannot be undone.
  void set_backhaul_sta_mac(const MACAddress& sta) {
    backhaul_sta_mac_ = sta;
    flags_[MAC_INCLUDED] = true;
  }

  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() {
    using serialization::Field;
    using T = BackhaulSTARadioCapabilitiesTLV;
    return serialization::rows(Field{" Reported Radio MAC: ", &T::reported_radio_mac_},  //
                               serialization::accessed_by<&T::get_is_mac_included>(Field{&T::flags_}));
  }

 private:
  friend serialization::BodyAccess;
  /// The rows of the table, then the address if included.
  inline void encode_body(serialization::Writer& out) const;
  inline void decode_body(serialization::Reader& in, std::uint16_t length);
  bool equals(const BackhaulSTARadioCapabilitiesTLV& other) const;

  static constexpr std::size_t MAC_INCLUDED = 7;

  MACAddress reported_radio_mac_;
  std::bitset<8> flags_;
  MACAddress backhaul_sta_mac_;
};

}  // namespace qel::ieee1905_1
