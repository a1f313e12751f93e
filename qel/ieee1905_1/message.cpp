#include "qel/ieee1905_1/message.h"

#include <algorithm>
#include <istream>
#include <ostream>

#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee1905_1/tlv_factory.h"

namespace qel::ieee1905_1 {

using serialization::SerializationContext;
using serialization::SerializationException;

MessageList::~MessageList() = default;

void MessageList::serialize_impl(std::ostream& os, SerializationContext& context) const {
  for (const std::unique_ptr<TLV>& tlv : tlvs_) {
    tlv->serialize_impl(os, context);
  }
}

void MessageList::deserialize_impl(std::istream& is, SerializationContext& context) {
  TLVType type{};
  do {
    const std::istream::int_type octet = is.peek();
    if (!is.good()) {
      serialization::fail("Cannot peek TLV type!");
    }
    type = static_cast<TLVType>(octet);
    std::unique_ptr<TLV> tlv = create_TLV(type);
    if (tlv == nullptr) {
      throw SerializationException("Unknown TLV type!" + enum_to_string(type));
    }
    tlvs_.push_back(std::move(tlv));
    tlvs_.back()->deserialize_impl(is, context);
  } while (type != TLVType::END_OF_MESSAGE);
}

void MessageList::dbg_str(std::ostream& os) const {
  for (const std::unique_ptr<TLV>& tlv : tlvs_) {
    os << "\n\t" << *tlv;
  }
}

bool MessageList::operator==(const MessageList& other) const {
  return std::equal(
      tlvs_.begin(), tlvs_.end(), other.tlvs_.begin(), other.tlvs_.end(),
      [](const std::unique_ptr<TLV>& left, const std::unique_ptr<TLV>& right) { return *left == *right; });
}

std::ostream& operator<<(std::ostream& os, const MessageList& list) {
  list.dbg_str(os);
  return os;
}

void Message::serialize_impl(std::ostream& os, SerializationContext& context) const {
  head_.serialize_impl(os, context);
  list_.serialize_impl(os, context);
}

void Message::deserialize_impl(std::istream& is, SerializationContext& context) {
  head_.deserialize_impl(is, context);
  list_.deserialize_impl(is, context);
}

void Message::dbg_str(std::ostream& os) const { os << head_ << list_; }

std::ostream& operator<<(std::ostream& os, const Message& message) {
  message.dbg_str(os);
  return os;
}

std::uint16_t make_IEEE1905_1_msg_id() {
  static std::uint16_t next = 0;
  return next++;
}

}  // namespace qel::ieee1905_1
