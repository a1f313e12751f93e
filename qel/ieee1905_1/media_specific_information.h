#pragma once

#include <concepts>
#include <cstdint>
#include <iosfwd>
#include <utility>
#include <variant>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/plc_nid.h"
#include "qel/core/serialization/binary_serializable.h"
#include "qel/core/serialization/table.h"
#include "qel/ieee1905_1/media_type.h"

namespace qel::ieee1905_1 {

/// The part of an interface record in the Device Information TLV that depends on the media type: on the wire, one octet
/// of length and the fields (IEEE 1905.1-2013, 6.4.5). The length is written as the size of the fields. When reading it
/// is not checked, because the interface type has already selected the class.
class QEL_EXPORT MediaSpecificInformation : public serialization::BinarySerializable {
 public:
  virtual InterfaceType get_interface_type() const = 0;
  virtual void dbg_str(std::ostream& os) const = 0;
  /// Orders by interface type, then by fields in wire order.
  virtual bool operator<(const MediaSpecificInformation& other) const = 0;
  virtual bool operator==(const MediaSpecificInformation& other) const = 0;

 protected:
  MediaSpecificInformation() = default;
  MediaSpecificInformation(const MediaSpecificInformation&) = default;
  MediaSpecificInformation& operator=(const MediaSpecificInformation&) = default;
};

/// Compares blocks of any two classes through their base. Without it, the comparison would be ambiguous.
template <std::derived_from<MediaSpecificInformation> Left, std::derived_from<MediaSpecificInformation> Right>
bool operator==(const Left& left, const Right& right) {
  return static_cast<const MediaSpecificInformation&>(left).operator==(right);
}

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const MediaSpecificInformation& information);

/// A block for interfaces of one type.
template <InterfaceType TYPE>
class QEL_EXPORT MediaSpecificInformationCommon : public MediaSpecificInformation {
 public:
  InterfaceType get_interface_type() const override { return TYPE; }
};

/// The block of Derived, whose wire table defines its fields.
template <class Derived, InterfaceType TYPE>
class QEL_EXPORT TableMediaSpecificInformation : public MediaSpecificInformationCommon<TYPE> {
 public:
  void serialize_impl(std::ostream& os, serialization::SerializationContext& context) const override;
  void deserialize_impl(std::istream& is, serialization::SerializationContext& context) override;
  bool operator<(const MediaSpecificInformation& other) const override;
  bool operator==(const MediaSpecificInformation& other) const override;
};

/// For every interface that is neither WLAN nor PLC.
class QEL_EXPORT NoMediaSpecificInformation final
    : public TableMediaSpecificInformation<NoMediaSpecificInformation, InterfaceType::UNKNOWN> {
 public:
  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() { return serialization::rows(); }
};

/// The 10 octets of a WLAN interface.
class QEL_EXPORT WLANSpecificInformation final
    : public TableMediaSpecificInformation<WLANSpecificInformation, InterfaceType::WLAN> {
 public:
  const MACAddress& get_bssid() const { return bssid_; }
  void set_bssid(const MACAddress& bssid) { bssid_ = bssid; }
  void set_bssid(MACAddress&& bssid) { bssid_ = std::move(bssid); }
  WLANInterfaceRole1905_1 get_role() const { return role_; }
  void set_role(WLANInterfaceRole1905_1 role) { role_ = role; }
  /// The channel bandwidth, with the values of dot11CurrentChannelBandwidth.
  std::uint8_t get_band() const { return band_; }
  void set_band(std::uint8_t band) { band_ = band; }
  /// Channel centre frequency indexes; the second is 0 unless the channel is 80+80 MHz.
  std::uint8_t get_center_freq_1() const { return center_freq_1_; }
  void set_center_freq_1(std::uint8_t index) { center_freq_1_ = index; }
  std::uint8_t get_center_freq_2() const { return center_freq_2_; }
  void set_center_freq_2(std::uint8_t index) { center_freq_2_ = index; }

  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() {
    using serialization::Field;
    using T = WLANSpecificInformation;
    return serialization::rows(Field{"WLAN bssid: ", &T::bssid_},           //
                               Field{" role ", &T::role_},                  //
                               Field{" band ", &T::band_},                  //
                               Field{" ctrFreqIdx1 ", &T::center_freq_1_},  //
                               Field{" ctrFreqIdx2 ", &T::center_freq_2_});
  }

 private:
  MACAddress bssid_;
  WLANInterfaceRole1905_1 role_ = WLANInterfaceRole1905_1::AP;
  std::uint8_t band_ = 0;
  std::uint8_t center_freq_1_ = 0;
  std::uint8_t center_freq_2_ = 0;
};

/// The 7 octets of a power line interface.
class QEL_EXPORT PLCSpecificInformation final
    : public TableMediaSpecificInformation<PLCSpecificInformation, InterfaceType::PLC> {
 public:
  const plc::NID& get_network_id() const { return network_id_; }
  void set_network_id(const plc::NID& network_id) { network_id_ = network_id; }

  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() {
    return serialization::rows(serialization::Field{"PLC networkID: ", &PLCSpecificInformation::network_id_});
  }

 private:
  plc::NID network_id_;
};

/// One of the blocks, stored inline because interface records are many and blocks are small.
using AnyMediaSpecificInformation =
    std::variant<NoMediaSpecificInformation, WLANSpecificInformation, PLCSpecificInformation>;

}  // namespace qel::ieee1905_1
