#pragma once

#include "tools/json_line.h"
#include "tools/meshd/wifi/station.h"

namespace meshd::wifi {

/// Adds the signals, rates (in kb/s) and counts of a station to an object; what is not known is null.
void put_measurements(tools::JsonLine& json, const Station& station);

}  // namespace meshd::wifi
