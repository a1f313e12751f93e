#pragma once

#include <cstdint>

#include "qel/core/basic_version.h"
#include "qel/core/export.h"
#include "qel/ieee1905_1/vendor/vendor_payload.h"

namespace qel::ieee1905_1 {

/// The version of the mesh daemon that a node runs (subtype 12).
class QEL_EXPORT QELMeshdVersionTLV final
    : public VendorPayload<QELMeshdVersionTLV, QELVendorTLVType::QEL_MESHD_VERSION_TLV> {
 public:
  QELMeshdVersionTLV() = default;
  explicit QELMeshdVersionTLV(const BasicVersion& version) { set_major_and_minor(version); }

  BasicVersion get_major_and_minor() const { return {major_, minor_}; }
  void set_major_and_minor(const BasicVersion& version) {
    major_ = version.get_major();
    minor_ = version.get_minor();
  }

  static constexpr auto table() {
    using T = QELMeshdVersionTLV;
    return serialization::rows(serialization::Field{" QEL Meshd Version: ", &T::major_},
                               serialization::Field{".", &T::minor_});
  }

 private:
  std::uint16_t major_ = 0;
  std::uint16_t minor_ = 0;
};

}  // namespace qel::ieee1905_1
