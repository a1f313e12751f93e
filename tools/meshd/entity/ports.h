#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "qel/core/mac_address.h"
#include "tools/meshd/entity/frame.h"
#include "tools/meshd/entity/local_interface.h"
#include "tools/meshd/entity/neighbor_table.h"

namespace meshd {

/// What the entity needs from its environment, and what it reports to it.
class Ports {
 public:
  virtual ~Ports() = default;

  /// Sends a whole frame; the octets are borrowed. A frame that cannot be sent is lost.
  virtual void send(std::size_t interface, std::span<const std::uint8_t> frame) = 0;
  virtual InterfaceState read_state(std::size_t interface) = 0;
  /// The addresses that the bridge has learned behind this port and not aged out, without our own. Empty for an
  /// interface in no bridge.
  virtual std::vector<qel::MACAddress> read_hosts(std::size_t /*interface*/) { return {}; }

  virtual void on_neighbor_found(const Neighbor& /*neighbor*/, std::size_t /*interface*/) {}
  virtual void on_neighbor_lost(const qel::MACAddress& /*al_mac*/) {}
  /// For devices beyond the neighbours, once they have reported themselves.
  virtual void on_device_found(const qel::MACAddress& /*al_mac*/) {}
  virtual void on_device_lost(const qel::MACAddress& /*al_mac*/) {}
  /// A service sent something to this device itself: Entity::deliver() should be called soon, but not from within this.
  virtual void on_delivery_due() {}
  /// A message to us was not understood, and why.
  virtual void on_rejected(const Frame& /*frame*/, const std::string& /*reason*/) {}
};

}  // namespace meshd
