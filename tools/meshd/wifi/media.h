#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "tools/meshd/entity/local_interface.h"
#include "tools/meshd/wifi/model.h"

/// What the mesh is told of the interfaces of radios.
namespace meshd::wifi {

/// By the interface's number: N, AC, AX, A for older ones, or INVALID_MAX if it is unknown.
using StandardsInUse = std::map<std::uint32_t, qel::WLANPhymode>;

/// The standard in the answer of hostapd or wpa_supplicant to STATUS.
qel::WLANPhymode standard_of(const std::string& status);

/// By the interface's number. Nothing if the model does not have it. An interface whose standard is not known has the
/// newest of its radio.
std::optional<WlanInterface> wlan_interface(const Model& model, const StandardsInUse& standards, std::uint32_t number);

/// Adds the links to the peers of the interface. Its availability is what the radio's channel is not busy.
void add_link_states(const Model& model, std::uint32_t number, InterfaceState& state);

}  // namespace meshd::wifi
