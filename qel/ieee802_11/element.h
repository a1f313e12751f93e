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

/// An element of an IEEE 802.11 frame. On the wire one octet of ID, one octet of length, and the body; a body over 255
/// octets cannot be encoded.
class QEL_EXPORT IEEE802_11_Element_Base : public serialization::BinarySerializable {
 public:
  /// Octets of the body, without ID and length; more than 255 when it cannot be encoded.
  virtual std::size_t get_length() const = 0;
  virtual void dbg_str(std::ostream& os) const = 0;
  /// False for an element of another class.
  virtual bool operator==(const IEEE802_11_Element_Base& other) const = 0;

  std::uint8_t get_element_id() const { return element_id_; }

 protected:
  explicit IEEE802_11_Element_Base(std::uint8_t element_id) : element_id_(element_id) {}
  IEEE802_11_Element_Base(const IEEE802_11_Element_Base&) = default;
  IEEE802_11_Element_Base& operator=(const IEEE802_11_Element_Base&) = default;

 private:
  std::uint8_t element_id_;
};

/// Compares elements of any two classes as their base does. Without it the language would find the member ambiguous.
template <std::derived_from<IEEE802_11_Element_Base> Left, std::derived_from<IEEE802_11_Element_Base> Right>
bool operator==(const Left& left, const Right& right) {
  return static_cast<const IEEE802_11_Element_Base&>(left).operator==(right);
}

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const IEEE802_11_Element_Base& element);

/// The framing of an element of ID. Derived encodes its body by `put_body(Writer&) const`, exactly get_length() octets,
/// takes it apart by `take_body(ElementBody&)`, and compares its fields by `equals`. The source file of Derived holds
/// `template class IEEE802_11_Element<Derived, ID>;`.
template <class Derived, std::uint8_t ID>
class QEL_EXPORT IEEE802_11_Element : public IEEE802_11_Element_Base {
 public:
  static constexpr std::uint8_t ELEMENT_ID = ID;
  static constexpr std::size_t MIN_WIRE_SIZE = ELEMENT_HEADER_SIZE;

  IEEE802_11_Element() : IEEE802_11_Element_Base(ID) {}

  void serialize_impl(std::ostream& os, serialization::SerializationContext& context) const override;
  void deserialize_impl(std::istream& is, serialization::SerializationContext& context) override;
  bool operator==(const IEEE802_11_Element_Base& other) const override;

  /// The whole element as a field of a record: ID, length and body. An ID other than the own, and a body that does not
  /// hold its fields, throw "Invalid length"; octets behind the last field "Sanity Check: Unconsumed length"; a body
  /// too long to encode "Invalid size". Never takes more than the length octet allows.
  void encode_body(serialization::Writer& out) const;
  void decode_body(serialization::Reader& in);

  /// Decodes the body alone, of an element whose ID and length were read elsewhere.
  void decode_octets(std::span<const std::uint8_t> body);
};

}  // namespace qel::ieee802_11
