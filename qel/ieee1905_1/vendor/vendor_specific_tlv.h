#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <utility>

#include "qel/core/export.h"
#include "qel/ieee1905_1/tlv.h"
#include "qel/ieee1905_1/vendor/vendor_specific.h"

namespace qel::ieee1905_1 {

/// Vendor Specific TLV (type 11, IEEE 1905.1-2013, 6.4.2): an OUI and a payload. Under this system's own OUI, the first
/// octet of the payload, the subtype, selects its class; any other payload is skipped as VendorSpecificUnknown. The
/// length is not checked against the size of the payload.
class QEL_EXPORT VendorSpecificTLV final : public TLVCommon<TLVType::VENDOR_SPECIFIC> {
 public:
  using OUI = std::array<std::uint8_t, 3>;

  /// OUI 00-00-00 and an unknown payload of length 0.
  VendorSpecificTLV() : VendorSpecificTLV(OUI{}) {}
  explicit VendorSpecificTLV(OUI oui) : VendorSpecificTLV(oui, nullptr) {}
  explicit VendorSpecificTLV(std::unique_ptr<VendorSpecific> payload);
  VendorSpecificTLV(OUI oui, std::unique_ptr<VendorSpecific> payload);
  VendorSpecificTLV(VendorSpecificTLV&& other) : VendorSpecificTLV() { swap(other); }
  VendorSpecificTLV& operator=(VendorSpecificTLV&& other) noexcept {
    swap(other);
    return *this;
  }
  ~VendorSpecificTLV() override;

  void swap(VendorSpecificTLV& other) noexcept {
    std::swap(vendor_specific_oui_, other.vendor_specific_oui_);
    vendor_specific_.swap(other.vendor_specific_);
  }

  const OUI& get_vendor_specific_oui() const { return vendor_specific_oui_; }
  void set_vendor_specific_oui(const OUI& oui) { vendor_specific_oui_ = oui; }

  /// Returns the payload if it is of class T, otherwise null.
  template <TypedPayload T>
  const T* find() const {
    return vendor_specific_->get_type() == T::TYPE ? static_cast<const T*>(vendor_specific_.get()) : nullptr;
  }

  /// Never null.
  const std::unique_ptr<VendorSpecific>& get_vendor_specific() const { return vendor_specific_; }
  /// Moves from the argument; null is replaced with a new VendorSpecificUnknown of length 0.
  void set_vendor_specific(std::unique_ptr<VendorSpecific>&& payload);
  void set_vendor_specific(std::unique_ptr<VendorSpecific>& payload);

  void serialize_impl(std::ostream& os, serialization::SerializationContext& context) const override;
  void deserialize_impl(std::istream& is, serialization::SerializationContext& context) override;

  /// Leaves the stream set to decimal, whatever it was before, because the text that follows relies on it.
  void dbg_str(std::ostream& os) const override;
  bool operator==(const TLV& other) const override;

 private:
  OUI vendor_specific_oui_;
  std::unique_ptr<VendorSpecific> vendor_specific_;
};

}  // namespace qel::ieee1905_1
