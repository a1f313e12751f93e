#pragma once

#include <memory>

#include "qel/channel/wlan_types.h"
#include "qel/core/export.h"
#include "qel/ieee802_11/rsn_element.h"

namespace qel::ieee802_11 {

/// The security mode that the suites of an element stand for: NONE without a group data cipher, UNDEFINED where they
/// are no mode of this system. The order of the suites in a list does not matter. Never throws.
QEL_EXPORT WLANSecurity security_from_rsn_element(const IEEE802_11_RSNElement& element);

/// The element that announces a security mode. WEP and INVALID have none of their own: they come back as UNDEFINED,
/// values above INVALID as NONE.
QEL_EXPORT std::unique_ptr<IEEE802_11_RSNElement> create_rsn_element_from_security(WLANSecurity security);

}  // namespace qel::ieee802_11
