#include "qel/ieee1905_1/vendor/qel_blocked_interface_list_tlv.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/vendor/vendor_payload_impl.h"

namespace qel::ieee1905_1 {

void QELBlockedInterface::dbg_str(std::ostream& os) const {
  os << "\n\t\tQELBlockedInterface: mac: " << mac_address_ << " (" << name_ << ") type: " << type_
     << " filter_actions: " << filter_actions_.to_string();
}

template const serialization::Codec& PayloadOf<QELBlockedInterfaceListTLV>::codec();

}  // namespace qel::ieee1905_1

namespace qel::serialization {
template const Codec& Record<ieee1905_1::QELBlockedInterface>::codec();
}  // namespace qel::serialization
