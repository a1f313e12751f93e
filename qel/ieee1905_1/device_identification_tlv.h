#pragma once

#include <array>
#include <cstdint>
#include <iosfwd>

#include "qel/core/export.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

/// Device Identification Type TLV (type 21, IEEE 1905.1a-2014): three names of up to 64 octets, padded with NUL. All 64
/// octets of each are kept; the debug text prints a name up to its first NUL.
class QEL_EXPORT DeviceIdentificationTypeTLV final
    : public TableTLV<DeviceIdentificationTypeTLV, TLVType::DEVICE_IDENTIFICATION_TYPE> {
 public:
  using Name = std::array<std::uint8_t, 64>;

  const Name& get_friendly_name() const { return friendly_name_; }
  void set_friendly_name(const Name& name) { friendly_name_ = name; }
  const Name& get_manufacturer_name() const { return manufacturer_name_; }
  void set_manufacturer_name(const Name& name) { manufacturer_name_ = name; }
  const Name& get_manufacturer_model() const { return manufacturer_model_; }
  void set_manufacturer_model(const Name& model) { manufacturer_model_ = model; }

  void dbg_str(std::ostream& os) const override;

  static constexpr auto table() {
    using serialization::Field;
    using T = DeviceIdentificationTypeTLV;
    return serialization::rows(Field{&T::friendly_name_},      //
                               Field{&T::manufacturer_name_},  //
                               Field{&T::manufacturer_model_});
  }

 private:
  Name friendly_name_{};
  Name manufacturer_name_{};
  Name manufacturer_model_{};
};

}  // namespace qel::ieee1905_1
