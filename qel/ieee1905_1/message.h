#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "qel/core/export.h"
#include "qel/core/serialization/binary_serializable.h"
#include "qel/core/serialization/serialization_exception.h"
#include "qel/ieee1905_1/message_head.h"
#include "qel/ieee1905_1/tlv.h"
#include "qel/ieee1905_1/typed_range.h"
#include "qel/ieee1905_1/vendor/vendor_specific_tlv.h"

namespace qel::ieee1905_1 {

/// The TLVs of a CMDU, in order. Owns them.
class QEL_EXPORT MessageList final : public serialization::BinarySerializable {
 public:
  using TLVs = std::list<std::unique_ptr<TLV>>;

  MessageList() = default;
  MessageList(const MessageList&) = delete;
  MessageList(MessageList&&) = default;
  MessageList& operator=(const MessageList&) = delete;
  MessageList& operator=(MessageList&&) = default;
  ~MessageList() override;

  /// Throws std::invalid_argument for a null pointer.
  void add_TLV(std::unique_ptr<TLV>&& tlv);
  /// Moves from `tlv`, like the other overload.
  void add_TLV(std::unique_ptr<TLV>& tlv) { add_TLV(std::move(tlv)); }

  /// Moves all TLVs of the argument to the end of this list.
  void append_message_list(MessageList& list) { append_message_list(list.tlvs_); }
  /// Throws std::invalid_argument, and moves nothing, if one of them is null.
  void append_message_list(TLVs& tlvs);

  const TLVs& get_TLV_list() const { return tlvs_; }
  /// No element may become null.
  TLVs& get_TLV_list() { return tlvs_; }
  void clear_TLV_list() { tlvs_.clear(); }

  /// Writes the list as it is; the code that builds a message must end it with an EndOfMessageTLV.
  void serialize_impl(std::ostream& os, serialization::SerializationContext& context) const override;

  /// Appends TLVs up to the End-of-message TLV; octets after it stay in the stream. If a type has no class, the whole
  /// list fails.
  void deserialize_impl(std::istream& is, serialization::SerializationContext& context) override;

  void dbg_str(std::ostream& os) const;

  /// True if both have the same length and all TLVs are equal.
  bool operator==(const MessageList& other) const;

 private:
  TLVs tlvs_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const MessageList& list);

/// A CMDU without the Ethernet header (IEEE 1905.1-2013, 6.2). Fragments are not reassembled here; each is a message of
/// its own. A message can be moved but not copied.
class QEL_EXPORT Message final : public serialization::BinarySerializable {
 public:
  Message() = default;
  explicit Message(const MessageHead& head) : head_(head) {}
  explicit Message(MessageHead&& head) : head_(std::move(head)) {}

  const MessageHead& get_head() const { return head_; }
  MessageHead& get_head() { return head_; }
  void set_head(const MessageHead& head) { head_ = head; }
  void set_head(MessageHead&& head) { head_ = std::move(head); }

  // What these return belongs to the message, so they refuse a temporary one.

  /// Returns the first TLV of the class, or null if there is none: `message.find<DeviceInformationTLV>()`.
  template <TypedTLV T>
  const T* find() const& {
    return first_of(all<T>());
  }
  template <TypedTLV T>
  T* find() & {
    return first_of(all<T>());
  }
  template <TypedTLV T>
  const T* find() const&& = delete;

  /// Returns all TLVs of the class: `for (const auto& metric : message.all<TransmitterLinkMetricTLV>())`.
  template <TypedTLV T>
  TypedRange<const T> all() const& {
    return TypedRange<const T>(list_.get_TLV_list());
  }
  template <TypedTLV T>
  TypedRange<T> all() & {
    return TypedRange<T>(list_.get_TLV_list());
  }
  template <TypedTLV T>
  TypedRange<const T> all() const&& = delete;

  /// Returns the first payload of the class in a vendor-specific TLV, or null if there is none:
  /// `message.find_vendor<QELMeshdVersionTLV>()`.
  template <TypedPayload T>
  const T* find_vendor() const& {
    for (const VendorSpecificTLV& tlv : all<VendorSpecificTLV>()) {
      if (const T* payload = tlv.find<T>(); payload != nullptr) {
        return payload;
      }
    }
    return nullptr;
  }
  template <TypedPayload T>
  T* find_vendor() & {
    return const_cast<T*>(std::as_const(*this).find_vendor<T>());
  }
  template <TypedPayload T>
  const T* find_vendor() const&& = delete;

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
  template <class T>
  static T* first_of(const TypedRange<T>& range) {
    return range.empty() ? nullptr : &*range.begin();
  }

  MessageHead head_;
  MessageList list_;
};

QEL_EXPORT std::ostream& operator<<(std::ostream& os, const Message& message);

/// Thrown for octets that are not a message, with the text of Message::deserialize_impl and the place where decoding
/// failed.
class QEL_EXPORT DecodeException final : public serialization::SerializationException {
 public:
  /// A TLV of the message; a TLV nested in a vendor-specific one counts as the outer one.
  struct Place {
    TLVType type;
    std::size_t offset;  ///< of the type octet
  };

  DecodeException(const char* message, std::size_t offset, const std::optional<Place>& tlv)
      : SerializationException(message), offset_(offset), tlv_(tlv) {}
  DecodeException(const DecodeException&) = default;
  DecodeException& operator=(const DecodeException&) = default;
  ~DecodeException() override;

  /// Number of octets read.
  std::size_t get_offset() const { return offset_; }

  /// The TLV that was being decoded; empty if there was none.
  const std::optional<Place>& get_tlv() const { return tlv_; }

  /// The place for log messages, such as "in DEVICE_INFORMATION at offset 17", "in the head", or "at offset 8" if a TLV
  /// is missing.
  std::string place() const;

 private:
  std::size_t offset_;
  std::optional<Place> tlv_;
};

/// Decodes the octets of a CMDU; octets after its End-of-message TLV are ignored. If `size` is not null, it receives
/// the number of octets in the message. Throws DecodeException.
QEL_EXPORT Message decode(std::span<const std::uint8_t> cmdu, serialization::SerializationContext& context,
                          std::size_t* size = nullptr);

/// Writes the message as it is. Throws SerializationException.
QEL_EXPORT void encode(const Message& message, std::ostream& sink, serialization::SerializationContext& context);

/// Returns 0, 1, ... 65535, 0, ... in turn. Not synchronised; for use on the main loop's thread only.
QEL_EXPORT std::uint16_t make_IEEE1905_1_msg_id();

}  // namespace qel::ieee1905_1
