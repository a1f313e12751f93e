#pragma once

#include <cstdint>
#include <optional>

#include "tools/meshd/entity/local_interface.h"
#include "tools/meshd/wifi/model.h"

/// What the mesh is told of the interfaces of radios.
namespace meshd::wifi {

/// By the interface's number. Nothing if the model does not have it.
std::optional<WlanInterface> wlan_interface(const Model& model, std::uint32_t number);

/// Adds the links to the peers of the interface. Its availability is what the radio's channel is not busy.
void add_link_states(const Model& model, std::uint32_t number, Timestamp now, InterfaceState& state);

}  // namespace meshd::wifi
