#pragma once

#include <memory>

#include "qel/core/export.h"
#include "qel/ieee1905_1/vendor/vendor_specific.h"

namespace qel::ieee1905_1 {

/// Returns an empty payload of the class registered for the subtype; null if the subtype has no class.
QEL_EXPORT std::unique_ptr<VendorSpecific> create_vendor_specific(QELVendorTLVType type);

}  // namespace qel::ieee1905_1
