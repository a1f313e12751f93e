#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "qel/core/export.h"
#include "qel/ieee1905_1/vendor/vendor_payload.h"

namespace qel::ieee1905_1 {

class Message;

/// This system's own messages, sent as vendor-specific messages.
enum class QELMessageType : std::uint16_t {
  QEL_BTM_QUERY_MESSAGE = 0,
  QEL_MESHD_VERSION_MESSAGE = 1,
  QEL_BLOCKED_INTERFACE_LIST_MESSAGE = 2,
  INVALID = 0xFFFF,
};

QEL_EXPORT std::string enum_to_string(QELMessageType type);
QEL_EXPORT std::ostream& operator<<(std::ostream& os, QELMessageType type);

/// The type of this system's vendor-specific message; it is the first TLV of the message (subtype 9).
class QEL_EXPORT QELMessageTypeTLV final
    : public VendorPayload<QELMessageTypeTLV, QELVendorTLVType::QEL_MESSAGETYPE_TLV> {
 public:
  QELMessageTypeTLV() = default;
  explicit QELMessageTypeTLV(QELMessageType type) : qel_message_type_(type) {}

  QELMessageType get_qel_message_type() const { return qel_message_type_; }
  void set_qel_message_type(QELMessageType type) { qel_message_type_ = type; }

  static constexpr auto table() {
    return serialization::rows(serialization::Field{" QEL Message Type: ", &QELMessageTypeTLV::qel_message_type_});
  }

 private:
  QELMessageType qel_message_type_ = QELMessageType::INVALID;
};

/// Returns INVALID for a message that is not this system's own: another message type, another first TLV, another OUI,
/// or another payload in it.
QEL_EXPORT QELMessageType get_qel_message_type(const Message& message);

}  // namespace qel::ieee1905_1
