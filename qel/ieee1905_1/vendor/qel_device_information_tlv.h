#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/record.h"
#include "qel/ieee1905_1/media_specific_information.h"
#include "qel/ieee1905_1/vendor/body_rest.h"
#include "qel/ieee1905_1/vendor/vendor_payload.h"

namespace qel::ieee1905_1 {

/// A local interface as in the Device Information TLV, with its name.
class QEL_EXPORT QELInterfaceInformation final : public serialization::Record<QELInterfaceInformation> {
 public:
  QELInterfaceInformation() = default;
  QELInterfaceInformation(const MACAddress& mac, std::string name, InterfaceType type, _InterfaceMode mode,
                          const AnyMediaSpecificInformation& information = {})
      : mac_(mac),
        name_(std::move(name)),
        interface_type_(type),
        interface_mode_(mode),
        media_specific_information_(information) {}

  const MACAddress& get_mac() const { return mac_; }
  void set_mac(const MACAddress& mac) { mac_ = mac; }
  /// A name over 255 characters cannot be encoded.
  const std::string& get_name() const { return name_; }
  void set_name(const std::string& name) { name_ = name; }
  InterfaceType get_interface_type() const { return interface_type_; }
  void set_interface_type(InterfaceType type) { interface_type_ = type; }
  _InterfaceMode get_interface_mode() const { return interface_mode_; }
  void set_interface_mode(_InterfaceMode mode) { interface_mode_ = mode; }

  /// Not kept consistent with the interface type: whoever reads the encoding expects WLAN information for a WLAN
  /// interface, PLC information for a PLC interface and none for any other, and takes any other block as a rest.
  const MediaSpecificInformation& get_media_specific_information() const;
  /// Also drops the rest of the block.
  void set_media_specific_information(const AnyMediaSpecificInformation& information) {
    media_specific_information_ = information;
    media_specific_rest_.clear();
  }
  /// The octets of the block after these fields; the whole block if it is too short for the interface type.
  const std::vector<std::uint8_t>& get_media_specific_rest() const { return media_specific_rest_; }

  void dbg_str(std::ostream& os) const;

  static constexpr auto table() {
    using serialization::Field;
    using T = QELInterfaceInformation;
    return serialization::rows(Field{&T::mac_},                                       //
                               serialization::string8(nullptr, &T::name_, {0, 255}),  //
                               Field{&T::interface_type_},                            //
                               Field{&T::interface_mode_});
  }

 private:
  friend serialization::BodyAccess;
  static constexpr std::size_t MIN_WIRE_SIZE = 10;
  /// The rows of the table, then the media-specific block.
  inline void encode_body(serialization::Writer& out) const;
  inline void decode_body(serialization::Reader& in);
  bool equals(const QELInterfaceInformation& other) const;
  bool is_less_than(const QELInterfaceInformation& other) const;

  MACAddress mac_;
  std::string name_;
  InterfaceType interface_type_ = InterfaceType::ETHERNET;
  _InterfaceMode interface_mode_ = 0;
  AnyMediaSpecificInformation media_specific_information_;
  std::vector<std::uint8_t> media_specific_rest_;  ///< at most 255 octets together with the information
};

/// A device and its local interfaces, with names (subtype 1). As in the Device Information TLV, a device without
/// interfaces decodes but does not encode.
class QEL_EXPORT QELDeviceInformationTLV final
    : public VendorPayload<QELDeviceInformationTLV, QELVendorTLVType::QEL_DEVICE_INFORMATION_TLV> {
 public:
  QELDeviceInformationTLV() = default;
  explicit QELDeviceInformationTLV(const MACAddress& al_mac) : AL_MAC_(al_mac) {}

  const MACAddress& get_AL_MAC() const { return AL_MAC_; }
  void set_AL_MAC(const MACAddress& al_mac) { AL_MAC_ = al_mac; }
  const std::vector<QELInterfaceInformation>& get_interface_information_vector() const {
    return interface_information_vector_;
  }
  void add_interface_information(const QELInterfaceInformation& information) {
    interface_information_vector_.push_back(information);
  }
  const std::vector<std::uint8_t>& get_rest() const { return rest_.octets; }

  static constexpr auto table() {
    using T = QELDeviceInformationTLV;
    return serialization::rows(
        serialization::Field{" AL MAC: ", &T::AL_MAC_},
        serialization::list8({.before = "", .prefix = "\n\t\t"}, &T::interface_information_vector_, {1, 255}),
        RestRow{&T::rest_});
  }

 private:
  MACAddress AL_MAC_;
  std::vector<QELInterfaceInformation> interface_information_vector_;
  BodyRest rest_;
};

}  // namespace qel::ieee1905_1
