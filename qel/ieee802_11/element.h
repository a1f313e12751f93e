#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <span>

#include "qel/core/export.h"
#include "qel/core/serialization/binary_serializable.h"

namespace qel::serialization {

class Reader;
class Writer;

}  // namespace qel::serialization

namespace qel::ieee802_11 {

class ElementBody;

/// Octets before the body of an element: one of element ID, one of length (IEEE 802.11-2020, 9.4.2.1).
inline constexpr std::size_t ELEMENT_HEADER_SIZE = 2;

/// An element of an IEEE 802.11 frame. On the wire it is one octet of ID, one octet of length, and the body; a body
/// over 255 octets cannot be encoded.
class QEL_EXPORT IEEE802_11_Element_Base : public serialization::BinarySerializable {
 public:
  /// Number of octets in the body, without ID and length; if it exceeds 255, the element cannot be encoded.
  virtual std::size_t get_length() const = 0;
  virtual void dbg_str(std::ostream& os) const = 0;
  /// False if the elements are of different classes.
  virtual bool operator==(const IEEE802_11_Element_Base& other) const = 0;

  std::uint8_t get_element_id() const { return element_id_; }

 protected:
  explicit IEEE802_11_Element_Base(std::uint8_t element_id) : element_id_(element_id) {}
  IEEE802_11_Element_Base(const IEEE802_11_Element_Base&) = default;
  IEEE802_11_Element_Base& operator=(const IEEE802_11_Element_Base&) = default;

 private:
  std::uint8_t element_id_;
};

/// Compares elements of any two classes through their base. Without it, the comparison would be ambiguous.
template <std::derived_from<IEEE802_11_Element_Base> Left, std::derived_from<IEEE802_11_Element_Base> Right>
bool operator==(const Left& left, const Right& right) {
  return static_cast<const IEEE802_11_Element_Base&>(left).operator==(right);
}

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const IEEE802_11_Element_Base& element);

/// The framing of the element with this ID. Derived encodes its body with `put_body(Writer&) const`, which writes
/// exactly get_length() octets, decodes it with `take_body(ElementBody&)`, and compares its fields with `equals`. The
/// source file of Derived must contain `template class IEEE802_11_Element<Derived, ID>;`.
template <class Derived, std::uint8_t ID>
class QEL_EXPORT IEEE802_11_Element : public IEEE802_11_Element_Base {
 public:
  static constexpr std::uint8_t ELEMENT_ID = ID;
  static constexpr std::size_t MIN_WIRE_SIZE = ELEMENT_HEADER_SIZE;

  IEEE802_11_Element() : IEEE802_11_Element_Base(ID) {}

  void serialize_impl(std::ostream& os, serialization::SerializationContext& context) const override;
  void deserialize_impl(std::istream& is, serialization::SerializationContext& context) override;
  bool operator==(const IEEE802_11_Element_Base& other) const override;

  /// The whole element as a field of a record: ID, length and body. Throws "Invalid length" if the ID is wrong or the
  /// body does not hold its fields, "Sanity Check: Unconsumed length" if octets follow the last field, and "Invalid
  /// size" if the body is too long to encode. Never reads more than the length octet allows.
  void encode_body(serialization::Writer& out) const;
  void decode_body(serialization::Reader& in);

  /// Decodes only the body of an element whose ID and length were read elsewhere.
  void decode_octets(std::span<const std::uint8_t> body);
};

}  // namespace qel::ieee802_11
