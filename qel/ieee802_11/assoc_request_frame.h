#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <span>
#include <vector>

#include "qel/core/export.h"
#include "qel/core/mac_address.h"
#include "qel/core/serialization/binary_serializable.h"
#include "qel/ieee802_11/element.h"
#include "qel/ieee802_11/little_endian.h"

namespace qel::ieee802_11 {

/// The body of an association request frame (IEEE 802.11-2020, 9.3.3.5) or of a reassociation request frame (9.3.3.7):
/// two fixed fields, then in a reassociation request the address of the current AP, then elements. All octets are kept
/// as received, even those that are not elements.
class QEL_EXPORT AssocRequestFrame final : public serialization::BinarySerializable {
 public:
  static constexpr std::size_t MIN_WIRE_SIZE = 4;

  /// One element, without ID and length; the octets belong to the frame.
  struct Element {
    std::uint8_t id;  ///< Element ID (IEEE 802.11-2020, 9.4.2.1)
    std::span<const std::uint8_t> body;
  };

  /// An association request without elements. Decoding into it throws, because a body does not indicate its own end.
  AssocRequestFrame() = default;
  /// For decoding a body of `octets` octets. The fixed fields are always read, so if `octets` is smaller, get_length()
  /// exceeds it. The kind of request is recognised by the position of the SSID, the first element of either kind;
  /// without an SSID, by elements that end with the body; failing that, it is an association request.
  explicit AssocRequestFrame(std::size_t octets) : octets_to_take_(octets) {}

  void serialize_impl(std::ostream& os, serialization::SerializationContext& context) const override;
  void deserialize_impl(std::istream& is, serialization::SerializationContext& context) override;
  void encode_body(serialization::Writer& out) const;
  void decode_body(serialization::Reader& in);

  /// Number of octets in the whole body.
  std::size_t get_length() const { return MIN_WIRE_SIZE + variable_part_.size(); }

  bool is_reassociation() const { return is_reassociation_; }
  /// Sets the kind of request, for callers that know it better than the decoder; the octets are reinterpreted
  /// accordingly.
  void set_reassociation(bool is_reassociation) { is_reassociation_ = is_reassociation; }

  const std::bitset<16>& get_capability_information() const { return capability_information_; }
  void set_capability_information(const std::bitset<16>& capabilities) { capability_information_ = capabilities; }
  /// In beacon intervals.
  std::uint16_t get_listen_interval() const { return listen_interval_.value; }
  void set_listen_interval(std::uint16_t interval) { listen_interval_.value = interval; }
  /// Empty for an association request, and if there is no room for the address.
  std::optional<MACAddress> get_current_ap_address() const;
  /// Also makes it a reassociation request.
  void set_current_ap_address(const MACAddress& address);
  /// Returns all complete elements in order, including unknown and repeated ones.
  std::vector<Element> get_elements() const;
  /// Returns the octets after the last complete element, owned by the frame; empty if the body is well-formed.
  std::span<const std::uint8_t> get_rest() const;

  ///@{
  /// Appends an element after all existing octets. Throws SerializationException if it exceeds 255 octets.
  void add_element(std::uint8_t id, std::span<const std::uint8_t> body);
  void add_element(const IEEE802_11_Element_Base& element);
  ///@}

  /// Compares the encoded octets.
  friend bool operator==(const AssocRequestFrame& left, const AssocRequestFrame& right) {
    return left.capability_information_ == right.capability_information_ &&
           left.listen_interval_ == right.listen_interval_ && left.variable_part_ == right.variable_part_;
  }

  void dbg_str(std::ostream& os) const;

 private:
  std::span<const std::uint8_t> behind_address() const;

  std::bitset<16> capability_information_;
  LittleEndian<std::uint16_t> listen_interval_;
  std::vector<std::uint8_t> variable_part_;  ///< the octets after these fields
  bool is_reassociation_ = false;
  std::optional<std::size_t> octets_to_take_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const AssocRequestFrame& frame);

}  // namespace qel::ieee802_11
