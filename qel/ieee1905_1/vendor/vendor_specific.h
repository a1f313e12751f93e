#pragma once

#include <concepts>
#include <cstdint>
#include <iosfwd>
#include <string>

#include "qel/core/export.h"
#include "qel/core/serialization/binary_serializable.h"

namespace qel::ieee1905_1 {

/// The first octet of this system's vendor payloads.
enum class QEL_EXPORT QELVendorTLVType : std::uint8_t {
  QEL_TLV_TYPE = 0,
  QEL_DEVICE_INFORMATION_TLV = 1,
  QEL_IEEE1905_NEIGHBOR_DEVICE_TLV = 2,
  QEL_NON_IEEE1905_NEIGHBOR_DEVICE_LIST_TLV = 3,
  QEL_RECEIVER_LINK_METRIC_TLV = 4,
  QEL_TRANSMITTER_LINK_METRIC_TLV = 5,
  QEL_AP_WLAN_OPMODE_TLV = 6,
  QEL_AP_NON_OPERATIONAL_BSS_TLV = 7,
  QEL_BTM_QUERY_TLV = 8,
  QEL_MESSAGETYPE_TLV = 9,
  QEL_ASSOCIATED_STA_IDLE_STATE_TLV = 10,
  QEL_AP_ANPI_TLV = 11,
  QEL_MESHD_VERSION_TLV = 12,
  QEL_LINK_STATE_TLV = 13,
  QEL_BLOCKED_INTERFACE_LIST_TLV = 14,
  QEL_AP_WLAN_SECURITY_TLV = 15,
  QEL_PSQ19_NON_IEEE1905_NEIGHBOR_DEVICE_LIST_TLV = 16,
  VENDOR_UNKNOWN = 255,
};

QEL_EXPORT std::string enum_to_string(QELVendorTLVType type);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, QELVendorTLVType type);

/// The contents of a vendor-specific TLV after its OUI.
class QEL_EXPORT VendorSpecific : public serialization::BinarySerializable {
 public:
  virtual bool operator==(const VendorSpecific& other) const;
  virtual bool operator!=(const VendorSpecific& other) const final;

  /// Prints "type: " and the name of the subtype; classes with fields append them.
  virtual void dbg_str(std::ostream& os) const;
  virtual QELVendorTLVType get_type() const = 0;

  bool is_same_type(const VendorSpecific& other) const { return get_type() == other.get_type(); }

 protected:
  VendorSpecific() = default;
  VendorSpecific(const VendorSpecific&) = default;
  VendorSpecific(VendorSpecific&&) = default;
  VendorSpecific& operator=(const VendorSpecific&) = default;
  VendorSpecific& operator=(VendorSpecific&&) = default;
};

/// A class of payloads that knows its own type, as all classes but VendorSpecific itself do.
template <class T>
concept TypedPayload = std::derived_from<T, VendorSpecific> && std::same_as<decltype(T::TYPE), const QELVendorTLVType>;

/// Compares payloads of any two classes through their base. Without it, the comparison would be ambiguous.
template <std::derived_from<VendorSpecific> Left, std::derived_from<VendorSpecific> Right>
bool operator==(const Left& left, const Right& right) {
  return static_cast<const VendorSpecific&>(left).operator==(right);
}

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const VendorSpecific& payload);

/// A payload under a foreign OUI or of an unknown subtype. Its octets are skipped, and it cannot be encoded.
class QEL_EXPORT VendorSpecificUnknown final : public VendorSpecific {
 public:
  static constexpr QELVendorTLVType TYPE = QELVendorTLVType::VENDOR_UNKNOWN;

  /// `length` is the number of octets to skip, the subtype included.
  explicit VendorSpecificUnknown(std::uint16_t length) : length_(length) {}

  std::uint16_t get_expected_length() const { return length_; }

  void serialize_impl(std::ostream& os, serialization::SerializationContext& context) const override;
  void deserialize_impl(std::istream& is, serialization::SerializationContext& context) override;
  bool operator==(const VendorSpecific& other) const override;
  void dbg_str(std::ostream& os) const override;
  QELVendorTLVType get_type() const override { return TYPE; }

 private:
  std::uint16_t length_;
};

}  // namespace qel::ieee1905_1
