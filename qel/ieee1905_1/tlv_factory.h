#pragma once

#include <memory>

#include "qel/core/export.h"
#include "qel/ieee1905_1/tlv.h"

namespace qel::ieee1905_1 {

/// Returns an empty TLV of the class registered for the type; null if the type has no class.
QEL_EXPORT std::unique_ptr<TLV> create_TLV(TLVType type);

}  // namespace qel::ieee1905_1
