#include "qel/ieee1905_1/vendor/qel_message_type_tlv.h"

#include "qel/core/enum_text.h"
#include "qel/core/vendor_oui.h"
#include "qel/ieee1905_1/message.h"
#include "qel/ieee1905_1/vendor/vendor_payload_impl.h"
#include "qel/ieee1905_1/vendor/vendor_specific_tlv.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText QEL_MESSAGE_TYPES[] = {
    {QELMessageType::QEL_BTM_QUERY_MESSAGE, "QEL_BTM_QUERY_MESSAGE"},
    {QELMessageType::QEL_MESHD_VERSION_MESSAGE, "QEL_MESHD_VERSION_MESSAGE"},
    {QELMessageType::QEL_BLOCKED_INTERFACE_LIST_MESSAGE, "QEL_BLOCKED_INTERFACE_LIST_MESSAGE"},
    {QELMessageType::INVALID, "INVALID"},
};

}  // namespace

std::string enum_to_string(QELMessageType type) { return enum_text(QEL_MESSAGE_TYPES, type); }
std::ostream& operator<<(std::ostream& os, QELMessageType type) { return print_enum(os, QEL_MESSAGE_TYPES, type); }

QELMessageType get_qel_message_type(const Message& message) {
  const MessageList::TLVs& tlvs = message.get_list().get_TLV_list();
  if (message.get_head().get_message_type() != MessageType::VENDOR_SPECIFIC_MESSAGE || tlvs.empty() ||
      tlvs.front()->get_type() != TLVType::VENDOR_SPECIFIC) {
    return QELMessageType::INVALID;
  }
  const auto& tlv = static_cast<const VendorSpecificTLV&>(*tlvs.front());
  const VendorSpecific& payload = *tlv.get_vendor_specific();
  if (tlv.get_vendor_specific_oui() != VENDOR_OUI || payload.get_type() != QELVendorTLVType::QEL_MESSAGETYPE_TLV) {
    return QELMessageType::INVALID;
  }
  return static_cast<const QELMessageTypeTLV&>(payload).get_qel_message_type();
}

template const serialization::Codec& PayloadOf<QELMessageTypeTLV>::codec();

}  // namespace qel::ieee1905_1
