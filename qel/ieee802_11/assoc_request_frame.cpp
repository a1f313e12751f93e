#include "qel/ieee802_11/assoc_request_frame.h"

#include <algorithm>
#include <optional>
#include <ostream>
#include <string>

#include "qel/core/serialization/reader.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/core/serialization/serialization_exception.h"
#include "qel/core/serialization/writer.h"
#include "qel/core/text.h"
#include "qel/ieee802_11/hex_text.h"
#include "qel/ieee802_11/rsn_element.h"

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

}  // namespace

void AssocRequestFrame::serialize_impl(std::ostream& os, serialization::SerializationContext& context) const {
  serialization::MemoryWriteBuffer* memory = serialization::memory_of(os);
  if (memory == nullptr) {
    serialization::serialize_through_memory(os, context, *this, serialization::PRIMITIVE_ENDS<std::uint8_t>);
    return;
  }
  serialization::Writer out(*memory);
  encode_body(out);
  out.commit();
}

void AssocRequestFrame::deserialize_impl(std::istream& is, serialization::SerializationContext&) {
  serialization::ReadSource source(is);
  serialization::Reader in(source);
  decode_body(in);
}

void AssocRequestFrame::encode_body(serialization::Writer& out) const {
  out.put(capability_information_, listen_interval_);
  out.put_list(elements_);
}

void AssocRequestFrame::decode_body(serialization::Reader& in) {
  in.get(capability_information_, listen_interval_);
  elements_.clear();
  elements_.reserve(std::min(octets_to_take_, in.present(1)));
  while (get_length() < octets_to_take_) {
    std::uint8_t id = 0;
    std::uint8_t length = 0;
    in.get(id, length);
    const std::span<const std::uint8_t> body = in.get_octets(length);
    elements_.push_back(id);
    elements_.push_back(length);
    elements_.insert(elements_.end(), body.begin(), body.end());
  }
}

std::vector<AssocRequestFrame::Element> AssocRequestFrame::get_elements() const {
  std::vector<Element> elements;
  for (std::span<const std::uint8_t> rest = elements_; !rest.empty();) {
    elements.push_back({rest[0], rest.subspan(ELEMENT_HEADER_SIZE, rest[1])});
    rest = rest.subspan(ELEMENT_HEADER_SIZE + rest[1]);
  }
  return elements;
}

void AssocRequestFrame::add_element(const IEEE802_11_Element_Base& element) {
  serialization::MemoryOStream encoded;
  serialization::SerializationContext context;
  element.serialize_impl(encoded, context);
  elements_.insert(elements_.end(), encoded.octets().begin(), encoded.octets().end());
}

void AssocRequestFrame::dbg_str(std::ostream& os) const {
  os << "Capability Information: 0x" << hex_text(capability_information_)
     << " Listen Interval: " << Decimal(listen_interval_.value) << " Elements: [";
  for (const Element& element : get_elements()) {
    os << "\n\t\t";
    if (const auto rsn = as_rsn_element(element); rsn) {
      os << *rsn;
    } else {
      os << "Element ID: " << Decimal(element.id) << " Length: " << std::to_string(element.body.size());
    }
  }
  os << " ]";
}

std::ostream& operator<<(std::ostream& os, const AssocRequestFrame& frame) {
  frame.dbg_str(os);
  return os;
}

}  // namespace qel::ieee802_11
