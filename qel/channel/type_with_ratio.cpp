#include "qel/channel/type_with_ratio.h"

#include <ostream>

#include "qel/core/text.h"

namespace qel {

std::ostream& operator<<(std::ostream& os, const kHz& frequency) { return os << Decimal(frequency.value()) << " kHz"; }

std::ostream& operator<<(std::ostream& os, const MHz& width) { return os << Decimal(width.value()) << " MHz"; }

}  // namespace qel
