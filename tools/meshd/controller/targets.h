#pragma once

#include <string>

#include "qel/core/mac_address.h"
#include "tools/meshd/controller/mesh_model.h"
#include "tools/meshd/view/names.h"

// What users call the parts of a mesh. An address always stands for itself; other names are looked up. All of these
// throw std::invalid_argument if nothing, or more than one, has the name.
namespace meshd::controller {

/// A name that users have given, or that the agent calls itself.
qel::MACAddress find_agent(const std::string& name, const MeshModel& model, const Names& names);

/// AGENT, if it has one radio, or AGENT/BAND, where the band in which the radio operates is 2.4, 5 or 6.
qel::MACAddress find_radio(const std::string& name, const MeshModel& model, const Names& names);

/// A radio that has one BSS.
qel::MACAddress find_bssid(const std::string& name, const MeshModel& model, const Names& names);

/// A name that users have given.
qel::MACAddress find_station(const std::string& name, const Names& names);

}  // namespace meshd::controller
