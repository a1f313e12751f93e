#include "qel/ieee802_11/assoc_request_frame.h"

#include <algorithm>
#include <limits>
#include <ostream>
#include <string>

#include "qel/core/hex_text.h"
#include "qel/core/serialization/reader.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/core/serialization/serialization_exception.h"
#include "qel/core/serialization/writer.h"
#include "qel/core/text.h"
#include "qel/ieee802_11/rsn_element.h"
#include "qel/ieee802_11/stream_impl.h"

namespace qel::ieee802_11 {

namespace {

/// Empty for any other element, and for an RSN element that cannot be decoded.
std::optional<IEEE802_11_RSNElement> as_rsn_element(const AssocRequestFrame::Element& element) {
  if (element.id != IEEE802_11_RSNElement::ELEMENT_ID) {
    return std::nullopt;
  }
  try {
    IEEE802_11_RSNElement rsn;
    rsn.decode_octets(element.body);
    return rsn;
  } catch (const serialization::SerializationException&) {
    return std::nullopt;
  }
}

/// Number of octets in the complete elements at the beginning.
std::size_t whole_elements(std::span<const std::uint8_t> octets) {
  std::size_t end = 0;
  while (octets.size() - end >= ELEMENT_HEADER_SIZE &&
         octets.size() - end >= ELEMENT_HEADER_SIZE + std::size_t{octets[end + 1]}) {
    end += ELEMENT_HEADER_SIZE + octets[end + 1];
  }
  return end;
}

constexpr std::size_t ADDRESS_SIZE = serialization::WireType<MACAddress>::SIZE;
constexpr int BEGINS_WITH_SSID = 2;

/// The evidence that elements begin here: an SSID weighs most, then elements that end exactly at the end of the body.
int weight_as_elements(std::span<const std::uint8_t> octets) {
  constexpr std::uint8_t SSID = 0;
  constexpr std::uint8_t LONGEST_SSID = 32;
  const std::size_t whole = whole_elements(octets);
  return (whole != 0 && octets[0] == SSID && octets[1] <= LONGEST_SSID ? BEGINS_WITH_SSID : 0) +
         (whole == octets.size() ? 1 : 0);
}

/// An address may look like the beginning of an SSID, but in an association request nothing six octets later looks like
/// one.
bool begins_with_address(std::span<const std::uint8_t> variable_part) {
  if (variable_part.size() < ADDRESS_SIZE) {
    return false;
  }
  const int association = weight_as_elements(variable_part);
  const int reassociation = weight_as_elements(variable_part.subspan(ADDRESS_SIZE));
  return reassociation > association || (reassociation == association && reassociation >= BEGINS_WITH_SSID);
}

}  // namespace

void AssocRequestFrame::serialize_impl(std::ostream& os, serialization::SerializationContext& context) const {
  write_to(os, context, *this);
}

void AssocRequestFrame::deserialize_impl(std::istream& is, serialization::SerializationContext&) {
  read_from(is, *this);
}

void AssocRequestFrame::encode_body(serialization::Writer& out) const {
  out.put(capability_information_, listen_interval_);
  out.put_list(variable_part_);
}

void AssocRequestFrame::decode_body(serialization::Reader& in) {
  if (!octets_to_take_) {
    serialization::fail("Invalid length: the size of the association request is not known");
  }
  in.get(capability_information_, listen_interval_);
  variable_part_ = in.get_list<std::uint8_t>(*octets_to_take_ - std::min(*octets_to_take_, MIN_WIRE_SIZE));
  is_reassociation_ = begins_with_address(variable_part_);
}

std::optional<MACAddress> AssocRequestFrame::get_current_ap_address() const {
  if (!is_reassociation_ || variable_part_.size() < ADDRESS_SIZE) {
    return std::nullopt;
  }
  MACAddress::Octets octets;
  std::copy_n(variable_part_.begin(), octets.size(), octets.begin());
  return MACAddress(octets);
}

void AssocRequestFrame::set_current_ap_address(const MACAddress& address) {
  if (!get_current_ap_address()) {
    variable_part_.insert(variable_part_.begin(), ADDRESS_SIZE, 0);
  }
  std::ranges::copy(address.octets(), variable_part_.begin());
  is_reassociation_ = true;
}

std::span<const std::uint8_t> AssocRequestFrame::behind_address() const {
  return std::span(variable_part_).subspan(get_current_ap_address() ? ADDRESS_SIZE : 0);
}

std::vector<AssocRequestFrame::Element> AssocRequestFrame::get_elements() const {
  std::vector<Element> elements;
  const std::span<const std::uint8_t> octets = behind_address();
  for (auto left = octets.first(whole_elements(octets)); !left.empty();) {
    elements.push_back({left[0], left.subspan(ELEMENT_HEADER_SIZE, left[1])});
    left = left.subspan(ELEMENT_HEADER_SIZE + left[1]);
  }
  return elements;
}

std::span<const std::uint8_t> AssocRequestFrame::get_rest() const {
  const std::span<const std::uint8_t> octets = behind_address();
  return octets.subspan(whole_elements(octets));
}

void AssocRequestFrame::add_element(std::uint8_t id, std::span<const std::uint8_t> body) {
  if (body.size() > std::numeric_limits<std::uint8_t>::max()) {
    serialization::fail("Invalid size");
  }
  variable_part_.push_back(id);
  variable_part_.push_back(static_cast<std::uint8_t>(body.size()));
  variable_part_.insert(variable_part_.end(), body.begin(), body.end());
}

void AssocRequestFrame::add_element(const IEEE802_11_Element_Base& element) {
  serialization::MemoryOStream encoded;
  serialization::SerializationContext context;
  element.serialize_impl(encoded, context);
  variable_part_.insert(variable_part_.end(), encoded.octets().begin(), encoded.octets().end());
}

void AssocRequestFrame::dbg_str(std::ostream& os) const {
  os << "Capability Information: 0x" << hex_text(capability_information_)
     << " Listen Interval: " << Decimal(listen_interval_.value);
  if (const auto address = get_current_ap_address(); address) {
    os << " Current AP: " << *address;
  }
  os << " Elements: [";
  for (const Element& element : get_elements()) {
    os << "\n\t\t";
    if (const auto rsn = as_rsn_element(element); rsn) {
      os << *rsn;
    } else {
      os << "Element ID: " << Decimal(element.id) << " Length: " << std::to_string(element.body.size());
    }
  }
  if (const std::size_t rest = get_rest().size(); rest != 0) {
    os << "\n\t\trest: " << std::to_string(rest) << " Bytes";
  }
  os << " ]";
}

std::ostream& operator<<(std::ostream& os, const AssocRequestFrame& frame) {
  frame.dbg_str(os);
  return os;
}

}  // namespace qel::ieee802_11
