#pragma once

#include <iosfwd>
#include <map>
#include <string>

#include "qel/core/mac_address.h"

namespace meshd {

using Names = std::map<qel::MACAddress, std::string>;

/// Names that people give to addresses, in the form of ethers(5). Lines of another form are skipped; octets of a name
/// that are not visible ASCII become '?'.
Names read_names(std::istream& file);

/// The name with the octets replaced.
std::string visible(std::string name);

}  // namespace meshd
