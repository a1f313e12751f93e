#pragma once

#include <cstdint>
#include <iosfwd>
#include <list>
#include <memory>
#include <utility>

#include "qel/core/export.h"
#include "qel/core/serialization/binary_serializable.h"
#include "qel/ieee1905_1/message_head.h"
#include "qel/ieee1905_1/tlv.h"

namespace qel::ieee1905_1 {

/// The TLVs of a CMDU in order; owns them.
class QEL_EXPORT MessageList final : public serialization::BinarySerializable {
 public:
  using TLVs = std::list<std::unique_ptr<TLV>>;

  MessageList() = default;
  MessageList(const MessageList&) = delete;
  MessageList(MessageList&&) = default;
  MessageList& operator=(const MessageList&) = delete;
  MessageList& operator=(MessageList&&) = default;
  ~MessageList() override;

  void add_TLV(std::unique_ptr<TLV>&& tlv) { tlvs_.push_back(std::move(tlv)); }
  /// Moves from `tlv` as the other overload does.
  void add_TLV(std::unique_ptr<TLV>& tlv) { add_TLV(std::move(tlv)); }

  /// Moves all TLVs of the argument to the end of this list; its own TLVs stay where they are.
  void append_message_list(MessageList& list) { append_message_list(list.tlvs_); }
  void append_message_list(TLVs& tlvs) {
    if (&tlvs != &tlvs_) {
      tlvs_.splice(tlvs_.end(), tlvs);
    }
  }

  const TLVs& get_TLV_list() const { return tlvs_; }
  TLVs& get_TLV_list() { return tlvs_; }
  void clear_TLV_list() { tlvs_.clear(); }

  /// Writes the list as it stands: whoever builds a message ends it with an EndOfMessageTLV.
  void serialize_impl(std::ostream& os, serialization::SerializationContext& context) const override;

  /// Appends TLVs up to the End-of-message TLV; octets behind it stay in the stream. A type without a class fails the
  /// whole list.
  void deserialize_impl(std::istream& is, serialization::SerializationContext& context) override;

  void dbg_str(std::ostream& os) const;

  /// Equal lengths, and each TLV equal to its counterpart.
  bool operator==(const MessageList& other) const;

 private:
  TLVs tlvs_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const MessageList& list);

/// A CMDU without the Ethernet header (IEEE 1905.1-2013, 6.2). Fragments are not put together here: each one is a
/// message of its own. It can be moved but not copied.
class QEL_EXPORT Message final : public serialization::BinarySerializable {
 public:
  Message() = default;
  explicit Message(const MessageHead& head) : head_(head) {}
  explicit Message(MessageHead&& head) : head_(std::move(head)) {}

  const MessageHead& get_head() const { return head_; }
  MessageHead& get_head() { return head_; }
  void set_head(const MessageHead& head) { head_ = head; }
  void set_head(MessageHead&& head) { head_ = std::move(head); }
  const MessageList& get_list() const { return list_; }
  MessageList& get_list() { return list_; }
  void set_list(MessageList&& list) { list_ = std::move(list); }

  void serialize_impl(std::ostream& os, serialization::SerializationContext& context) const override;
  void deserialize_impl(std::istream& is, serialization::SerializationContext& context) override;

  void dbg_str(std::ostream& os) const;

  friend bool operator==(const Message& left, const Message& right) {
    return left.head_ == right.head_ && left.list_ == right.list_;
  }

 private:
  MessageHead head_;
  MessageList list_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const Message& message);

/// Returns 0, 1, ... 65535, 0, ... by turns. Not synchronised: for the one thread of the main loop.
QEL_EXPORT std::uint16_t make_IEEE1905_1_msg_id();

}  // namespace qel::ieee1905_1
