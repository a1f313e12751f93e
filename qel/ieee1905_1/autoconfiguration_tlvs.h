#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "qel/core/export.h"
#include "qel/ieee1905_1/table_tlv.h"

namespace qel::ieee1905_1 {

/// IEEE 1905.1-2013, 6.4.14 and 6.4.16. Other values are kept.
enum class RoleType : std::uint8_t { REGISTRAR = 0, INVALID = 255 };

/// IEEE 1905.1-2013, 6.4.15 and 6.4.17. Other values are kept.
enum class FrequencyBand : std::uint8_t {
  IEEE802_11_2_4_GHZ = 0,
  IEEE802_11_5_GHZ = 1,
  IEEE802_11_60_GHZ = 2,
  INVALID = 255
};

QEL_EXPORT std::string enum_to_string(RoleType role);
QEL_EXPORT std::string enum_to_string(FrequencyBand band);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, RoleType role);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, FrequencyBand band);

/// A role in the search for a registrar: the role searched for (type 13) or supported (type 15).
template <TLVType TYPE>
class QEL_EXPORT RoleTLV final : public TableTLV<RoleTLV<TYPE>, TYPE> {
 public:
  RoleTLV() = default;
  explicit RoleTLV(RoleType role) : role_(role) {}

  RoleType get_role() const { return role_; }
  void set_role(RoleType role) { role_ = role; }

  static constexpr auto table() { return serialization::rows(serialization::Field{" role: ", &RoleTLV::role_}); }

 private:
  RoleType role_ = RoleType::REGISTRAR;
};

/// A band in the search for a registrar: the band to be configured (type 14) or supported (type 16).
template <TLVType TYPE>
class QEL_EXPORT FrequencyBandTLV final : public TableTLV<FrequencyBandTLV<TYPE>, TYPE> {
 public:
  FrequencyBandTLV() = default;
  explicit FrequencyBandTLV(FrequencyBand band) : frequency_band_(band) {}

  FrequencyBand get_frequency_band() const { return frequency_band_; }
  void set_frequency_band(FrequencyBand band) { frequency_band_ = band; }

  static constexpr auto table() {
    return serialization::rows(serialization::Field{" frequency: ", &FrequencyBandTLV::frequency_band_});
  }

 private:
  FrequencyBand frequency_band_ = FrequencyBand::IEEE802_11_2_4_GHZ;
};

using SearchedRoleTLV = RoleTLV<TLVType::SEARCHED_ROLE>;
using SupportedRoleTLV = RoleTLV<TLVType::SUPPORTED_ROLE>;
using AutoconfigFrequencyBandTLV = FrequencyBandTLV<TLVType::AUTOCONFIG_FREQUENCY_BAND>;
using SupportedFrequencyBandTLV = FrequencyBandTLV<TLVType::SUPPORTED_FREQUENCY_BAND>;

}  // namespace qel::ieee1905_1
