#pragma once

#include <memory>

#include "qel/core/export.h"
#include "qel/ieee1905_1/tlv.h"
#include "qel/ieee1905_1/vendor/vendor_specific.h"

namespace qel::ieee1905_1 {

/// A complete TLV inside a vendor-specific one (subtype 0). It follows the subtype directly, without a sub-length,
/// since the TLV has its own length.
class QEL_EXPORT QELTLVType final : public VendorSpecific {
 public:
  static constexpr QELVendorTLVType TYPE = QELVendorTLVType::QEL_TLV_TYPE;

  /// Holds a DummyTLV.
  QELTLVType();
  explicit QELTLVType(std::unique_ptr<TLV> tlv);
  QELTLVType(QELTLVType&& other) : QELTLVType() { tlv_.swap(other.tlv_); }
  QELTLVType& operator=(QELTLVType&& other) noexcept {
    tlv_.swap(other.tlv_);
    return *this;
  }
  ~QELTLVType() override;

  /// Never null.
  const std::unique_ptr<TLV>& get_tlv() const { return tlv_; }
  /// Moves from the argument; null is replaced with a new DummyTLV.
  void set_tlv(std::unique_ptr<TLV>&& tlv);
  void set_tlv(std::unique_ptr<TLV>& tlv);

  void serialize_impl(std::ostream& os, serialization::SerializationContext& context) const override;
  void deserialize_impl(std::istream& is, serialization::SerializationContext& context) override;
  bool operator==(const VendorSpecific& other) const override;
  void dbg_str(std::ostream& os) const override;
  QELVendorTLVType get_type() const override { return TYPE; }

 private:
  std::unique_ptr<TLV> tlv_;
};

}  // namespace qel::ieee1905_1
