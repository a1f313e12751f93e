#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <span>
#include <variant>
#include <vector>

#include "qel/core/export.h"
#include "qel/ieee802_11/action_types.h"
#include "qel/ieee802_11/beacon_report.h"
#include "qel/ieee802_11/element.h"

namespace qel::ieee802_11 {

/// The Measurement Report element, ID 39 (IEEE 802.11-2020, 9.4.2.21). A beacon report is decoded into its fields. Any
/// other body is kept as received, as is one of type BEACON that is too short to be a report, such as the empty body of
/// a refusal. Both are encoded to the octets that they were decoded from.
class QEL_EXPORT IEEE802_11_MeasurementReport final : public IEEE802_11_Element<IEEE802_11_MeasurementReport, 39> {
 public:
  IEEE802_11_MeasurementReport() = default;
  /// `mode`: bit 0 late, bit 1 incapable, bit 2 refused. `body` is the part after the measurement type.
  IEEE802_11_MeasurementReport(std::uint8_t token, std::bitset<8> mode, MeasurementType type,
                               std::span<const std::uint8_t> body);
  IEEE802_11_MeasurementReport(std::uint8_t token, std::bitset<8> mode, BeaconReport report);

  std::uint8_t get_measurement_token() const { return token_; }
  void set_measurement_token(std::uint8_t token) { token_ = token; }
  std::bitset<8> get_measurement_report_mode() const { return mode_; }
  void set_measurement_report_mode(std::bitset<8> mode) { mode_ = mode; }
  MeasurementType get_measurement_type() const { return type_; }
  /// Null unless the body is a beacon report.
  const BeaconReport* get_beacon_report() const { return std::get_if<BeaconReport>(&body_); }
  /// The body of any other report; null for a beacon report.
  const std::vector<std::uint8_t>* get_opaque_body() const { return std::get_if<std::vector<std::uint8_t>>(&body_); }

  std::size_t get_length() const override;
  void dbg_str(std::ostream& os) const override;

 private:
  friend class IEEE802_11_Element<IEEE802_11_MeasurementReport, 39>;
  void put_body(serialization::Writer& out) const;
  void take_body(ElementBody& body);
  bool equals(const IEEE802_11_MeasurementReport& other) const;

  void take_report(ElementBody& body);

  std::uint8_t token_ = 0;
  std::bitset<8> mode_;
  MeasurementType type_ = MeasurementType::BASIC;
  std::variant<std::vector<std::uint8_t>, BeaconReport> body_;
};

}  // namespace qel::ieee802_11
