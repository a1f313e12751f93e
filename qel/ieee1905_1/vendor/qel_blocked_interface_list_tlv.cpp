#include "qel/ieee1905_1/vendor/qel_blocked_interface_list_tlv.h"

#include <ostream>

#include "qel/core/serialization/record_impl.h"
#include "qel/ieee1905_1/vendor/vendor_payload_impl.h"

namespace qel::ieee1905_1 {

void QELBlockedInterface::dbg_str(std::ostream& os) const {
  os << "\n\t\tQELBlockedInterface: mac: " << mac_address_ << " (" << name_ << ") type: " << type_
     << " filter_actions: " << filter_actions_.to_string();
}

template const serialization::Codec&
VendorPayload<QELBlockedInterfaceListTLV, QELVendorTLVType::QEL_BLOCKED_INTERFACE_LIST_TLV>::codec();

}  // namespace qel::ieee1905_1

template const qel::serialization::Codec& qel::serialization::Record<qel::ieee1905_1::QELBlockedInterface>::codec();
