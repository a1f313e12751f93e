#include "qel/ieee1905_1/message_head.h"

#include <ostream>

#include "qel/core/enum_text.h"
#include "qel/core/serialization/record_impl.h"
#include "qel/core/text.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText MESSAGE_VERSIONS[] = {
    {MessageVersion::IEEE1905_1, "IEEE1905_1"},
    {MessageVersion::INVALID, "INVALID"},
};

}  // namespace

std::string enum_to_string(MessageVersion version) { return enum_text(MESSAGE_VERSIONS, version); }
std::ostream& operator<<(std::ostream& os, MessageVersion version) { return print_enum(os, MESSAGE_VERSIONS, version); }

MessageHead::MessageHead(MessageVersion version, MessageType type, std::uint16_t message_id, std::uint8_t fragment_id,
                         bool last_fragment_indicator, bool relay_indicator)
    : message_version_(version), message_type_(type), message_id_(message_id), fragment_id_(fragment_id) {
  set_last_fragment_indicator(last_fragment_indicator);
  set_relay_indicator(relay_indicator);
}

void MessageHead::dbg_str(std::ostream& os) const {
  os << "Type: " << message_type_ << " version: " << message_version_ << " MID: " << Decimal(message_id_)
     << " FID: " << Decimal(fragment_id_) << " LastFragment: " << true_or_false(get_last_fragment_indicator())
     << " Relay: " << true_or_false(get_relay_indicator());
}

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::MessageHead>::codec();
}  // namespace qel::serialization
