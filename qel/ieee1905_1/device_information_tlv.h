#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/media_specific_information.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

/// A local interface in the Device Information TLV.
class QEL_EXPORT InterfaceInformation final : public serialization::Record<InterfaceInformation> {
 public:
  InterfaceInformation() = default;
  InterfaceInformation(const MACAddress& mac, InterfaceType type, _InterfaceMode mode,
                       const AnyMediaSpecificInformation& information = {})
      : mac_(mac), interface_type_(type), interface_mode_(mode), media_specific_information_(information) {}

  const MACAddress& get_mac() const { return mac_; }
  void set_mac(const MACAddress& mac) { mac_ = mac; }
  InterfaceType get_interface_type() const { return interface_type_; }
  void set_interface_type(InterfaceType type) { interface_type_ = type; }
  _InterfaceMode get_interface_mode() const { return interface_mode_; }
  void set_interface_mode(_InterfaceMode mode) { interface_mode_ = mode; }

  /// Not kept consistent with the interface type: whoever reads the encoding expects WLAN information for a WLAN
  /// interface, PLC information for a PLC interface and none for any other.
  const MediaSpecificInformation& get_media_specific_information() const;
  void set_media_specific_information(const AnyMediaSpecificInformation& information) {
    media_specific_information_ = information;
  }

  void dbg_str(std::ostream& os) const;

  static constexpr auto table() {
    using serialization::Field;
    using T = InterfaceInformation;
    return serialization::rows(Field{&T::mac_},             //
                               Field{&T::interface_type_},  //
                               Field{&T::interface_mode_});
  }

 private:
  friend serialization::BodyAccess;
  static constexpr std::size_t MIN_WIRE_SIZE = 9;
  /// The rows of the table, then the media-specific block.
  inline void encode_body(serialization::Writer& out) const;
  inline void decode_body(serialization::Reader& in);
  bool equals(const InterfaceInformation& other) const;
  bool is_less_than(const InterfaceInformation& other) const;

  MACAddress mac_;
  InterfaceType interface_type_ = InterfaceType::ETHERNET;
  _InterfaceMode interface_mode_ = 0;
  AnyMediaSpecificInformation media_specific_information_;
};

/// Device Information TLV (type 3): a device and its local interfaces (IEEE 1905.1-2013, 6.4.5). Without an interface,
/// it decodes but does not encode.
class QEL_EXPORT DeviceInformationTLV final : public TableTLV<DeviceInformationTLV, TLVType::DEVICE_INFORMATION> {
 public:
  DeviceInformationTLV() = default;
  explicit DeviceInformationTLV(const MACAddress& al_mac) : AL_MAC_(al_mac) {}

  const MACAddress& get_AL_MAC() const { return AL_MAC_; }
  void set_AL_MAC(const MACAddress& al_mac) { AL_MAC_ = al_mac; }
  const std::vector<InterfaceInformation>& get_interface_information_vector() const {
    return interface_information_vector_;
  }
  void add_interface_information(const InterfaceInformation& information) {
    interface_information_vector_.push_back(information);
  }

  static constexpr auto table() {
    using T = DeviceInformationTLV;
    return serialization::rows(
        serialization::Field{" AL MAC: ", &T::AL_MAC_},
        serialization::list8({.before = "", .prefix = "\n"}, &T::interface_information_vector_, {1, 255}));
  }

 private:
  MACAddress AL_MAC_;
  std::vector<InterfaceInformation> interface_information_vector_;
};

}  // namespace qel::ieee1905_1
