#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <utility>

#include "qel/daemon/connection.h"
#include "tools/meshd/wifi/control_sockets.h"
#include "tools/meshd/wifi/media.h"
#include "tools/meshd/wifi/model.h"

namespace meshd::wifi {

/// Asks hostapd and wpa_supplicant which standard each interface uses. The kernel reports only those that its radio
/// supports.
class Standards {
 public:
  /// `on_change` is called when a standard becomes known or unknown. The sockets are borrowed.
  Standards(ControlSockets& sockets, std::function<void()> on_change)
      : sockets_(sockets), on_change_(std::move(on_change)) {}
  Standards(const Standards&) = delete;
  Standards& operator=(const Standards&) = delete;

  /// Asks about all interfaces of the model that have a socket, and forgets the others.
  void refresh(const Model& model);

  const StandardsInUse& get() const { return known_; }

 private:
  void ask(std::uint32_t interface);
  void set(std::uint32_t interface, qel::WLANPhymode standard);

  ControlSockets& sockets_;
  std::function<void()> on_change_;
  std::map<std::uint32_t, qel::signals::ScopedConnection> connections_;  // by interface
  StandardsInUse known_;
};

}  // namespace meshd::wifi
