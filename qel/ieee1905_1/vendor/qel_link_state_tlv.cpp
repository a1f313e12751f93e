#include "qel/ieee1905_1/vendor/qel_link_state_tlv.h"

#include <ostream>

#include "qel/core/enum_text.h"
#include "qel/core/serialization/record_impl.h"
#include "qel/core/text.h"
#include "qel/ieee1905_1/vendor/vendor_payload_impl.h"

namespace qel::ieee1905_1 {

namespace {

constexpr EnumText LINK_STATES[] = {
    {QELLinkState::DOWN, "DOWN"},
    {QELLinkState::UP, "UP"},
};

}  // namespace

std::string enum_to_string(QELLinkState state) { return enum_text(LINK_STATES, state); }
std::ostream& operator<<(std::ostream& os, QELLinkState state) { return print_enum(os, LINK_STATES, state); }

void QELInterfaceLinkState::dbg_str(std::ostream& os) const {
  os << "QELInterfaceLinkState: mac: " << mac_ << " (" << name_ << ") state: " << state_
     << " speed: " << Decimal(speed_) << " Mb/s";
}

template const serialization::Codec& PayloadOf<QELLinkStateTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::QELInterfaceLinkState>::codec();
}  // namespace qel::serialization
