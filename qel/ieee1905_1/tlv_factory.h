#pragma once

#include <memory>

#include "qel/core/export.h"
#include "qel/ieee1905_1/tlv.h"

namespace qel::ieee1905_1 {

/// An empty TLV of the class registered for the type; null for a type that has a name but no class, or neither.
QEL_EXPORT std::unique_ptr<TLV> create_TLV(TLVType type);

}  // namespace qel::ieee1905_1
