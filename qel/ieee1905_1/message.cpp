#include "qel/ieee1905_1/message.h"

#include <algorithm>
#include <istream>
#include <ostream>
#include <stdexcept>

#include "qel/core/serialization/memory_stream.h"
#include "qel/core/serialization/serialization_context.h"
#include "qel/ieee1905_1/cmdu.h"
#include "qel/ieee1905_1/tlv_factory.h"

namespace qel::ieee1905_1 {

using serialization::MemoryReadBuffer;
using serialization::SerializationContext;
using serialization::SerializationException;

namespace {

constexpr std::size_t SPARE_NODES = 2 * QEL_KEPT_BLOCKS;

constinit thread_local bool has_thread_ended = false;

/// Empty nodes of deleted lists, kept for new ones like the TLVs themselves (`Recycled`). Null when the thread ends.
MessageList::TLVs* spare_nodes() {
  struct Spare {
    ~Spare() { has_thread_ended = true; }
    MessageList::TLVs nodes;
  };
  static thread_local Spare spare;
  return has_thread_ended ? nullptr : &spare.nodes;
}

void append(MessageList::TLVs& tlvs, std::unique_ptr<TLV>&& tlv, MessageList::TLVs* spare) {
  if (spare != nullptr && !spare->empty()) {
    tlvs.splice(tlvs.end(), *spare, spare->begin());
    tlvs.back() = std::move(tlv);
  } else {
    tlvs.push_back(std::move(tlv));
  }
}

void require_tlv(bool is_there) {
  if (!is_there) {
    throw std::invalid_argument("a message has no room for a null TLV");
  }
}

}  // namespace

MessageList::~MessageList() {
  TLVs* spare = spare_nodes();
  if (spare != nullptr && spare->size() + tlvs_.size() <= SPARE_NODES) {
    for (std::unique_ptr<TLV>& tlv : tlvs_) {
      tlv = nullptr;
    }
    spare->splice(spare->end(), tlvs_);
  }
}

void MessageList::add_TLV(std::unique_ptr<TLV>&& tlv) {
  require_tlv(tlv != nullptr);
  tlvs_.push_back(std::move(tlv));
}

void MessageList::append_message_list(TLVs& tlvs) {
  require_tlv(std::find(tlvs.begin(), tlvs.end(), nullptr) == tlvs.end());
  if (&tlvs != &tlvs_) {
    tlvs_.splice(tlvs_.end(), tlvs);
  }
}

void MessageList::serialize_impl(std::ostream& os, SerializationContext& context) const {
  for (const std::unique_ptr<TLV>& tlv : tlvs_) {
    tlv->serialize_impl(os, context);
  }
}

void MessageList::deserialize_impl(std::istream& is, SerializationContext& context) {
  const MemoryReadBuffer* memory = MemoryReadBuffer::of(is);
  TLVs* spare = spare_nodes();
  TLVType type{};
  do {
    context.set_place(std::nullopt);
    const std::optional<std::uint8_t> octet = serialization::peek_octet(is, memory);
    if (!octet) {
      serialization::fail("Cannot peek TLV type!");
    }
    type = static_cast<TLVType>(*octet);
    if (memory != nullptr) {
      context.set_place(SerializationContext::Place{memory->consumed(), *octet});
    }
    std::unique_ptr<TLV> tlv = create_TLV(type);
    if (tlv == nullptr) {
      throw SerializationException("Unknown TLV type!" + enum_to_string(type));
    }
    append(tlvs_, std::move(tlv), spare);
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

DecodeException::~DecodeException() = default;

std::string DecodeException::place() const {
  if (tlv_) {
    return "in " + enum_to_string(tlv_->type) + " at offset " + std::to_string(tlv_->offset);
  }
  return offset_ < MESSAGE_HEAD_SIZE ? "in the head" : "at offset " + std::to_string(offset_);
}

Message decode(std::span<const std::uint8_t> cmdu, SerializationContext& context, std::size_t* size) {
  SerializationContext::InputLoan input(context, cmdu);
  context.set_place(std::nullopt);
  Message message;
  try {
    message.deserialize_impl(input.stream(), context);
  } catch (const SerializationException& exception) {
    std::optional<DecodeException::Place> tlv;
    if (const auto& place = context.get_place()) {
      tlv = {static_cast<TLVType>(place->type), place->offset};
    }
    throw DecodeException(exception.what(), input.stream().consumed(), tlv);
  }
  if (size != nullptr) {
    *size = input.stream().consumed();
  }
  return message;
}

void encode(const Message& message, std::ostream& sink, SerializationContext& context) {
  message.serialize_impl(sink, context);
}

std::uint16_t make_IEEE1905_1_msg_id() {
  static std::uint16_t next = 0;
  return next++;
}

}  // namespace qel::ieee1905_1
