#pragma once

#include <optional>
#include <string>

#include "qel/channel/operating_class_deduction.h"

namespace meshctl {

enum class OpclassVerb { TABLE, OF, FREQ };

/// A question about operating classes.
struct OpclassQuery {
  OpclassVerb verb = OpclassVerb::TABLE;
  qel::OperatingClassDeduction::Region region = qel::OperatingClassDeduction::Region::GLOBAL;
  bool json = false;
  // OF, in MHz:
  long frequency = 0;  ///< of the primary channel
  std::optional<qel::ChannelWidth> width;
  std::optional<long> center;            ///< of the segment, or of the first one of 80+80 MHz; only with a width
  std::optional<long> secondary_center;  ///< 80+80 MHz only
  // FREQ:
  unsigned char opclass = 0;
  unsigned char channel = 0;
};

/// Returns the answer, including the final newline. Throws std::logic_error if there is none.
std::string answer(const OpclassQuery& query);

}  // namespace meshctl
