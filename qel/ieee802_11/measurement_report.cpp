#include "qel/ieee802_11/measurement_report.h"

#include <ostream>
#include <string>
#include <utility>

#include "qel/core/text.h"
#include "qel/ieee802_11/element_impl.h"

namespace qel::ieee802_11 {

namespace {

constexpr std::size_t HEAD_SIZE = serialization::WIRE_SIZE<std::uint8_t, std::bitset<8>, MeasurementType>;
constexpr std::size_t BEACON_REPORT_SIZE = serialization::WireType<BeaconReport>::SIZE;
static_assert(HEAD_SIZE == 3 && BEACON_REPORT_SIZE == 26);

}  // namespace

IEEE802_11_MeasurementReport::IEEE802_11_MeasurementReport(std::uint8_t token, std::bitset<8> mode,
                                                           MeasurementType type, std::span<const std::uint8_t> body)
    : token_(token), mode_(mode), type_(type) {
  ElementBody rest(body);
  take_report(rest);
}

IEEE802_11_MeasurementReport::IEEE802_11_MeasurementReport(std::uint8_t token, std::bitset<8> mode, BeaconReport report)
    : token_(token), mode_(mode), type_(MeasurementType::BEACON), body_(std::move(report)) {}

std::size_t IEEE802_11_MeasurementReport::get_length() const {
  if (const BeaconReport* beacon = get_beacon_report(); beacon != nullptr) {
    return HEAD_SIZE + BEACON_REPORT_SIZE + beacon->get_optional_subelements().size();
  }
  return HEAD_SIZE + get_opaque_body()->size();
}

void IEEE802_11_MeasurementReport::dbg_str(std::ostream& os) const {
  os << "Measurement Token: " << Decimal(token_) << " Mode: " << Decimal(static_cast<std::int64_t>(mode_.to_ulong()))
     << " Type: " << type_;
  if (const BeaconReport* beacon = get_beacon_report(); beacon != nullptr) {
    os << ' ' << *beacon;
  } else {
    os << " Body: " << std::to_string(get_opaque_body()->size()) << " Byte";
  }
}

void IEEE802_11_MeasurementReport::put_body(serialization::Writer& out) const {
  out.put(token_, mode_, type_);
  if (const BeaconReport* beacon = get_beacon_report(); beacon != nullptr) {
    serialization::put_rows_and(out, *beacon);
    out.put_list(beacon->get_optional_subelements());
  } else {
    out.put_list(*get_opaque_body());
  }
}

void IEEE802_11_MeasurementReport::take_body(ElementBody& body) {
  body.get(token_);
  body.get(mode_);
  body.get(type_);
  take_report(body);
}

void IEEE802_11_MeasurementReport::take_report(ElementBody& body) {
  if (type_ == MeasurementType::BEACON && body.size() >= BEACON_REPORT_SIZE) {
    auto& beacon = body_.emplace<BeaconReport>();
    body.get(beacon);
    beacon.set_optional_subelements(body.take_rest());
  } else {
    body_ = body.take_rest();
  }
}

bool IEEE802_11_MeasurementReport::equals(const IEEE802_11_MeasurementReport& other) const {
  return token_ == other.token_ && mode_ == other.mode_ && type_ == other.type_ && body_ == other.body_;
}

template class IEEE802_11_Element<IEEE802_11_MeasurementReport, 39>;

}  // namespace qel::ieee802_11
