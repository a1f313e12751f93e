#pragma once

#include <memory>

#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"
#include "qel/ieee802_11/rsn_element.h"

namespace qel::ieee802_11 {

/// Returns the security mode that the element's suites correspond to: NONE if there is no group data cipher, UNDEFINED
/// if no mode of this system matches. The order of suites in a list is irrelevant. Never throws.
QEL_EXPORT WLANSecurity security_from_rsn_element(const IEEE802_11_RSNElement& element);

/// Returns the element that announces a security mode. WEP and INVALID have none of their own and are read back as
/// UNDEFINED; values above INVALID as NONE.
QEL_EXPORT std::unique_ptr<IEEE802_11_RSNElement> create_rsn_element_from_security(WLANSecurity security);

}  // namespace qel::ieee802_11
