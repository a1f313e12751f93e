#pragma once

#include <limits>
#include <vector>

#include "qel/core/serialization/reader.h"
#include "qel/core/serialization/serialization_exception.h"
#include "qel/core/serialization/table_codec.h"
#include "qel/core/serialization/writer.h"
#include "qel/ieee802_11/element.h"
#include "qel/ieee802_11/stream_impl.h"

/// The member functions of IEEE802_11_Element, for sources that instantiate it.
namespace qel::ieee802_11 {

/// The unread part of an element's body. It ends with the element, whatever its fields say.
class ElementBody {
 public:
  explicit ElementBody(std::span<const std::uint8_t> octets) : octets_(octets) {}

  bool empty() const { return octets_.empty(); }
  std::size_t size() const { return octets_.size(); }

  /// Returns the next octets; throws "Invalid length" if fewer are left.
  std::span<const std::uint8_t> take(std::size_t count) {
    if (count > octets_.size()) {
      serialization::fail("Invalid length");
    }
    const std::span<const std::uint8_t> taken = octets_.first(count);
    octets_ = octets_.subspan(count);
    return taken;
  }

  std::vector<std::uint8_t> take_rest() {
    const std::span<const std::uint8_t> rest = take(size());
    return {rest.begin(), rest.end()};
  }

  /// Reads the next field; throws "Invalid length" if it is cut short.
  template <serialization::FixedWire T>
  void get(T& field) {
    serialization::WireType<T>::load(take(serialization::WireType<T>::SIZE).data(), field);
  }
  template <serialization::FixedWire T>
  T get() {
    T field{};
    get(field);
    return field;
  }

 private:
  std::span<const std::uint8_t> octets_;
};

template <class Derived, std::uint8_t ID>
void IEEE802_11_Element<Derived, ID>::serialize_impl(std::ostream& os,
                                                     serialization::SerializationContext& context) const {
  write_to(os, context, *this);
}

template <class Derived, std::uint8_t ID>
void IEEE802_11_Element<Derived, ID>::deserialize_impl(std::istream& is, serialization::SerializationContext&) {
  read_from(is, *this);
}

template <class Derived, std::uint8_t ID>
bool IEEE802_11_Element<Derived, ID>::operator==(const IEEE802_11_Element_Base& other) const {
  const auto* same_class = dynamic_cast<const Derived*>(&other);
  return same_class != nullptr && static_cast<const Derived&>(*this).equals(*same_class);
}

template <class Derived, std::uint8_t ID>
void IEEE802_11_Element<Derived, ID>::encode_body(serialization::Writer& out) const {
  const auto& element = static_cast<const Derived&>(*this);
  const std::size_t length = element.get_length();
  if (length > std::numeric_limits<std::uint8_t>::max()) {
    serialization::fail("Invalid size");
  }
  out.put(ID, static_cast<std::uint8_t>(length));
  element.put_body(out);
}

template <class Derived, std::uint8_t ID>
void IEEE802_11_Element<Derived, ID>::decode_body(serialization::Reader& in) {
  std::uint8_t id = 0;
  std::uint8_t length = 0;
  in.get(id, length);
  if (id != ID) {
    serialization::fail("Invalid length");
  }
  decode_octets(in.get_octets(length));
}

template <class Derived, std::uint8_t ID>
void IEEE802_11_Element<Derived, ID>::decode_octets(std::span<const std::uint8_t> octets) {
  ElementBody body(octets);
  static_cast<Derived&>(*this).take_body(body);
  if (!body.empty()) {
    serialization::fail("Sanity Check: Unconsumed length");
  }
}

}  // namespace qel::ieee802_11
