#pragma once

#include <iosfwd>

#include "tools/meshd/wifi/model.h"

namespace meshd::wifi {

/// Prints everything that the model contains as one JSON object in one line: radios with their bands, channels and
/// rules, interfaces, stations and surveys. Frequencies are in kHz, powers in hundredths of a dBm, times in
/// milliseconds, and rates in kb/s. A value that is not known is null.
void print_json(std::ostream& os, const Model& model, Timestamp now);

}  // namespace meshd::wifi
