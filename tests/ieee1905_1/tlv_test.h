#pragma once

#include "qel/ieee1905_1/tlv_classes_impl.h"
#include "qel/ieee1905_1/tlv_factory.h"
#include "qel/ieee1905_1/vendor/vendor_classes_impl.h"
#include "qel/ieee1905_1/vendor/vendor_factory.h"
#include "tests/support/fields.h"
#include "tests/support/golden.h"

/// A list whose functions are named in the usual way.
#define LIST_FIELD(NAME) FIELD_OF(add_##NAME, get_##NAME##_vector)

// Shared by the tests of TLVs and of vendor payloads. Declares all of their classes.
namespace qel::ieee1905_1 {

using std::string;
using test::fields;
using test::filled;
using test::octets;
using test::Written;

inline const MACAddress A = test::mac("021A2B3C4D5E");
inline const MACAddress B = test::mac("06F1E2D3C4B5");
inline const MACAddress C = test::mac("0A0918273645");
inline const MACAddress D = test::mac("0E7D6C5B4A39");

inline const char* const INVALID_SIZE = "Invalid size";
inline const char* const INVALID_LENGTH = "Invalid length";

inline WLANSpecificInformation wlan_information(const MACAddress& bssid) {
  return fields(WLANSpecificInformation(), FIELD(bssid), bssid, FIELD(role), WLANInterfaceRole1905_1::STA, FIELD(band),
                2, FIELD(center_freq_1), 155, FIELD(center_freq_2), 42);
}

/// Adds `count` equal elements to the object.
template <class T, class Element>
T list(void (T::*add)(Element), std::size_t count, const std::remove_cvref_t<Element>& element = {}, T object = T()) {
  for (; count > 0; --count) {
    (object.*add)(element);
  }
  return object;
}

inline std::unique_ptr<TLV> blank_tlv(const test::Octets& wire) { return create_TLV(TLVType(wire[0])); }
inline std::unique_ptr<VendorSpecific> blank_payload(const test::Octets& wire) {
  return create_vendor_specific(QELVendorTLVType(wire[0]));
}
inline auto decode_tlv(const test::Octets& wire) {
  return test::decode(wire, [&] { return blank_tlv(wire); });
}

template <class T>
T decoded(const string& wire) {
  return *test::decode<T>(octets(wire)).object;
}

/// Decodes into an object that was used before. Returns the text of the exception, if any.
template <class T>
string decode_into(T& object, const string& wire) {
  const test::Octets input = octets(wire);
  serialization::MemoryIStream is(input);
  serialization::SerializationContext context;
  return test::refusal([&] { object.deserialize_impl(is, context); });
}

inline void check_rows(const std::vector<test::Golden<TLV>>& rows) { test::check_golden(rows, blank_tlv); }
inline void check_rows(const std::vector<test::Golden<VendorSpecific>>& rows) {
  test::check_golden(rows, blank_payload);
}

/// Checks that encoding fails with the text and leaves the output unchanged; or, if the text is empty, that it gives
/// octets that decode to the same object.
template <class T>
void check_limit(const T& object, const string& refused) {
  const Written result = test::encode(object, "AB");
  EXPECT_EQ(result.refused, refused);
  if (!result.refused.empty()) {
    EXPECT_EQ(result.octets, "4142");
    return;
  }
  const test::Octets wire = octets(result.octets.substr(4));
  if constexpr (std::is_base_of_v<TLV, T>) {
    EXPECT_TRUE(*decode_tlv(wire).object == object);
  } else if constexpr (std::is_base_of_v<VendorSpecific, T>) {
    EXPECT_TRUE(*test::decode(wire, [&] { return blank_payload(wire); }).object == object);
  } else {
    EXPECT_TRUE(*test::decode<T>(wire).object == object);
  }
}

/// Checks that the list encodes with `min` to `max` elements only.
template <class T, class Element>
void check_counts(void (T::*add)(Element), std::size_t min, std::size_t max, const char* refused = INVALID_SIZE,
                  const std::remove_cvref_t<Element>& element = {}, const T& object = T()) {
  SCOPED_TRACE(testing::Message() << object);
  if (min > 0) {
    check_limit(list(add, min - 1, element, object), refused);
  }
  check_limit(list(add, min, element, object), "");
  check_limit(list(add, max, element, object), "");
  check_limit(list(add, max + 1, element, object), refused);
}

/// Checks that the octets decode to a TLV that does not encode.
inline void check_decodes_only(const string& wire, const string& refused) {
  const auto [outcome, tlv] = decode_tlv(octets(wire));
  EXPECT_EQ(outcome.refused, "") << wire;
  check_limit(*tlv, refused);
}

}  // namespace qel::ieee1905_1
