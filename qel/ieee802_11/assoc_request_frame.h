#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <span>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/serialization/binary_serializable.h"
#include "qel/ieee802_11/element.h"
#include "qel/ieee802_11/little_endian.h"

namespace qel::ieee802_11 {

/// The body of an association request frame (IEEE 802.11-2020, 9.3.3.5): two fixed fields, then elements, which are
/// kept as they came, in their order, unknown and repeated ones included.
class QEL_EXPORT AssocRequestFrame final : public serialization::BinarySerializable {
 public:
  static constexpr std::size_t MIN_WIRE_SIZE = 4;

  /// One element, without ID and length; the octets are borrowed from the frame.
  struct Element {
    std::uint8_t id;  ///< Element ID (IEEE 802.11-2020, 9.4.2.1)
    std::span<const std::uint8_t> body;
  };

  /// To be decoded from a frame of `octets`, since nothing in it tells its end. The fixed fields are read in any case,
  /// then whole elements while fewer octets were read; so an element that overruns the end, or an end inside the fixed
  /// fields, shows by a get_length() of more than `octets`.
  explicit AssocRequestFrame(std::size_t octets = MIN_WIRE_SIZE) : octets_to_take_(octets) {}

  void serialize_impl(std::ostream& os, serialization::SerializationContext& context) const override;
  void deserialize_impl(std::istream& is, serialization::SerializationContext& context) override;
  void encode_body(serialization::Writer& out) const;
  void decode_body(serialization::Reader& in);

  /// Octets of the whole body: four and, for each element, two and those of its own body.
  std::size_t get_length() const { return MIN_WIRE_SIZE + elements_.size(); }

  const std::bitset<16>& get_capability_information() const { return capability_information_; }
  void set_capability_information(const std::bitset<16>& capabilities) { capability_information_ = capabilities; }
  /// In beacon intervals.
  std::uint16_t get_listen_interval() const { return listen_interval_.value; }
  void set_listen_interval(std::uint16_t interval) { listen_interval_.value = interval; }
  std::vector<Element> get_elements() const;

  /// Appends an element; throws SerializationException where it cannot be encoded.
  void add_element(const IEEE802_11_Element_Base& element);

  /// By the octets of the wire form.
  friend bool operator==(const AssocRequestFrame& left, const AssocRequestFrame& right) {
    return left.capability_information_ == right.capability_information_ &&
           left.listen_interval_ == right.listen_interval_ && left.elements_ == right.elements_;
  }

  void dbg_str(std::ostream& os) const;

 private:
  std::bitset<16> capability_information_;
  LittleEndian<std::uint16_t> listen_interval_;
  std::vector<std::uint8_t> elements_;  ///< each with its ID and length
  std::size_t octets_to_take_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const AssocRequestFrame& frame);

}  // namespace qel::ieee802_11
